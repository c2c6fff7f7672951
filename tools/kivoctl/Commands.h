#pragma once

#include <span>
#include <string>
#include <string_view>

#include "tools/kivoctl/Failure.h"

namespace kivo::ctl {

/// Carries out one command line, the program's name left out, and prints what there is to print.
/// Returns what the process is to end with; failures are told on standard error.
ExitCode RunCommandLine(std::span<const std::string> words);

}  // namespace kivo::ctl
