#include "LogLine.h"

#include <errno.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>

namespace kivo {

namespace {

/// No more than a pipe takes in one piece once it says that it takes anything.
constexpr size_t kLongestText = 4000;

std::atomic<unsigned> gLostLines{0};

bool IsControl(unsigned char byte) {
    return (byte < 0x20 && byte != '\t') || byte == 0x7F;
}

std::string Escaped(unsigned char byte) {
    if (byte == '\n') return "\\n";
    std::array<char, 5> text;
    std::snprintf(text.data(), text.size(), "\\x%02x", static_cast<unsigned>(byte));
    return text.data();
}

/// Whether the byte at `index` begins one of the control characters U+0080 to U+009F.
bool IsUpperControl(const std::string& text, size_t index) {
    if (text[index] != '\xC2' || index + 1 == text.size()) return false;
    const auto second = static_cast<unsigned char>(text[index + 1]);
    return second >= 0x80 && second <= 0x9F;
}

bool WriteWithoutWaiting(const std::string& bytes) {
    pollfd place = {STDERR_FILENO, POLLOUT, 0};
    if (poll(&place, 1, 0) != 1 || (place.revents & POLLOUT) == 0) return false;
    ssize_t count;
    do
        count = write(STDERR_FILENO, bytes.data(), bytes.size());
    while (count < 0 && errno == EINTR);
    return count >= 0;
}

}  // namespace

std::string Printable(const std::string& text) {
    const size_t length = text.ends_with('\n') ? text.size() - 1 : text.size();
    std::string printable;
    for (size_t i = 0; i < length; ++i) {
        if (IsUpperControl(text, i)) {
            printable += Escaped(static_cast<unsigned char>(text[++i]));
            continue;
        }
        const auto byte = static_cast<unsigned char>(text[i]);
        printable += IsControl(byte) ? Escaped(byte) : std::string(1, text[i]);
    }
    return printable;
}

void WriteToStandardError(const std::string& text) {
    const int savedError = errno;
    const unsigned lost = gLostLines.exchange(0);
    std::string line =
        lost > 0 ? "(" + std::to_string(lost) + " lines of the log were lost)\n" : "";
    line += text.substr(0, kLongestText) + '\n';
    if (!WriteWithoutWaiting(line)) gLostLines += lost + 1;
    errno = savedError;
}

}  // namespace kivo
