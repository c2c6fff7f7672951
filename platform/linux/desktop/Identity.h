#pragma once

#include <sys/types.h>

#include <string>

#include "desktop/Desktop.h"
#include "desktop/DesktopFiles.h"

namespace kivo::desktop {

/// What is known of an application before it is looked up. Empty where nothing is.
struct Claims {
    std::string applicationID;  ///< the application id that its window claims
    std::string instance;       ///< the two parts of its window class
    std::string className;
    std::string executable;  ///< the file that its process runs
};

/// The file that a process runs; empty when that cannot be told.
std::string ExecutableOf(pid_t processID);

/// Finds who an application is: by the application id that it claims, then by its class (as a
/// StartupWMClass, then as a desktop-file id), then by its executable. The bundle identifier is the
/// id of the desktop file found, or the class when none was. Between several files one that is
/// shown in menus comes first, then the one whose id is first in the alphabet.
Application Identify(const DesktopFiles::Index& index, pid_t processID, const Claims& claims);

}  // namespace kivo::desktop
