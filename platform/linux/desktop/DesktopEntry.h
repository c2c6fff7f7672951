#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kivo::desktop {

/// What is of interest in a desktop file: the freedesktop.org Desktop Entry Specification. Values
/// are valid UTF-8; translations are ignored.
struct DesktopEntry {
    bool hidden = false;     ///< "this file is deleted"
    bool noDisplay = false;  ///< not offered in menus
    bool terminal = false;   ///< runs in a terminal, so its windows are the terminal's
    std::string startupWMClass;
    std::string program;       ///< what Exec starts, as it is written there: a name or a path
    bool hasOperands = false;  ///< the program is given a file or a command: "java -jar a.jar"
    std::optional<std::string> signature;     ///< X-CFBundleSignature
    std::optional<std::string> shortVersion;  ///< X-CFBundleShortVersionString
};

/// Reads a desktop file's contents. None unless it describes an application.
std::optional<DesktopEntry> ParseDesktopEntry(std::string_view contents);

}  // namespace kivo::desktop
