#include "bench/requests/BareRequests.h"

#include <cstdint>
#include <cstdlib>

namespace kivo::bench {

BareRequests::BareRequests() {
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(mServer.Get(), mServer.Root(), XCB_CW_EVENT_MASK, &events);
}

void BareRequests::Activate(xcb_window_t window) {
    constexpr std::uint32_t kFromPager = 2;
    xcb_client_message_event_t message = {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = mActive;
    message.data.data32[0] = kFromPager;
    xcb_send_event(mServer.Get(), 0, mServer.Root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    const auto isActive = [&] {
        const auto active = mServer.Take(mServer.Ask(mServer.Root(), mActive));
        return BareX::WindowsIn(active) == std::vector{window};
    };
    while (!isActive()) {
        std::free(xcb_wait_for_event(mServer.Get()));
    }
}

void BareRequests::FindWindow() {
    const auto windows = BareX::WindowsIn(mServer.Take(mServer.Ask(mServer.Root(), mList)));
    std::vector<xcb_get_property_cookie_t> titles;
    for (const xcb_window_t window : windows)
        titles.push_back(mServer.Ask(window, mTitle));
    for (const auto& title : titles)
        mServer.Take(title);

    const xcb_window_t front = windows.back();
    Activate(front);
    const auto geometry = xcb_get_geometry(mServer.Get(), front);
    const auto place = xcb_translate_coordinates(mServer.Get(), front, mServer.Root(), 0, 0);
    const auto frame = mServer.Ask(front, mFrame);
    std::free(xcb_get_geometry_reply(mServer.Get(), geometry, nullptr));
    std::free(xcb_translate_coordinates_reply(mServer.Get(), place, nullptr));
    mServer.Take(frame);
}

}  // namespace kivo::bench
