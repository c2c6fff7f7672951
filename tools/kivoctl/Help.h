#pragma once

namespace kivo::ctl {

// What `--help` prints, for the program and for each command.

extern const char kHelp[];
extern const char kHelpPointer[];
extern const char kHelpWindow[];
extern const char kHelpTarget[];
extern const char kHelpTap[];
extern const char kHelpStatus[];
extern const char kHelpMidi[];
extern const char kHelpListen[];
extern const char kHelpSession[];

}  // namespace kivo::ctl
