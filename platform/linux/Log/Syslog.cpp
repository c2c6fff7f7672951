// The body of `syslog` on this system, which the linker takes before the C library's.
//
// On macOS the daemon's lines go to the system log, whatever their priority. Here priority 0, which
// they have, would be broadcast to every terminal of the machine, and the C library's call waits
// for a log that is busy. So a line of priority 0 becomes a notice, nothing waits, and the place is
// chosen, with the first line, for who will read it:
//
//     KIVO_LOG=stderr               standard error: "kivo-driver: text"
//     KIVO_LOG=syslog               the system log
//     standard error is the journal standard error: "<5>text", whose prefix the journal takes off
//     ... a terminal, pipe, socket  standard error: somebody watches the daemon
//     ... a file or nothing         the system log, so that no file grows with each message
//
// Without a system log (no socket /dev/log) standard error is the place. JOURNAL_STREAM, after
// systemd.exec(5), tells whether standard error is the journal.

#include <errno.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <string_view>
#include <utility>

#include "Log/LogLine.h"

// NOLINTBEGIN(readability-identifier-naming): the names are the C library's.
// Without <syslog.h>: a hardened build defines `syslog` there itself, as a call of __syslog_chk.
extern "C" {
[[gnu::weak, gnu::format(printf, 2, 3)]] void syslog(int priority, const char* format, ...);
[[gnu::weak, gnu::format(printf, 3, 4)]] void __syslog_chk(int priority, int flag,
                                                           const char* format, ...);
}
// NOLINTEND(readability-identifier-naming)

namespace {

constexpr int kSeverityMask = 7;
constexpr int kNotice = 5;
constexpr int kUserFacility = 1 << 3;

enum class Place { kUnknown, kStandardError, kJournal, kSystemLog };

std::atomic<Place> gPlace{Place::kUnknown};

std::string_view Environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : std::string_view();
}

Place ChoosePlace() {
    const std::string_view wish = Environment("KIVO_LOG");
    if (wish == "stderr") return Place::kStandardError;
    if (wish == "syslog") return Place::kSystemLog;
    struct stat status {};
    if (fstat(STDERR_FILENO, &status) != 0) return Place::kSystemLog;
    const std::string stream = std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
    if (Environment("JOURNAL_STREAM") == stream) return Place::kJournal;
    const bool isWatched =
        isatty(STDERR_FILENO) != 0 || S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode);
    return isWatched ? Place::kStandardError : Place::kSystemLog;
}

Place CurrentPlace() {
    if (gPlace == Place::kUnknown) gPlace = ChoosePlace();
    return gPlace;
}

std::string& SystemLogSocket() {
    static auto& path = *new std::string("/dev/log");
    return path;
}

/// The head of a message as the local log daemons read it: "<13>May  4 13:02:01 name[pid]: ".
std::string MessageHead(int priority) {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    std::array<char, 32> time{};
    std::strftime(time.data(), time.size(), "%b %e %T", &parts);
    const int code = (priority & ~kSeverityMask) != 0 ? priority : priority | kUserFacility;
    return "<" + std::to_string(code) + ">" + time.data() + " " + program_invocation_short_name +
           "[" + std::to_string(getpid()) + "]: ";
}

/// Hands a message to the system log; false when there is none that takes it now.
bool SendToSystemLog(const std::string& message) {
    static const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    SystemLogSocket().copy(address.sun_path, sizeof address.sun_path - 1);
    return sendto(descriptor, message.data(), message.size(), MSG_NOSIGNAL,
                  reinterpret_cast<const sockaddr*>(&address), sizeof address) >= 0;
}

void Write(int priority, std::string text) {
    const Place place = CurrentPlace();
    if (place == Place::kJournal) {
        text.insert(0, {'<', static_cast<char>('0' + (priority & kSeverityMask)), '>'});
        kivo::WriteToStandardError(std::move(text));
    } else if (place != Place::kSystemLog || !SendToSystemLog(MessageHead(priority) + text)) {
        kivo::WriteToStandardError(program_invocation_short_name + (": " + text));
    }
}

[[gnu::format(printf, 2, 0)]] void Log(int priority, const char* format, va_list arguments) {
    const int savedError = errno;
    std::array<char, 2048> formatted;
    if (std::vsnprintf(formatted.data(), formatted.size(), format, arguments) < 0) return;
    if ((priority & kSeverityMask) == 0) priority |= kNotice;
    kivo::HandOver(Write, priority, kivo::Printable(formatted.data()));
    errno = savedError;
}

}  // namespace

namespace kivo {

void UseSystemLogSocket(const std::string& path) {
    SystemLogSocket() = path;
    gPlace = Place::kUnknown;
}

}  // namespace kivo

void syslog(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    Log(priority, format, arguments);
    va_end(arguments);
}

void __syslog_chk(int priority, int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    Log(priority, format, arguments);
    va_end(arguments);
}
