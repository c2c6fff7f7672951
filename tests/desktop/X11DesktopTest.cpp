#include "tests/desktop/X11DesktopTest.h"

#include <cstdlib>
#include <fstream>

namespace kivo::test {

namespace fs = std::filesystem;

void X11DesktopTest::StartSession(const std::string& manager,
                                  const std::vector<std::string>& options) {
    for (const std::string& program : {std::string("Xvfb"), manager}) {
        if (!program.empty() && !IsInstalled(program)) {
            GTEST_SKIP() << program << " is not installed";
        }
    }
    mServer.emplace(options);
    if (!manager.empty()) mManager.emplace(manager);
    mClient.emplace();
    // The desktop looks for its folders once; managers and toolkits need the machine's own.
    setenv("XDG_DATA_HOME", mDataHome.Path().c_str(), 1);
    setenv("XDG_DATA_DIRS", "/nowhere", 1);
    mDesktop = X11Desktop::Open();
    unsetenv("XDG_DATA_HOME");
    unsetenv("XDG_DATA_DIRS");
    ASSERT_NE(mDesktop, nullptr);
}

TestApplication X11DesktopTest::Start(const std::vector<TestWindow>& windows) {
    TestApplication application(windows);
    for (std::size_t i = 0; i < application.Count(); ++i) {
        EXPECT_TRUE(Await([&] { return IsManaged(*mClient, application.Window(i)); }))
            << "the window manager does not take window " << i << " on";
    }
    // Managers give a new window the focus some time after they list it: the last one is the last.
    const xcb_window_t last = application.Window(application.Count() - 1);
    EXPECT_TRUE(Await([&] {
        const auto active = mClient->Values(mClient->Root(), "_NET_ACTIVE_WINDOW");
        return !active.empty() && active.front() == last;
    })) << "the new window does not become active";
    return application;
}

std::vector<Window> X11DesktopTest::ListOf(pid_t processID) {
    std::vector<Window> windows;
    EXPECT_EQ(mDesktop->WindowsOf(processID, windows), Status::kOk);
    return windows;
}

std::vector<std::string> X11DesktopTest::TitlesOf(pid_t processID) {
    std::vector<std::string> titles;
    for (const Window& window : ListOf(processID)) {
        titles.push_back(window.title.value_or("(not read)"));
    }
    return titles;
}

Rect X11DesktopTest::FrameOf(xcb_window_t window) {
    Rect frame;
    EXPECT_EQ(mDesktop->Frame(window, frame), Status::kOk);
    return frame;
}

pid_t X11DesktopTest::FrontProcess() {
    const auto front = mDesktop->FrontApplication();
    return front ? front->processID : 0;
}

bool X11DesktopTest::MakeMain(xcb_window_t window) {
    return Await([&] { return mDesktop->MakeMain(window) == Status::kOk; });
}

void X11DesktopTest::WriteDesktopFile(const std::string& id, const std::string& keys) {
    fs::create_directories(mDataHome / "applications");
    std::ofstream(mDataHome / "applications" / (id + ".desktop"))
        << "[Desktop Entry]\nType=Application\n"
        << keys;
}

}  // namespace kivo::test
