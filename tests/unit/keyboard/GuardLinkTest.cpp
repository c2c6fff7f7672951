// The daemon's end of the link to the guard, beside the guard's own program.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>

#include "keyboard/guard/GuardLink.h"
#include "tests/support/ErrorPipe.h"

namespace kivo::keyboard {
namespace {

using News = GuardLink::News;
using testing::HasSubstr;
using testing::IsEmpty;

pid_t OnlyChild() {
    const std::string self = std::to_string(getpid());
    pid_t child = 0;
    std::ifstream("/proc/self/task/" + self + "/children") >> child;
    return child;
}

class GuardLinkTest : public testing::Test {
  protected:
    GuardLinkTest() {
        EXPECT_THAT(mLink.Start(), IsEmpty());
        mGuard = OnlyChild();
    }
    ~GuardLinkTest() override {
        kill(mGuard, SIGKILL);
        waitpid(mGuard, nullptr, 0);
    }

    static bool IsReadable(int descriptor) {
        constexpr int kMilliseconds = 10'000;
        pollfd awaited{descriptor, POLLIN, 0};
        return poll(&awaited, 1, kMilliseconds) == 1;
    }

    /// Waits until the guard has reported, or is found to be gone.
    News Await() {
        EXPECT_TRUE(IsReadable(mLink.Descriptor()));
        std::uint32_t number = 0;
        return mLink.Read(&number);
    }

    GuardLink mLink;
    pid_t mGuard = 0;
};

TEST_F(GuardLinkTest, AGuardThatTakesNoOrdersIsGivenUp) {
    const FileDescriptor guard(static_cast<int>(syscall(SYS_pidfd_open, mGuard, 0)));
    kill(mGuard, SIGSTOP);
    int taken = 0;
    while (taken < 100'000 && mLink.ForgetDevice(1))
        ++taken;
    EXPECT_LT(taken, 100'000);
    EXPECT_EQ(Await(), News::kGone);
    EXPECT_FALSE(mLink.IsRunning());
    EXPECT_TRUE(IsReadable(guard.Get())) << "it has not ended, and may go on some time";
}

TEST_F(GuardLinkTest, WhatTheGuardCannotWatchIsLogged) {
    setenv("KIVO_LOG", "stderr", 1);
    test::ErrorPipe log;
    // A socket has no node that could be opened.
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_TRUE(mLink.WatchDevice(1, socket.Get(), socket.Get()));
    EXPECT_EQ(Await(), News::kNone);
    EXPECT_THAT(log.Read(), HasSubstr("the guard cannot connect to it"));
}

}  // namespace
}  // namespace kivo::keyboard
