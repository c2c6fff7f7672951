#include "Log/LogLine.h"

#include <errno.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <mutex>
#include <utility>
#include <vector>

#include "CoreFoundation/PipeSignalBlocked.h"

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
    // The journal is a socket, which can be told in the call that there is no time to wait.
    constexpr int kAtOnce = MSG_DONTWAIT | MSG_NOSIGNAL;
    if (send(STDERR_FILENO, bytes.data(), bytes.size(), kAtOnce) >= 0) return true;
    if (errno != ENOTSOCK) return false;
    pollfd place = {STDERR_FILENO, POLLOUT, 0};
    // A pipe that nobody reads any more takes everything, and ends who writes to it: also when it
    // is left just now.
    const PipeSignalBlocked blocked;
    if (poll(&place, 1, 0) != 1 || place.revents != POLLOUT) return false;
    ssize_t count;
    do
        count = write(STDERR_FILENO, bytes.data(), bytes.size());
    while (count < 0 && errno == EINTR);
    return count >= 0;
}

bool MayNeedEscape(unsigned char byte) {
    return IsControl(byte) || byte == 0xC2;
}

/// Lines that wait for the end of a pause.
class KeptLines {
  public:
    void Take(LineWriter write, int priority, std::string text) {
        const std::lock_guard lock(mLock);
        mLines.push_back({write, priority, std::move(text)});
        if (mPauses == 0 || mLines.size() >= kMost) WriteAll();
    }
    void BeginPause() {
        const std::lock_guard lock(mLock);
        ++mPauses;
    }
    void EndPause() {
        const std::lock_guard lock(mLock);
        if (--mPauses == 0) WriteAll();
    }

  private:
    static constexpr size_t kMost = 100;
    struct Line {
        LineWriter write;
        int priority;
        std::string text;
    };

    void WriteAll() {
        for (Line& line : mLines)
            line.write(line.priority, std::move(line.text));
        mLines.clear();
    }

    std::mutex mLock;
    int mPauses = 0;
    std::vector<Line> mLines;
};

KeptLines& Kept() {
    // Never destroyed: lines may come until the very end.
    static auto& kept = *new KeptLines;
    return kept;
}

}  // namespace

std::string Printable(std::string text) {
    if (text.ends_with('\n')) text.pop_back();
    if (std::none_of(text.begin(), text.end(), MayNeedEscape)) return text;
    const size_t length = text.size();
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

void HandOver(LineWriter write, int priority, std::string text) {
    Kept().Take(write, priority, std::move(text));
}

LogPause::LogPause() {
    Kept().BeginPause();
}

LogPause::~LogPause() {
    Kept().EndPause();
}

void WriteToStandardError(std::string text) {
    const int savedError = errno;
    if (text.size() > kLongestText) text.resize(kLongestText);
    text += '\n';
    const unsigned lost = gLostLines.exchange(0);
    if (lost > 0) text.insert(0, "(" + std::to_string(lost) + " lines of the log were lost)\n");
    if (!WriteWithoutWaiting(text)) gLostLines += lost + 1;
    errno = savedError;
}

}  // namespace kivo
