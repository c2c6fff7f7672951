// What the guard does to a keyboard when it frees it: whatever the daemon was in the middle of, the
// session has nothing down that is up in the hand, gets nothing that was not typed, and the daemon
// can do no more.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "keyboard/evdev/Keyboard.h"
#include "keyboard/guard/EvdevWard.h"
#include "tests/unit/keyboard/ScriptedDevice.h"

namespace kivo::test {
namespace {

using keyboard::EvdevWard;
using keyboard::KeyCode;
using keyboard::evdev::Keyboard;
using testing::ElementsAre;
using testing::IsEmpty;

FileDescriptor Copy(int descriptor) {
    return FileDescriptor(fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
}

/// A keyboard that a session reads, the daemon may grab and the guard watches.
class EvdevWardTest : public testing::Test {
  protected:
    /// "+30" for a press that is new to the session, "-30" for such a release.
    std::vector<std::string> Read() {
        std::vector<std::string> seen;
        mSession->Read([&](const input_event& event, Keyboard::Audience) {
            const bool isDown = event.value != 0;
            if (event.type != EV_KEY || mIsDown[event.code] == isDown) return;
            mIsDown[event.code] = isDown;
            seen.push_back((isDown ? "+" : "-") + std::to_string(event.code));
        });
        return seen;
    }
    bool IsOfUseToTheDaemon() {
        return mDaemon->Read([](const input_event&, Keyboard::Audience) {});
    }

    ScriptedDevice mDevice{32};
    const std::unique_ptr<Keyboard> mSession = Keyboard::Open(mDevice.Path());
    const std::unique_ptr<Keyboard> mDaemon = Keyboard::Open(mDevice.Path());
    const std::unique_ptr<EvdevWard> mWard =
        EvdevWard::Open(Copy(mDaemon->Descriptor()), FileDescriptor());
    keyboard::evdev::Keys mIsDown;  ///< in the session
};

TEST_F(EvdevWardTest, WhatWentUpDuringTheGrabIsReleased) {
    mDevice.Press(KEY_A);
    mDevice.Press(KEY_C);
    ASSERT_TRUE(mDaemon->Grab());
    mDevice.Release(KEY_A);
    EXPECT_THAT(Read(), ElementsAre("+30", "+46"));
    mWard->Free();
    EXPECT_THAT(Read(), ElementsAre("-30"));
    mDevice.Release(KEY_C);
    EXPECT_THAT(Read(), ElementsAre("-46"));
}

TEST_F(EvdevWardTest, WhatOnlyTheDaemonHeardIsNotTyped) {
    ASSERT_TRUE(mDaemon->Grab());
    mDevice.Press(KEY_A);
    mDevice.Release(KEY_A);
    mDevice.Press(KEY_C);
    mWard->Free();
    EXPECT_THAT(Read(), IsEmpty());
}

TEST_F(EvdevWardTest, WhatTheSessionHasHeardGoUpIsNotTypedAnew) {
    mDevice.Press(KEY_A);
    ASSERT_TRUE(mDaemon->Grab());
    mDaemon->Ungrab();
    mDevice.Release(KEY_A);
    Read();
    mWard->Free();
    EXPECT_THAT(Read(), IsEmpty());
}

/// Stopped or killed as soon as the grab has ended, the daemon has not released anything yet.
TEST_F(EvdevWardTest, ADaemonThatStopsWhileItsGrabIsInterruptedLeavesNothingDown) {
    mDevice.Press(KEY_A);
    mDevice.Press(KEY_C);
    ASSERT_TRUE(mDaemon->Grab());
    mDevice.Release(KEY_A);
    mDevice.Release(KEY_C);
    Read();
    std::vector<std::string> seen;
    mDevice.afterGrabChanges = [&] {
        mWard->Free();
        const auto got = Read();
        seen.insert(seen.end(), got.begin(), got.end());
    };
    // What goes on after that comes too late.
    EXPECT_FALSE(mDaemon->ReleaseForOthers(KEY_A));
    EXPECT_THAT(seen, ElementsAre("-30", "-46"));
    EXPECT_THAT(Read(), IsEmpty());
    EXPECT_FALSE(IsOfUseToTheDaemon());
    mDevice.Press(KEY_D);
    EXPECT_THAT(Read(), ElementsAre("+32"));
}

TEST_F(EvdevWardTest, ADaemonThatStopsAsItsGrabBeginsLeavesNothingDown) {
    mDevice.Press(KEY_A);
    Read();
    std::vector<std::string> seen;
    mDevice.afterGrabChanges = [&] {
        mDevice.Release(KEY_A);
        mWard->Free();
        seen = Read();
    };
    mDaemon->Grab();
    EXPECT_THAT(seen, ElementsAre("-30"));
    EXPECT_FALSE(IsOfUseToTheDaemon());
}

TEST_F(EvdevWardTest, ADaemonThatStopsBeforeItsGrabBeginsGrabsNothingAfterwards) {
    mDevice.beforeGrabChanges = [&] { mWard->Free(); };
    EXPECT_FALSE(mDaemon->Grab());
    mDevice.Press(KEY_A);
    EXPECT_THAT(Read(), ElementsAre("+30"));
}

TEST_F(EvdevWardTest, MoreThanTheKernelKeepsIsMadeUpFor) {
    for (int i = 0; i < 20; ++i) {
        mDevice.Press(KEY_A);
        mDevice.Release(KEY_A);
    }
    mDevice.Press(KEY_C);
    ASSERT_GT(mDevice.Drops(), 0);
    ASSERT_TRUE(mDaemon->Grab());
    mDevice.Release(KEY_C);
    mWard->Listen();
    Read();
    mWard->Free();
    EXPECT_THAT(Read(), IsEmpty());
}

TEST_F(EvdevWardTest, WhatMayNotBeOpenedIsNotWatched) {
    mDevice.isForbidden = true;
    EXPECT_EQ(EvdevWard::Open(Copy(mDaemon->Descriptor()), FileDescriptor()), nullptr);
}

}  // namespace
}  // namespace kivo::test
