#pragma once

#include <optional>
#include <string>
#include <vector>

#include "desktop/Identity.h"
#include "desktop/x11/ManagedWindows.h"

namespace kivo::desktop::x11 {

/// Whose a window is: its process, and what the window says of its application.
struct Owner {
    pid_t processID = -1;
    Claims claims;  ///< all but the executable

    /// The application, looked up among those that the session's desktop files describe.
    Application Identified(const DesktopFiles::Index& index) const;
};

/// Finds the owner of the active window; none when nobody's window is active, or the desktop's own
/// or a dock's. False when the server does not answer.
bool ReadFrontOwner(Question& question, WindowManager& manager, std::optional<Owner>& owner);

/// The owner of each managed window, front to back.
std::vector<Owner> ReadOwners(Question& question, WindowManager& manager);

}  // namespace kivo::desktop::x11
