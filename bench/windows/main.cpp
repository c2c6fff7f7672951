// The room of X11 by itself: what a list and a frame take over the same requests made barely,
// without the daemon and its ports around them.

#include <xcb/randr.h>
#include <xcb/res.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

#include "bench/BareX.h"
#include "bench/Program.h"
#include "platform/linux/desktop/x11/X11Desktop.h"

namespace kivo::bench {
namespace {

using desktop::Status;
using desktop::x11::X11Desktop;

/// The same requests as the room's, made barely; nothing is checked.
class Bare {
  public:
    /// The list with the processes of all clients, then what tells of each window whether it
    /// belongs there, and its title, in one batch.
    std::size_t ListWithTitles() {
        const xcb_res_client_id_spec_t all{0, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
        const auto list = mServer.Ask(mServer.Root(), mList);
        const auto workspace = mServer.Ask(mServer.Root(), mWorkspace);
        const auto processes = xcb_res_query_client_ids(mServer.Get(), 1, &all);
        const auto windows = BareX::WindowsIn(mServer.Take(list));
        mServer.Take(workspace);
        std::free(xcb_res_query_client_ids_reply(mServer.Get(), processes, nullptr));
        std::vector<xcb_get_property_cookie_t> cookies;
        for (const xcb_window_t window : windows) {
            for (const xcb_atom_t property : mOfWindow) {
                cookies.push_back(mServer.Ask(window, property));
            }
        }
        std::size_t bytes = 0;
        for (const auto& cookie : cookies) {
            bytes += mServer.Take(cookie)->value_len;
        }
        return bytes;
    }

    void Frame(xcb_window_t window) {
        const auto monitors = xcb_randr_get_monitors(mServer.Get(), mServer.Root(), true);
        const auto place = xcb_translate_coordinates(mServer.Get(), window, mServer.Root(), 0, 0);
        const auto geometry = xcb_get_geometry(mServer.Get(), window);
        const auto decoration = mServer.Ask(window, mExtents[0]);
        const auto shadow = mServer.Ask(window, mExtents[1]);
        std::free(xcb_randr_get_monitors_reply(mServer.Get(), monitors, nullptr));
        std::free(xcb_translate_coordinates_reply(mServer.Get(), place, nullptr));
        std::free(xcb_get_geometry_reply(mServer.Get(), geometry, nullptr));
        mServer.Take(decoration);
        mServer.Take(shadow);
    }

  private:
    BareX mServer;
    const xcb_atom_t mList = mServer.Atom("_NET_CLIENT_LIST_STACKING");
    const xcb_atom_t mWorkspace = mServer.Atom("_NET_CURRENT_DESKTOP");
    const std::array<xcb_atom_t, 3> mOfWindow = {mServer.Atom("_NET_WM_NAME"),
                                                 mServer.Atom("_NET_WM_WINDOW_TYPE"),
                                                 mServer.Atom("_NET_WM_DESKTOP")};
    const std::array<xcb_atom_t, 2> mExtents = {mServer.Atom("_NET_FRAME_EXTENTS"),
                                                mServer.Atom("_GTK_FRAME_EXTENTS")};
};

std::vector<Comparison> MeasureWith(std::size_t count) {
    const test::TestApplication application(ManyWindows(count));
    Bare bare;
    const auto desktop = X11Desktop::Open();
    const auto list = [&] {
        std::vector<desktop::Window> windows;
        desktop->WindowsOf(application.ProcessID(), windows);
        return windows.size();
    };
    if (!test::Await([&] { return list() == count; }, 60)) {
        throw std::runtime_error("the windows do not come up");
    }
    const std::string suffix = std::to_string(count);
    std::vector<Comparison> comparisons;
    comparisons.push_back(
        Compare("desktop_list_vs_xcb_" + suffix, 1.5, 1000, list, [&] { bare.ListWithTitles(); }));
    comparisons.push_back(Compare(
        "desktop_frame_vs_xcb_" + suffix, 1.5, 1000,
        [&] {
            desktop::Rect frame;
            desktop->Frame(application.Window(0), frame);
        },
        [&] { bare.Frame(application.Window(0)); }));
    return comparisons;
}

std::vector<Comparison> Measure() {
    const test::XServer server;
    const test::RunningWindowManager manager("openbox");
    std::vector<Comparison> comparisons = MeasureWith(20);
    for (Comparison& one : MeasureWith(200)) {
        comparisons.push_back(std::move(one));
    }
    return comparisons;
}

}  // namespace
}  // namespace kivo::bench

int main(int argc, char** argv) {
    return kivo::bench::RunProgram(argc, argv, kivo::bench::Measure);
}
