#pragma once

#include <string>
#include <vector>

namespace kivo::test {

/// What the code under test wrote to the system log, a line an entry, oldest first. A program that
/// links this has no other system log; the lines carry the priority they were written with.
struct LogLine {
    int priority;
    std::string text;
};
std::vector<LogLine>& CapturedLog();

/// The texts alone.
std::vector<std::string> CapturedLogTexts();

}  // namespace kivo::test
