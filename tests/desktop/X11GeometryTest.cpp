#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>

#include "tests/desktop/X11DesktopTest.h"

namespace kivo::desktop {

static bool operator==(const Rect& one, const Rect& other) {
    return one.x == other.x && one.y == other.y && one.width == other.width &&
           one.height == other.height;
}

static std::ostream& operator<<(std::ostream& out, const Rect& rect) {
    return out << rect.x << "," << rect.y << " " << rect.width << "x" << rect.height;
}

}  // namespace kivo::desktop

namespace kivo::test {
namespace {

/// The window that a manager put around another, as `xwininfo -frame` finds it; borders included.
Rect SurroundingFrame(XClient& client, xcb_window_t window) {
    for (;;) {
        auto* tree =
            xcb_query_tree_reply(client.Get(), xcb_query_tree(client.Get(), window), nullptr);
        if (tree == nullptr) return {};
        const xcb_window_t parent = tree->parent;
        const bool isTop = parent == tree->root;
        std::free(tree);
        if (isTop) break;
        window = parent;
    }
    auto* geometry =
        xcb_get_geometry_reply(client.Get(), xcb_get_geometry(client.Get(), window), nullptr);
    if (geometry == nullptr) return {};
    const Rect frame{double(geometry->x), double(geometry->y),
                     geometry->width + 2.0 * geometry->border_width,
                     geometry->height + 2.0 * geometry->border_width};
    std::free(geometry);
    return frame;
}

bool Contains(const Rect& outer, const Rect& inner) {
    return outer.x <= inner.x && outer.y <= inner.y &&
           outer.x + outer.width >= inner.x + inner.width &&
           outer.y + outer.height >= inner.y + inner.height;
}

class X11FramesTest : public X11ManagersTest {
  protected:
    /// Metacity's frame windows reach beyond what is seen, to be taken hold of more easily.
    bool AgreesWithManager(xcb_window_t window) {
        const Rect surrounding = SurroundingFrame(*mClient, window);
        const Rect frame = FrameOf(window);
        return Is("metacity") ? Contains(surrounding, frame) : frame == surrounding;
    }
};

TEST_P(X11FramesTest, AFrameIsWhatTheManagerDrawsAroundTheWindow) {
    const auto one = Start({{.title = "one", .width = 321, .height = 123}});
    EXPECT_TRUE(Await([&] { return AgreesWithManager(one.Window()); }))
        << FrameOf(one.Window()) << " is not " << SurroundingFrame(*mClient, one.Window());
    const Rect frame = FrameOf(one.Window());
    EXPECT_GT(frame.height, 123) << "a title bar belongs to it";
}

TEST_P(X11FramesTest, AFrameIsReadAnewEachTime) {
    if (Is("i3")) {
        const auto one = Start({{.title = "one"}});
        const Rect alone = FrameOf(one.Window());
        const auto other = Start({{.title = "other"}});
        EXPECT_TRUE(Await([&] { return FrameOf(one.Window()).width == alone.width / 2; }));
        return;
    }
    const auto one = Start({{.title = "one"}});
    constexpr std::uint32_t kFromPager = 2 << 12;
    constexpr std::uint32_t kPlaceAndSize = 0xF << 8;
    mClient->Send(one.Window(), "_NET_MOVERESIZE_WINDOW",
                  {kFromPager | kPlaceAndSize, 400, 300, 333, 222});
    EXPECT_TRUE(Await([&] {
        const Rect frame = FrameOf(one.Window());
        return AgreesWithManager(one.Window()) && frame.x == 400 && frame.y == 300 &&
               frame.width >= 333;
    })) << FrameOf(one.Window());
}

TEST_P(X11FramesTest, AShadowThatTheApplicationDrawsIsNoPartOfIt) {
    const auto one = Start({{.title = "one", .shadow = {10, 20, 30, 40}}});
    const auto frameWithShadow = [&](const std::vector<std::uint32_t>& shadow) {
        mClient->SetValues(one.Window(), "_GTK_FRAME_EXTENTS", "CARDINAL", shadow);
        return FrameOf(one.Window());
    };
    Rect whole;
    Rect frame;
    // Both anew in each try: a manager may still be laying its bar and the window out.
    EXPECT_TRUE(Await([&] {
        whole = frameWithShadow({0, 0, 0, 0});
        frame = frameWithShadow({10, 20, 30, 40});
        return whole.width > 0 && frame.width == whole.width - 30 &&
               frame.height == whole.height - 70;
    })) << frame
        << " within " << whole;
}

INSTANTIATE_TEST_SUITE_P(Managers, X11FramesTest, kManagers, ManagerName);

class X11StackingFramesTest : public X11ManagersTest {};

TEST_P(X11StackingFramesTest, AFullscreenWindowHasTheScreenForItsFrame) {
    constexpr std::uint32_t kAdd = 1;
    const auto one = Start({{.title = "one"}});
    mClient->Send(one.Window(), "_NET_WM_STATE",
                  {kAdd, mClient->Atom("_NET_WM_STATE_FULLSCREEN"), 0, 1});
    EXPECT_TRUE(Await([&] {
        return FrameOf(one.Window()) == Rect{0, 0, 1280, 800};
    })) << FrameOf(one.Window());
}

INSTANTIATE_TEST_SUITE_P(Managers, X11StackingFramesTest, kManagers, ManagerName);

/// Runs a program to its end.
void Execute(const std::string& command) {
    ASSERT_EQ(std::system((command + " >/dev/null 2>&1").c_str()), 0) << command;
}

class X11MonitorsTest : public X11DesktopTest {
  protected:
    void SetUp() override {
        if (!IsInstalled("xrandr")) GTEST_SKIP() << "xrandr is not installed";
        StartSession("openbox");
    }
};

TEST_F(X11MonitorsTest, OneMonitorIsTheScreen) {
    EXPECT_EQ(mDesktop->PrimaryScreen(), (Rect{0, 0, 1280, 800}));
    mClient->WarpPointer(100, 200);
    const auto pointer = mDesktop->Pointer();
    ASSERT_TRUE(pointer);
    EXPECT_EQ(pointer->x, 100);
    EXPECT_EQ(pointer->y, 200);
}

TEST_F(X11MonitorsTest, CoordinatesCountFromThePrimaryMonitor) {
    const auto one = Start({{.title = "one"}});
    Execute("xrandr --setmonitor left 500/100x800/200+0+0 screen");
    Execute("xrandr --setmonitor '*right' 780/200x700/200+500+100 none");
    EXPECT_EQ(mDesktop->PrimaryScreen(), (Rect{0, 0, 780, 700}));
    EXPECT_TRUE(Await([&] {  // the manager may move the window into a monitor
        const Rect all = SurroundingFrame(*mClient, one.Window());
        return FrameOf(one.Window()) == Rect{all.x - 500, all.y - 100, all.width, all.height};
    }));
    mClient->WarpPointer(100, 50);
    const auto pointer = mDesktop->Pointer();
    ASSERT_TRUE(pointer);
    EXPECT_EQ(pointer->x, -400);
    EXPECT_EQ(pointer->y, -50);
}

TEST_F(X11MonitorsTest, TheFirstCountsWhereNoneIsMarked) {
    Execute("xrandr --setmonitor left 500/100x800/200+0+0 screen");
    Execute("xrandr --setmonitor right 780/200x700/200+500+100 none");
    EXPECT_EQ(mDesktop->PrimaryScreen()->width, 500);
}

class X11NoMonitorsTest : public X11DesktopTest {};

TEST_F(X11NoMonitorsTest, WithoutRandRTheWholeScreenIsTheMonitor) {
    StartSession("", {"-extension", "RANDR"});
    if (IsSkipped()) return;
    EXPECT_EQ(mDesktop->PrimaryScreen(), (Rect{0, 0, 1280, 800}));
    mClient->WarpPointer(7, 9);
    EXPECT_EQ(mDesktop->Pointer()->y, 9);
}

/// Real applications: one plain, and one that draws its own frame and shadow.
class X11ProgramsTest : public X11FramesTest {};

TEST_P(X11ProgramsTest, AnXtermIsFoundByItsProcessAndClass) {
    if (!IsInstalled("xterm")) GTEST_SKIP() << "xterm is not installed";
    WriteDesktopFile("org.example.Terminal", "StartupWMClass=XTerm\nX-CFBundleSignature=XtRm\n");
    const Process xterm({"xterm", "-T", "A terminal", "-geometry", "60x10", "-e", "cat"});
    ASSERT_TRUE(Await([&] { return FrontProcess() == xterm.ID(); }, 10));
    EXPECT_THAT(TitlesOf(xterm.ID()), testing::ElementsAre("A terminal"));
    const auto front = mDesktop->FrontApplication();
    EXPECT_EQ(front->bundleID, "org.example.Terminal");
    EXPECT_EQ(front->info.at("CFBundleSignature"), "XtRm");
    const auto window = static_cast<xcb_window_t>(ListOf(xterm.ID())[0].id);
    EXPECT_TRUE(Await([&] { return AgreesWithManager(window); }));
}

/// A window with a header bar; says what GTK thinks of its size without the shadow.
constexpr const char* kGtkProgram = R"(
import gi, sys
gi.require_version('Gtk', '3.0')
from gi.repository import Gtk, Gdk, GLib
window = Gtk.Window(title='Grüße')
bar = Gtk.HeaderBar(show_close_button=True, title='Grüße')
window.set_titlebar(bar)
area = Gtk.DrawingArea()
area.set_size_request(300, 200)
window.add(area)
window.show_all()
def tell():
    inside, head = area.get_allocation(), bar.get_allocation()
    if head.height <= 1:
        return True
    with open(sys.argv[1] + '.new', 'w') as out:
        out.write('%d %d\n' % (inside.width, inside.height + head.height))
    import os
    os.rename(sys.argv[1] + '.new', sys.argv[1])
    return True
GLib.timeout_add(50, tell)
Gtk.main()
)";

TEST_P(X11ProgramsTest, AWindowThatDrawsItsOwnFrameIsMeasuredWithoutItsShadow) {
    if (std::system(
            "/usr/bin/python3 -c 'import gi; gi.require_version(\"Gtk\", \"3.0\")' 2>/dev/null") !=
        0) {
        GTEST_SKIP() << "GTK 3 for Python (python3-gi, gir1.2-gtk-3.0) is not installed";
    }
    const auto told = mDataHome / "told";
    const Process gtk({"/usr/bin/python3", "-c", kGtkProgram, told.string()});
    std::vector<Window> windows;
    ASSERT_TRUE(Await(
        [&] {
            windows = ListOf(gtk.ID());
            return !windows.empty() && std::filesystem::exists(told);
        },
        15));
    EXPECT_EQ(windows[0].title, "Grüße");
    const auto window = static_cast<xcb_window_t>(windows[0].id);
    Rect wanted;
    const bool agree = Await([&] {
        std::ifstream(told) >> wanted.width >> wanted.height;
        const Rect frame = FrameOf(window);
        // Without a compositor GTK draws a frame of a few pixels in place of a shadow, and some
        // managers one of their own.
        const auto shadow = mClient->Values(window, "_GTK_FRAME_EXTENTS");
        const double slack = shadow.empty() ? 12 : 2;
        auto border = mClient->Values(window, "_NET_FRAME_EXTENTS");
        border.resize(4);
        return std::abs(frame.width - wanted.width - border[0] - border[1]) <= slack &&
               std::abs(frame.height - wanted.height - border[2] - border[3]) <= slack;
    });
    EXPECT_TRUE(agree) << FrameOf(window) << " for " << wanted;
    if (Is("xfwm4") || Is("metacity")) {
        EXPECT_THAT(mClient->Values(window, "_GTK_FRAME_EXTENTS"),
                    testing::ElementsAre(testing::Gt(9u), testing::Gt(9u), testing::Gt(9u),
                                         testing::Gt(9u)))
            << "there was no shadow to be left out";
    }
}

INSTANTIATE_TEST_SUITE_P(Managers, X11ProgramsTest, kManagers, ManagerName);

}  // namespace
}  // namespace kivo::test
