// When the guard gives the daemon up, look by look.

#include "keyboard/guard/Lookout.h"

#include <gtest/gtest.h>

namespace kivo::test {
namespace {

using keyboard::kBeat;
using keyboard::kLook;
using keyboard::kLooksWithoutProgress;
using keyboard::Lookout;

/// Looks until the daemon, which beats no more, is given up, and returns how often.
int LooksUntilGivenUp(Lookout& lookout, std::uint32_t beats) {
    int looks = 1;
    while (!lookout.IsInVain(beats)) {
        if (++looks > 1000) break;
    }
    return looks;
}

TEST(Lookout, ADaemonThatNeverBeatsIsGivenUp) {
    Lookout lookout;
    lookout.Begin(7);
    EXPECT_EQ(LooksUntilGivenUp(lookout, 7), kLooksWithoutProgress);
}

TEST(Lookout, ADaemonThatStopsIsGivenUpWithinASecond) {
    Lookout lookout;
    lookout.Begin(0);
    for (std::uint32_t beats = 1; beats < 100; ++beats) {
        ASSERT_FALSE(lookout.IsInVain(beats));
    }
    // The last beat may come right after a look, so that the next still sees progress.
    const int looks = LooksUntilGivenUp(lookout, 100);
    EXPECT_EQ(looks, kLooksWithoutProgress + 1);
    EXPECT_LE(looks * kLook, std::chrono::milliseconds(850));
}

TEST(Lookout, ADaemonThatBeatsNowAndThenIsKept) {
    Lookout lookout;
    lookout.Begin(0);
    for (std::uint32_t look = 0; look < 1000; ++look) {
        const std::uint32_t beats = look / (kLooksWithoutProgress - 1);
        ASSERT_FALSE(lookout.IsInVain(beats)) << look;
    }
}

TEST(Lookout, AStandstillBeforeTheKeyboardsWereHeldDoesNotCount) {
    Lookout lookout;
    lookout.Begin(3);
    for (int look = 1; look < kLooksWithoutProgress; ++look) {
        ASSERT_FALSE(lookout.IsInVain(3));
    }
    lookout.Begin(3);
    EXPECT_EQ(LooksUntilGivenUp(lookout, 3), kLooksWithoutProgress);
}

TEST(Lookout, TheBeatsMayStartAnew) {
    Lookout lookout;
    lookout.Begin(0xFFFFFFFF);
    EXPECT_FALSE(lookout.IsInVain(0));
    EXPECT_EQ(LooksUntilGivenUp(lookout, 0), kLooksWithoutProgress);
}

}  // namespace
}  // namespace kivo::test
