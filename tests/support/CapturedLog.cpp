#include "tests/support/CapturedLog.h"

#include <syslog.h>

#include <cstdarg>
#include <cstdio>

namespace kivo::test {

std::vector<LogLine>& CapturedLog() {
    static std::vector<LogLine> lines;
    return lines;
}

std::vector<std::string> CapturedLogTexts() {
    std::vector<std::string> texts;
    for (const LogLine& line : CapturedLog())
        texts.push_back(line.text);
    return texts;
}

}  // namespace kivo::test

// Stands in for the C library's, which the linker then does not look for.
extern "C" void syslog(int priority, const char* format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    kivo::test::CapturedLog().push_back({priority, text});
}
