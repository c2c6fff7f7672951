#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/keyboard/x11/Xkb.h"
#include "tests/desktop/X11Keys.h"

namespace kivo::test {

/// What the tests of the tap in an X session stand on: a server, a hand on its keyboard, an
/// application that is typed into, and a tap on demand.
class X11KeyboardTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!IsInstalled("Xvfb")) GTEST_SKIP() << "Xvfb is not installed";
        server.emplace();
        hand.emplace();
        application.emplace();
    }

    void MakeTap() {
        tap.emplace();
        ASSERT_TRUE(tap->Exists());
    }
    void Hold() {
        if (!tap) MakeTap();
        tap->Hold(*hand);
    }

    /// Runs the loop until the application got `count` key events.
    std::vector<std::string> Keys(std::size_t count) {
        Await([&] { return application->Keys().size() >= count; });
        return application->Keys();
    }
    /// Has A swallowed, and let go of when the keyboard has been given back.
    void SwallowAUntilTheEnd() {
        Hold();
        tap->judge = [](const std::string&) { return false; };
        hand->Press(KEY_A);
        ExpectShown({"+00"});
        tap->LetGo(*hand);
        hand->Release(KEY_A);
    }
    void ExpectShown(const std::vector<std::string>& expected) {
        Await([&] { return tap->shown.size() >= expected.size(); });
        EXPECT_THAT(tap->shown, testing::ElementsAreArray(expected));
    }
    /// Without a window manager the focus follows the pointer once nobody has it.
    void FocusWhatIsUnderThePointer() {
        xcb_connection_t* const connection = hand->client.Get();
        hand->client.WarpPointer(100, 100);
        xcb_set_input_focus(connection, XCB_INPUT_FOCUS_POINTER_ROOT, XCB_INPUT_FOCUS_POINTER_ROOT,
                            XCB_CURRENT_TIME);
        ASSERT_TRUE(Await([&] {
            const keyboard::x11::Reply<xcb_query_pointer_reply_t> pointer(xcb_query_pointer_reply(
                connection, xcb_query_pointer(connection, hand->client.Root()), nullptr));
            return pointer && pointer->child != XCB_WINDOW_NONE;
        }));
    }
    static void Run(const std::string& command) {
        ASSERT_EQ(std::system((command + " >/dev/null 2>&1").c_str()), 0) << command;
    }

    std::optional<XServer> server;
    std::optional<Hand> hand;
    std::optional<KeyLog> application;
    std::optional<TestTap> tap;
};

}  // namespace kivo::test
