// The Foundation's log and the body of syslog on Linux: where a line goes, and what it looks like.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "platform/CFRef.h"
#include "platform/Workspace.h"
#include "platform/linux/Log/LogLine.h"
#include "tests/support/ErrorPipe.h"

namespace {

using kivo::test::ErrorPipe;
using kivo::test::StandardError;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

std::string ProcessName() {
    return program_invocation_short_name;
}

/// A socket that stands for the system log's.
class FakeSystemLog {
  public:
    FakeSystemLog()
        : mPath(std::string(std::getenv("XDG_RUNTIME_DIR")) + "/log"),
          mSocket(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        mPath.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(bind(mSocket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        kivo::UseSystemLogSocket(mPath);
    }
    ~FakeSystemLog() {
        close(mSocket);
        std::filesystem::remove(mPath);
    }
    FakeSystemLog(const FakeSystemLog&) = delete;
    FakeSystemLog& operator=(const FakeSystemLog&) = delete;

    std::string Receive() {
        std::array<char, 4096> message;
        const ssize_t count = recv(mSocket, message.data(), message.size(), 0);
        return count < 0 ? "" : std::string(message.data(), static_cast<size_t>(count));
    }

  private:
    std::string mPath;
    int mSocket;
};

class Log : public testing::Test {
  protected:
    void SetUp() override {
        unsetenv("KIVO_LOG");
        unsetenv("JOURNAL_STREAM");
        kivo::UseSystemLogSocket("/nonexistent/log");
    }
};

using NSLogTest = Log;
using SyslogTest = Log;

TEST_F(NSLogTest, WritesOneLineWithDateAndProcess) {
    ErrorPipe pipe;
    NSLog(CFSTR("answer %d, %@"), 42, CFSTR("text"));
    EXPECT_THAT(pipe.Read(),
                MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} " +
                             ProcessName() + "\\[[0-9]+:[0-9]+\\] answer 42, text\n"));
}

TEST_F(NSLogTest, ATextThatEndsTheLineGetsNoSecondEnd) {
    ErrorPipe pipe;
    NSLog(CFSTR("CZYN_UserSpaceDriver () version %@\n"), nullptr);
    const std::string line = pipe.Read();
    EXPECT_THAT(line, HasSubstr("] CZYN_UserSpaceDriver () version (null)\n"));
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1);
}

TEST_F(NSLogTest, ControlCharactersFromOutsideAreMadeVisible) {
    ErrorPipe pipe;
    const auto title = kivo::Adopt(CFStringCreateWithCString(nullptr,
                                                             "a\x1B[2Jb\nforged line\tc\xC2\x9B"
                                                             "d",
                                                             kCFStringEncodingUTF8));
    NSLog(CFSTR("%@"), title.Get());
    EXPECT_THAT(pipe.Read(), HasSubstr("] a\\x1b[2Jb\\nforged line\tc\\x9bd\n"));
}

TEST_F(NSLogTest, NeverWaitsAndSaysWhatWasLost) {
    ErrorPipe pipe;
    const std::string filler(4000, 'x');
    for (int i = 0; i < 100; ++i)
        kivo::WriteToStandardError(filler);
    pipe.Read();
    kivo::WriteToStandardError("after");
    EXPECT_THAT(pipe.Read(), MatchesRegex("\\([0-9]+ lines of the log were lost\\)\nafter\n"));
}

TEST_F(NSLogTest, OutlivesAReaderThatGoesJustBeforeItWrites) {
    const std::string path = std::string(std::getenv("XDG_RUNTIME_DIR")) + "/reader";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const auto openToRead = [&] { return open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); };
    const int first = openToRead();
    const int writer = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    close(first);
    std::atomic<bool> isOver{false};
    std::thread comesAndGoes([&] {
        std::array<char, 4096> some;
        while (!isOver) {
            const int reader = openToRead();
            while (read(reader, some.data(), some.size()) > 0) {
            }
            close(reader);
        }
    });
    {
        const StandardError place(writer);
        for (int i = 0; i < 100000; ++i)
            kivo::WriteToStandardError("line");
    }
    isOver = true;
    comesAndGoes.join();
    close(writer);
}

TEST_F(SyslogTest, ByWishGoesToStandardErrorWithTheProgramsName) {
    setenv("KIVO_LOG", "stderr", 1);
    FakeSystemLog log;
    ErrorPipe pipe;
    syslog(0, "SendMessage (no reply) returned %.8x", 0xFFFFFFFEU);
    EXPECT_EQ(pipe.Read(), ProcessName() + ": SendMessage (no reply) returned fffffffe\n");
    EXPECT_EQ(log.Receive(), "");
}

TEST_F(SyslogTest, APipeIsWatchedByDefault) {
    FakeSystemLog log;
    ErrorPipe pipe;
    const void* noPort = nullptr;
    syslog(0, "no remote port (%p), %s", noPort, "text");
    EXPECT_EQ(pipe.Read(), ProcessName() + ": no remote port ((nil)), text\n");
    EXPECT_EQ(log.Receive(), "");
}

TEST_F(SyslogTest, PriorityZeroReachesTheSystemLogAsANotice) {
    setenv("KIVO_LOG", "syslog", 1);
    FakeSystemLog log;
    ErrorPipe pipe;
    syslog(0, "local Port is not valid");
    EXPECT_THAT(log.Receive(),
                MatchesRegex("<13>[A-Z][a-z]{2} [ 0-9][0-9] [0-9:]{8} " + ProcessName() + "\\[" +
                             std::to_string(getpid()) + "\\]: local Port is not valid"));
    EXPECT_EQ(pipe.Read(), "");
}

TEST_F(SyslogTest, OtherPrioritiesStayAsTheyAre) {
    setenv("KIVO_LOG", "syslog", 1);
    FakeSystemLog log;
    syslog(LOG_DAEMON | LOG_WARNING, "careful");
    EXPECT_THAT(log.Receive(), StartsWith("<28>"));
}

TEST_F(SyslogTest, AFileDoesNotGrowWhileThereIsASystemLog) {
    FakeSystemLog log;
    const int saved = dup(STDERR_FILENO);
    const int file = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(file, STDERR_FILENO);
    syslog(0, "not in a file");
    dup2(saved, STDERR_FILENO);
    close(file);
    close(saved);
    EXPECT_THAT(log.Receive(), HasSubstr("]: not in a file"));
}

TEST_F(SyslogTest, WithoutASystemLogStandardErrorTakesTheLine) {
    setenv("KIVO_LOG", "syslog", 1);
    kivo::UseSystemLogSocket("/nonexistent/log");
    ErrorPipe pipe;
    syslog(0, "still said");
    EXPECT_EQ(pipe.Read(), ProcessName() + ": still said\n");
}

TEST_F(SyslogTest, ASystemLogThatIsBusyKeepsNobodyWaiting) {
    setenv("KIVO_LOG", "syslog", 1);
    FakeSystemLog log;
    ErrorPipe pipe;
    // More datagrams than a socket queues; the call would wait for ever if it waited at all.
    for (int i = 0; i < 2000; ++i)
        syslog(0, "line %d", i);
    EXPECT_THAT(log.Receive(), HasSubstr("]: line 0"));
    EXPECT_THAT(pipe.Read(), HasSubstr(ProcessName() + ": line "));
}

TEST_F(SyslogTest, TheJournalGetsALevelInFront) {
    FakeSystemLog log;
    ErrorPipe pipe;
    struct stat status {};
    ASSERT_EQ(fstat(STDERR_FILENO, &status), 0);
    const std::string stream = std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
    setenv("JOURNAL_STREAM", stream.c_str(), 1);
    syslog(0, "for the journal");
    EXPECT_EQ(pipe.Read(), "<5>for the journal\n");
}

/// Writes one line to a standard error whose other end is closed.
void LogToNobody(int end, int otherEnd) {
    const int saved = dup(STDERR_FILENO);
    dup2(end, STDERR_FILENO);
    close(end);
    close(otherEnd);
    syslog(0, "for nobody");
    dup2(saved, STDERR_FILENO);
    close(saved);
}

TEST_F(SyslogTest, AJournalThatEndsDoesNotEndTheProcess) {
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    LogToNobody(ends[0], ends[1]);
    ErrorPipe pipe;
    syslog(0, "for somebody");
    EXPECT_THAT(pipe.Read(), StartsWith("(1 lines of the log were lost)\n"));
}

TEST_F(SyslogTest, NorDoesAPipeThatNobodyReads) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    LogToNobody(ends[1], ends[0]);
    ErrorPipe pipe;
    syslog(0, "for somebody");
    EXPECT_THAT(pipe.Read(), StartsWith("(1 lines of the log were lost)\n"));
}

TEST_F(SyslogTest, LinesWaitForTheEndOfAllPauses) {
    setenv("KIVO_LOG", "stderr", 1);
    ErrorPipe pipe;
    {
        const kivo::LogPause outer;
        syslog(0, "one");
        {
            const kivo::LogPause inner;
            NSLog(CFSTR("two"));
        }
        syslog(0, "three");
        EXPECT_EQ(pipe.Read(), "");
    }
    EXPECT_THAT(pipe.Read(), MatchesRegex(".*: one\n.*\\] two\n.*: three\n"));
    syslog(0, "four");
    EXPECT_THAT(pipe.Read(), HasSubstr(": four\n"));
}

TEST_F(SyslogTest, ALongPauseKeepsAHundredLines) {
    setenv("KIVO_LOG", "stderr", 1);
    ErrorPipe pipe;
    const kivo::LogPause pause;
    for (int i = 0; i < 150; ++i)
        syslog(0, "line %d", i);
    const std::string lines = pipe.Read();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 100);
    EXPECT_THAT(lines, HasSubstr(": line 99\n"));
}

TEST_F(SyslogTest, LeavesTheErrorNumberAlone) {
    setenv("KIVO_LOG", "syslog", 1);
    kivo::UseSystemLogSocket("/nonexistent/log");
    ErrorPipe pipe;
    errno = EADDRINUSE;
    syslog(0, "text");
    EXPECT_EQ(errno, EADDRINUSE);
}

}  // namespace
