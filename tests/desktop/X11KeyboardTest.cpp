// The tap in a real X session: what a hand types, what the tap is shown, and what an application
// gets.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <string_view>

#include "platform/Workspace.h"
#include "tests/desktop/X11KeyboardTest.h"

namespace kivo::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

/// This process's descriptors that lead to an X server.
std::set<int> ConnectionsToServer() {
    std::set<int> connections;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int descriptor = std::stoi(entry.path().filename());
        sockaddr_un peer{};
        socklen_t size = sizeof peer;
        if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) != 0) continue;
        const std::string_view path(peer.sun_path, size - offsetof(sockaddr_un, sun_path));
        if (path.find("/.X11-unix/") != path.npos) connections.insert(descriptor);
    }
    return connections;
}

TEST_F(X11KeyboardTest, WithoutForwardingNothingIsHeldOrShown) {
    MakeTap();
    TurnRunLoop(0.05);
    EXPECT_FALSE(hand->IsHeld());
    hand->Type(KEY_A);
    EXPECT_THAT(Keys(2), ElementsAre("+30", "-30"));
    EXPECT_THAT(tap->shown, IsEmpty());
}

TEST_F(X11KeyboardTest, AKeyLetThroughReachesTheApplicationOnce) {
    Hold();
    hand->Type(KEY_A);
    EXPECT_THAT(Keys(2), ElementsAre("+30", "-30"));
    ExpectShown({"+00", "-00"});
}

TEST_F(X11KeyboardTest, ASwallowedKeyDoesNotReachTheApplication) {
    Hold();
    tap->judge = [](const std::string& key) { return key != "+0B"; };
    hand->Type(KEY_A);
    hand->Type(KEY_B);
    hand->Type(KEY_C);
    EXPECT_THAT(Keys(4), ElementsAre("+30", "-30", "+46", "-46"));
    ExpectShown({"+00", "-00", "+0B", "-0B", "+08", "-08"});
}

TEST_F(X11KeyboardTest, ModifiersPassAndMakeFlags) {
    Hold();
    hand->Press(KEY_RIGHTSHIFT);
    hand->Press(KEY_A);
    EXPECT_THAT(Keys(2), ElementsAre("+54", "+30"));
    EXPECT_EQ(tap->lastFlags, 0x20104u);
    hand->Release(KEY_RIGHTSHIFT);
    hand->Release(KEY_A);
    EXPECT_THAT(Keys(4), ElementsAre("+54", "+30", "-54", "-30"));
    EXPECT_EQ(tap->lastFlags, 0x100u);
}

TEST_F(X11KeyboardTest, CapsLockIsTheSessionsState) {
    Hold();
    hand->Type(KEY_CAPSLOCK);
    hand->Type(KEY_A);
    Keys(4);
    EXPECT_EQ(tap->lastFlags, 0x10100u);
    hand->Type(KEY_CAPSLOCK);
    hand->Type(KEY_A);
    Keys(8);
    EXPECT_EQ(tap->lastFlags, 0x100u);
}

TEST_F(X11KeyboardTest, CapsLockThatWasOnBeforeIsKnown) {
    hand->Type(KEY_CAPSLOCK);
    Hold();
    hand->Type(KEY_A);
    Keys(4);
    EXPECT_EQ(tap->lastFlags, 0x10100u);
}

TEST_F(X11KeyboardTest, RepeatsAreShownAndReachTheApplicationOnce) {
    Run("xset r rate 150 50");
    Hold();
    hand->Press(KEY_A);
    ASSERT_TRUE(Await([&] { return tap->shown.size() >= 12; }));
    hand->Release(KEY_A);
    ASSERT_TRUE(Await([&] { return application->Keys().back() == "-30"; }));
    const auto keys = application->Keys();
    EXPECT_EQ(keys.front(), "+30");
    // Two sources of repeats would make twice as many.
    EXPECT_LT(keys.size(), tap->shown.size() * 3 / 2);
    EXPECT_GT(keys.size(), tap->shown.size() / 2);
}

TEST_F(X11KeyboardTest, ASwallowedRepeatReleasesTheKey) {
    Run("xset r rate 150 50");
    Hold();
    tap->judge = [](const std::string& key) { return key != "*00"; };
    hand->Press(KEY_A);
    ASSERT_TRUE(Await([&] { return tap->shown.size() >= 6; }));
    const auto keys = application->Keys();
    EXPECT_EQ(keys.back(), "-30");
    TurnRunLoop(0.1);
    EXPECT_EQ(application->Keys(), keys) << "it repeats on";
    hand->Release(KEY_A);
    ASSERT_TRUE(Await([&] { return tap->shown.back() == "-00"; }));
    EXPECT_EQ(application->Keys(), keys);
}

TEST_F(X11KeyboardTest, KeysDownWhenTakenAreReleasedWithTheHand) {
    hand->Press(KEY_LEFTSHIFT);
    hand->Press(KEY_A);
    Hold();
    hand->Release(KEY_A);
    hand->Release(KEY_LEFTSHIFT);
    const auto keys = Keys(4);
    EXPECT_THAT(keys, IsSupersetOf({"+42", "+30", "-30", "-42"}));
    EXPECT_EQ(keys.back(), "-42");
}

TEST_F(X11KeyboardTest, KeysDownWhenGivenBackAreReleasedWithTheHand) {
    Hold();
    hand->Press(KEY_LEFTSHIFT);
    hand->Press(KEY_A);
    Keys(2);
    tap->LetGo(*hand);
    TurnRunLoop(0.05);
    EXPECT_THAT(application->Keys(), Not(Contains("-30")));
    hand->Release(KEY_A);
    hand->Release(KEY_LEFTSHIFT);
    TurnRunLoop(0.05);
    const auto keys = application->Keys();
    EXPECT_EQ(std::count(keys.begin(), keys.end(), "-30"), 1);
    EXPECT_EQ(keys.back(), "-42");
}

TEST_F(X11KeyboardTest, AKeyHeldAcrossTheEndCanBePressedAgain) {
    Hold();
    hand->Press(KEY_A);
    Keys(1);
    tap->LetGo(*hand);
    hand->Release(KEY_A);
    TurnRunLoop(0.05);
    Hold();
    application->Clear();
    hand->Type(KEY_A);
    EXPECT_THAT(Keys(2), ElementsAre("+30", "-30"));
}

TEST_F(X11KeyboardTest, ASwallowedKeyIsNotReleasedAfterTheEnd) {
    SwallowAUntilTheEnd();
    hand->Type(KEY_B);
    EXPECT_THAT(Keys(2), ElementsAre("+48", "-48"));
}

TEST_F(X11KeyboardTest, ASwallowedKeyPressedAnewAsTheKeyboardIsTakenIsReleasedWithTheHand) {
    SwallowAUntilTheEnd();
    hand->Press(KEY_A);
    Hold();
    EXPECT_TRUE(keyboard::x11::KeysDownInSession(hand->client.Get()).any());
    hand->Release(KEY_A);
    EXPECT_TRUE(Await([&] { return keyboard::x11::KeysDownInSession(hand->client.Get()).none(); }));
}

/// Types on and on while the keyboard is taken and given back. What was held when it is given back
/// is typed a moment later, long on a busy machine, so a key must not be quicker than that to be
/// pressed anew: there are many, and a hand that takes its time.
TEST_F(X11KeyboardTest, NoKeyIsLostOrStuckWhileTheKeyboardChangesHands) {
    MakeTap();
    constexpr std::size_t kRounds = 8;
    constexpr std::array kKeys = {KEY_1, KEY_2, KEY_3, KEY_4, KEY_5, KEY_6, KEY_7, KEY_8, KEY_9,
                                  KEY_0, KEY_Q, KEY_W, KEY_E, KEY_R, KEY_T, KEY_Y, KEY_U, KEY_I,
                                  KEY_O, KEY_P, KEY_A, KEY_S, KEY_D, KEY_F, KEY_G, KEY_H, KEY_J,
                                  KEY_K, KEY_L, KEY_Z, KEY_X, KEY_C, KEY_V, KEY_B, KEY_N, KEY_M};
    const Pipe ready;
    const Process typist([&] {
        Hand own;
        dprintf(ready.WriteEnd(), "\n");
        for (std::size_t i = 0; i < kRounds * kKeys.size(); ++i) {
            own.Press(kKeys[i % kKeys.size()]);
            usleep(1000);
            own.Release(kKeys[i % kKeys.size()]);
            usleep(1000);
        }
        pause();
    });
    ready.ReadLine();
    constexpr std::size_t kEvents = 2 * kRounds * kKeys.size();
    bool isWanted = false;
    Await([&] {
        Workspace_SetKeyboardForwardingWanted(isWanted = !isWanted);
        return application->Keys().size() >= kEvents;
    });
    Workspace_SetKeyboardForwardingWanted(false);
    const auto keys = Keys(kEvents);
    for (const KeyCode key : kKeys) {
        const auto is = [key](char what) {
            return
                [text = what + std::to_string(key)](const std::string& one) { return one == text; };
        };
        EXPECT_EQ(static_cast<std::size_t>(std::count_if(keys.begin(), keys.end(), is('+'))),
                  kRounds)
            << key;
        EXPECT_EQ(static_cast<std::size_t>(std::count_if(keys.begin(), keys.end(), is('-'))),
                  kRounds)
            << key;
    }
    EXPECT_TRUE(keyboard::x11::KeysDownInSession(hand->client.Get()).none());
}

TEST_F(X11KeyboardTest, AKeyboardThatWasDisabledIsTakenAgain) {
    Hold();
    tap->judge = [](const std::string&) { return false; };
    hand->SetEnabled(false);
    TurnRunLoop(0.05);
    hand->SetEnabled(true);
    ASSERT_TRUE(Await([&] { return hand->IsHeld(); }));
    hand->Type(KEY_A);
    ExpectShown({"+00", "-00"});
    TurnRunLoop(0.05);
    EXPECT_THAT(application->Keys(), IsEmpty());
}

TEST_F(X11KeyboardTest, AKeyboardDisabledWithAKeyDownReleasesIt) {
    Hold();
    hand->Press(KEY_A);
    EXPECT_THAT(Keys(1), ElementsAre("+30"));
    hand->SetEnabled(false);
    ASSERT_TRUE(Await([&] { return application->Keys().back() == "-30"; }));
    ExpectShown({"+00", "-00"});
}

TEST_F(X11KeyboardTest, ALayoutChangedMeanwhileHoldsThenAndAfterwards) {
    Hold();
    Run("setxkbmap de");
    TurnRunLoop(0.1);
    hand->Type(KEY_Y);
    Keys(2);
    EXPECT_THAT(application->Symbols(), ElementsAre('z'));
    tap->LetGo(*hand);
    application->Clear();
    hand->Type(KEY_Y);
    Keys(2);
    EXPECT_THAT(application->Symbols(), ElementsAre('z'));
}

TEST_F(X11KeyboardTest, AKeyboardsOwnLayoutHoldsThenAndAfterwards) {
    Run("setxkbmap -device " + std::to_string(hand->Keyboard()) + " de");
    Hold();
    hand->Type(KEY_Y);
    Keys(2);
    EXPECT_THAT(application->Symbols(), ElementsAre('z'));
    tap->LetGo(*hand);
    TurnRunLoop(0.05);
    application->Clear();
    hand->Type(KEY_Y);
    Keys(2);
    EXPECT_THAT(application->Symbols(), ElementsAre('z'));
}

TEST_F(X11KeyboardTest, TheEscapeChordGivesTheKeyboardBack) {
    Hold();
    tap->judge = [](const std::string&) { return false; };
    hand->Press(KEY_BACKSPACE);
    hand->Press(KEY_ESC);
    ExpectShown({"+33", "+35"});
    hand->Press(KEY_ENTER);
    ASSERT_TRUE(Await([&] { return !hand->IsHeld(); }));
    EXPECT_FALSE(tap->IsEnabled());
    for (const KeyCode code : {KEY_BACKSPACE, KEY_ESC, KEY_ENTER}) {
        hand->Release(code);
    }
    hand->Type(KEY_A);
    EXPECT_THAT(Keys(2), ElementsAre("+30", "-30"));
    ExpectShown({"+33", "+35", "user input"});
}

TEST_F(X11KeyboardTest, AKeyboardThatAnotherProgramHoldsIsLeftAlone) {
    Process other([&] {
        TestTap first;
        Workspace_SetKeyboardForwardingWanted(true);
        TurnRunLoop(60);
    });
    ASSERT_TRUE(Await([&] { return hand->IsHeld(); }));
    MakeTap();
    Workspace_SetKeyboardForwardingWanted(true);
    TurnRunLoop(0.1);
    hand->Type(KEY_A);
    EXPECT_THAT(Keys(2), ElementsAre("+30", "-30"));
    EXPECT_THAT(tap->shown, IsEmpty());
}

TEST_F(X11KeyboardTest, AServerThatDiesBeforeForwardingBeginsEndsTheTapAlone) {
    Hold();
    tap->LetGo(*hand);
    server->Server().Kill();
    Workspace_SetKeyboardForwardingWanted(true);
    ExpectShown({"time-out"});
}

TEST_F(X11KeyboardTest, AServerThatDiesBeforeForwardingEndsEndsTheTapAlone) {
    Hold();
    server->Server().Kill();
    Workspace_SetKeyboardForwardingWanted(false);
    ExpectShown({"time-out"});
}

TEST_F(X11KeyboardTest, AServerThatDiesWhileAKeyIsDecidedEndsTheTapAlone) {
    Hold();
    tap->judge = [&](const std::string&) {
        server->Server().Kill();
        return true;
    };
    hand->Press(KEY_A);
    ExpectShown({"+00", "time-out"});
}

/// xcb looks whether the server is still there before it writes, so only a server that goes in
/// between lets it write in vain; it does here.
TEST_F(X11KeyboardTest, AServerThatGoesWhileItIsWrittenToEndsTheTapAlone) {
    const std::set<int> others = ConnectionsToServer();
    MakeTap();
    Hold();
    tap->judge = [&](const std::string&) {
        server->Server().Signal(SIGSTOP);
        for (const int connection : ConnectionsToServer()) {
            if (!others.contains(connection)) shutdown(connection, SHUT_WR);
        }
        return true;
    };
    hand->Press(KEY_A);
    ExpectShown({"+00", "time-out"});
}

TEST_F(X11KeyboardTest, ARealApplicationGetsItsText) {
    if (!IsInstalled("xterm")) GTEST_SKIP() << "xterm is not installed";
    const auto folder = std::filesystem::path(std::getenv("XDG_RUNTIME_DIR"));
    const auto reads = folder / "reads";
    const auto text = folder / "typed";
    for (const auto& file : {reads, text})
        std::filesystem::remove(file);
    const Process terminal(std::vector<std::string>{
        "xterm", "-e", "sh", "-c",
        ": >" + reads.string() + "; read -r line; printf %s \"$line\" >" + text.string()});
    ASSERT_TRUE(Await([&] { return std::filesystem::exists(reads); }));
    FocusWhatIsUnderThePointer();
    Hold();
    tap->judge = [](const std::string& key) { return key.substr(1) != "07"; };
    hand->Press(KEY_LEFTSHIFT);
    hand->Type(KEY_H);
    hand->Release(KEY_LEFTSHIFT);
    for (const KeyCode code : {KEY_X, KEY_I, KEY_X, KEY_1, KEY_ENTER}) {
        hand->Type(code);
    }
    ASSERT_TRUE(Await([&] { return std::filesystem::exists(text); }, 10));
    std::string line;
    ASSERT_TRUE(Await([&] {
        std::ifstream file(text);
        return static_cast<bool>(std::getline(file, line));
    }));
    EXPECT_EQ(line, "Hi1");
}

/// A daemon that lives in a process of its own, which things happen to.
class X11GuardTest : public X11KeyboardTest {
  protected:
    void StartDaemon(const std::function<void(const std::string&)>& onKey = [](const auto&) {}) {
        daemon = Process([&] {
            TestTap mine;
            mine.judge = [&](const std::string& key) {
                onKey(key);
                if (key == "time-out") {
                    CFRunLoopStop(CFRunLoopGetCurrent());
                    std::ofstream(TimeoutFile()) << "time-out";
                }
                return true;
            };
            Workspace_SetKeyboardForwardingWanted(true);
            CFRunLoopRun();
            TurnRunLoop(60);
        });
        ASSERT_TRUE(Await([&] { return hand->IsHeld(); }));
    }
    static std::string TimeoutFile() {
        return std::string(std::getenv("XDG_RUNTIME_DIR")) + "/time-out";
    }
    /// That it takes no more than a second follows from how often the guard looks; see Lookout.
    void ExpectFree() {
        ASSERT_TRUE(Await([&] { return !hand->IsHeld(); }));
        // The guard releases what the daemon typed after it has freed the keyboard.
        ASSERT_TRUE(Await([&] { return KeysOfPrograms().none(); }));
        application->Clear();
        hand->Type(KEY_B);
        EXPECT_THAT(Keys(2), ElementsAre("+48", "-48"));
    }

    keyboard::x11::KeySet KeysOfPrograms() {
        const auto programs = keyboard::x11::KeyboardForPrograms(hand->client.Get());
        return keyboard::x11::KeysDownOn(hand->client.Get(), programs.value());
    }

    Process daemon;
};

TEST_F(X11GuardTest, ADaemonThatIsKilledReleasesWhatItTyped) {
    StartDaemon();
    hand->Press(KEY_A);
    ASSERT_THAT(Keys(1), ElementsAre("+30"));
    daemon.Signal(SIGKILL);
    ASSERT_TRUE(Await([&] { return application->Keys().back() == "-30"; }));
    ExpectFree();
}

TEST_F(X11GuardTest, ADaemonThatStopsLosesTheKeyboard) {
    StartDaemon();
    hand->Press(KEY_LEFTSHIFT);
    ASSERT_THAT(Keys(1), ElementsAre("+42"));
    daemon.Signal(SIGSTOP);
    hand->Type(KEY_A);
    ExpectFree();
    EXPECT_TRUE(keyboard::x11::KeysDownInSession(hand->client.Get()).none());
    // When it goes on it is told, and takes no keyboard any more.
    daemon.Signal(SIGCONT);
    EXPECT_TRUE(Await([&] { return std::filesystem::exists(TimeoutFile()); }));
    EXPECT_FALSE(hand->IsHeld());
}

TEST_F(X11GuardTest, ADaemonThatStopsInTheMiddleOfAKeyGoesOnWithoutTheKeyboard) {
    StartDaemon([](const std::string& key) {
        if (key == "+00") raise(SIGSTOP);
    });
    hand->Type(KEY_A);
    ExpectFree();
    daemon.Signal(SIGCONT);
    EXPECT_TRUE(Await([&] { return std::filesystem::exists(TimeoutFile()); }));
}

TEST_F(X11GuardTest, AKeyPressedBeforeAndLetGoOfDuringTheStopIsNotStuck) {
    hand->Press(KEY_A);
    StartDaemon();
    daemon.Signal(SIGSTOP);
    hand->Release(KEY_A);
    ASSERT_TRUE(Await([&] { return !hand->IsHeld(); }));
    EXPECT_TRUE(Await([&] { return keyboard::x11::KeysDownInSession(hand->client.Get()).none(); }));
}

TEST_F(X11GuardTest, ADaemonThatIsTerminatedFreesTheKeyboard) {
    StartDaemon();
    daemon.Signal(SIGTERM);
    ExpectFree();
}

TEST_F(X11GuardTest, ADaemonThatIsOnlySlowKeepsTheKeyboard) {
    StartDaemon();
    // Ten seconds would be long; beats that were not counted would show in two.
    TurnRunLoop(2);
    EXPECT_TRUE(hand->IsHeld());
    hand->Type(KEY_A);
    EXPECT_THAT(Keys(2), ElementsAre("+30", "-30"));
}

}  // namespace
}  // namespace kivo::test
