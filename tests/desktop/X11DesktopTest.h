#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/desktop/x11/X11Desktop.h"
#include "tests/desktop/XSession.h"
#include "tests/support/TemporaryFolder.h"

namespace kivo::test {

using desktop::Application;
using desktop::Point;
using desktop::Rect;
using desktop::Status;
using desktop::Window;
using desktop::x11::X11Desktop;

/// What the tests of the room of X11 stand on: a server, a client that looks at it on its own, and
/// the desktop under test. Its desktop files are read from a folder of the test's own.
class X11DesktopTest : public testing::Test {
  protected:
    /// Starts the server, and the manager unless it is empty, and connects. The test is
    /// skipped when one of them is not installed.
    void StartSession(const std::string& manager, const std::vector<std::string>& options = {});

    /// Starts an application and waits until all its windows are managed, the last one active.
    TestApplication Start(const std::vector<TestWindow>& windows);

    std::vector<Window> ListOf(pid_t processID);
    std::vector<std::string> TitlesOf(pid_t processID);
    Rect FrameOf(xcb_window_t window);
    /// The id of the process in front; -1 when its process is unknown, 0 when nobody is.
    pid_t FrontProcess();

    /// Makes a window main; again where a manager takes longer than the limit on a busy machine.
    bool MakeMain(xcb_window_t window);

    void WriteDesktopFile(const std::string& id, const std::string& keys);

    TemporaryFolder mDataHome;
    std::optional<XServer> mServer;
    std::optional<RunningWindowManager> mManager;
    std::optional<XClient> mClient;
    std::unique_ptr<X11Desktop> mDesktop;
};

/// The same under each window manager in turn.
class X11ManagersTest : public X11DesktopTest, public testing::WithParamInterface<const char*> {
  protected:
    void SetUp() override { StartSession(GetParam()); }
    bool Is(const std::string& manager) const { return manager == GetParam(); }
};

inline const auto kManagers = testing::Values("openbox", "xfwm4", "i3", "metacity");
/// The lists of the last two are not in the order of the windows.
inline const auto kStackingManagers =
    testing::Values("openbox", "xfwm4", "metacity", "icewm", "jwm");
inline std::string ManagerName(const testing::TestParamInfo<const char*>& one) {
    return one.param;
}

}  // namespace kivo::test
