// The room of X11 by itself: what a list and a frame take over the same requests made barely,
// without the daemon and its ports around them.

#include <xcb/randr.h>
#include <xcb/res.h>

#include <array>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string_view>

#include "bench/Comparison.h"
#include "platform/linux/desktop/x11/X11Desktop.h"
#include "tests/desktop/XSession.h"

namespace kivo::bench {
namespace {

using desktop::Status;
using desktop::x11::X11Desktop;

/// Bare requests by xcb, each reply awaited without a limit, nothing checked.
class Bare {
  public:
    explicit Bare(test::XClient& client)
        : mConnection(client.Get()),
          mRoot(client.Root()),
          mList(client.Atom("_NET_CLIENT_LIST_STACKING")),
          mWorkspace(client.Atom("_NET_CURRENT_DESKTOP")),
          mOfWindow{client.Atom("_NET_WM_NAME"), client.Atom("_NET_WM_WINDOW_TYPE"),
                    client.Atom("_NET_WM_DESKTOP")},
          mExtents{client.Atom("_NET_FRAME_EXTENTS"), client.Atom("_GTK_FRAME_EXTENTS")} {}

    /// The list with the processes of all clients, then what tells of each window whether it
    /// belongs there, and its title, in one batch.
    std::size_t ListWithTitles() {
        const xcb_res_client_id_spec_t all{0, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
        const auto listCookie = Ask(mRoot, mList);
        const auto workspace = Ask(mRoot, mWorkspace);
        const auto processes = xcb_res_query_client_ids(mConnection, 1, &all);
        auto* list = Take(listCookie);
        std::free(Take(workspace));
        std::free(xcb_res_query_client_ids_reply(mConnection, processes, nullptr));
        const auto* windows = static_cast<const xcb_window_t*>(xcb_get_property_value(list));
        std::vector<xcb_get_property_cookie_t> cookies;
        for (std::uint32_t i = 0; i < list->value_len; ++i) {
            for (const xcb_atom_t property : mOfWindow) {
                cookies.push_back(Ask(windows[i], property));
            }
        }
        std::free(list);
        std::size_t bytes = 0;
        for (const auto& cookie : cookies) {
            auto* reply = Take(cookie);
            bytes += reply->value_len;
            std::free(reply);
        }
        return bytes;
    }

    void Frame(xcb_window_t window) {
        const auto monitors = xcb_randr_get_monitors(mConnection, mRoot, true);
        const auto place = xcb_translate_coordinates(mConnection, window, mRoot, 0, 0);
        const auto geometry = xcb_get_geometry(mConnection, window);
        const auto decoration = Ask(window, mExtents[0]);
        const auto shadow = Ask(window, mExtents[1]);
        std::free(xcb_randr_get_monitors_reply(mConnection, monitors, nullptr));
        std::free(xcb_translate_coordinates_reply(mConnection, place, nullptr));
        std::free(xcb_get_geometry_reply(mConnection, geometry, nullptr));
        std::free(Take(decoration));
        std::free(Take(shadow));
    }

  private:
    xcb_get_property_cookie_t Ask(xcb_window_t window, xcb_atom_t property) {
        return xcb_get_property(mConnection, false, window, property, XCB_ATOM_ANY, 0, 16384);
    }
    xcb_get_property_reply_t* Take(xcb_get_property_cookie_t cookie) {
        auto* reply = xcb_get_property_reply(mConnection, cookie, nullptr);
        if (reply == nullptr) throw std::runtime_error("a window went away");
        return reply;
    }

    xcb_connection_t* const mConnection;
    const xcb_window_t mRoot;
    const xcb_atom_t mList;
    const xcb_atom_t mWorkspace;
    const std::array<xcb_atom_t, 3> mOfWindow;
    const std::array<xcb_atom_t, 2> mExtents;
};

std::vector<test::TestWindow> Windows(std::size_t count) {
    std::vector<test::TestWindow> windows;
    for (std::size_t i = 0; i < count; ++i) {
        windows.push_back({.title = "Benchmark window " + std::to_string(i)});
    }
    return windows;
}

std::vector<Comparison> MeasureWith(std::size_t count) {
    const test::TestApplication application(Windows(count));
    test::XClient client;
    Bare bare(client);
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

void Measure(bool asJSON) {
    const test::XServer server;
    const test::RunningWindowManager manager("openbox");
    std::vector<Comparison> comparisons = MeasureWith(20);
    for (Comparison& one : MeasureWith(200)) {
        comparisons.push_back(std::move(one));
    }
    asJSON ? PrintAsJSON(comparisons) : PrintAsText(comparisons);
}

}  // namespace
}  // namespace kivo::bench

int main(int argc, char** argv) {
    try {
        kivo::bench::Measure(argc > 1 && std::string_view(argv[1]) == "--json");
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "bench-windows: " << error.what() << '\n';
        return 1;
    }
}
