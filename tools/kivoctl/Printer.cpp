#include "tools/kivoctl/Printer.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <iomanip>
#include <sstream>

#include "tools/kivoctl/Failure.h"

namespace kivo::ctl {

namespace {

/// The present time by `format`, as strftime has it, with ".mmm" behind.
std::string TimeText(const char* format, std::tm* (*split)(const std::time_t*, std::tm*)) {
    using namespace std::chrono;
    const auto now = time_point_cast<milliseconds>(system_clock::now());
    const std::time_t whole = system_clock::to_time_t(floor<seconds>(now));
    std::tm parts{};
    split(&whole, &parts);
    std::ostringstream text;
    text << std::put_time(&parts, format) << '.' << std::setfill('0') << std::setw(3)
         << (now - floor<seconds>(now)).count();
    return text.str();
}

}  // namespace

std::string Printer::Line(const Message& message) const {
    if (mForm == Form::kWords) {
        if (mStamp == Stamp::kNone) return message.words;
        return TimeText("%H:%M:%S", localtime_r) + "  " + message.words;
    }
    nlohmann::ordered_json object;
    if (mStamp == Stamp::kTime) object["time"] = TimeText("%Y-%m-%dT%H:%M:%S", gmtime_r) + 'Z';
    object.update(message.fields);
    // Text from outside that is not UTF-8 becomes U+FFFD.
    return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

void Printer::Print(const Message& message) {
    const std::string line = Line(message) + '\n';
    std::fwrite(line.data(), 1, line.size(), mStream);
    if (std::fflush(mStream) != 0 && mError == 0) mError = errno;
}

void Printer::CheckWritten() const {
    if (mError == 0 || mError == EPIPE) return;
    throw Failure(ExitCode::kBroken,
                  std::string("standard output cannot be written: ") + std::strerror(mError));
}

}  // namespace kivo::ctl
