#include <CFRef.h>
#include <Workspace.h>
#include <errno.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <utility>

#include "Log/LogLine.h"

namespace {

/// "2026-05-04 13:02:01.123", in local time.
std::string TimeStamp() {
    using namespace std::chrono;
    const auto now = system_clock::now().time_since_epoch();
    const std::time_t seconds = duration_cast<std::chrono::seconds>(now).count();
    std::tm parts{};
    localtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    const size_t length = std::strftime(text.data(), text.size(), "%F %T", &parts);
    const auto milliseconds =
        static_cast<int>(duration_cast<std::chrono::milliseconds>(now).count() % 1000);
    std::snprintf(text.data() + length, text.size() - length, ".%03d", milliseconds);
    return text.data();
}

std::string Utf8(CFStringRef text) {
    const CFIndex length = CFStringGetLength(text);
    std::string bytes(static_cast<size_t>(3 * length), '\0');
    CFIndex count = 0;
    CFStringGetBytes(text, CFRangeMake(0, length), kCFStringEncodingUTF8, '?', false,
                     reinterpret_cast<UInt8*>(bytes.data()), 3 * length, &count);
    bytes.resize(static_cast<size_t>(count));
    return bytes;
}

}  // namespace

void NSLog(CFStringRef format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const auto text = kivo::Adopt(
        CFStringCreateWithFormatAndArguments(kCFAllocatorDefault, nullptr, format, arguments));
    va_end(arguments);
    const std::string process =
        "[" + std::to_string(getpid()) + ":" + std::to_string(gettid()) + "]";
    kivo::HandOver([](int, std::string line) { kivo::WriteToStandardError(std::move(line)); }, 0,
                   TimeStamp() + " " + program_invocation_short_name + process + " " +
                       kivo::Printable(Utf8(text.Get())));
}
