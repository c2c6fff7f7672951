#include "bench/requests/BareRequests.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace kivo::bench {
namespace {

constexpr uint32_t kLongestProperty = 1U << 20;  // in units of 4 bytes

}  // namespace

BareRequests::BareRequests()
    : mConnection(xcb_connect(nullptr, nullptr)),
      mRoot(xcb_setup_roots_iterator(xcb_get_setup(mConnection)).data->root),
      mList(Intern("_NET_CLIENT_LIST_STACKING")),
      mTitle(Intern("_NET_WM_NAME")),
      mActive(Intern("_NET_ACTIVE_WINDOW")),
      mFrame(Intern("_NET_FRAME_EXTENTS")) {
    const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(mConnection, mRoot, XCB_CW_EVENT_MASK, &events);
}

BareRequests::~BareRequests() {
    xcb_disconnect(mConnection);
}

xcb_atom_t BareRequests::Intern(const char* name) {
    const auto length = static_cast<uint16_t>(std::strlen(name));
    auto* reply =
        xcb_intern_atom_reply(mConnection, xcb_intern_atom(mConnection, 0, length, name), nullptr);
    const xcb_atom_t atom = reply->atom;
    std::free(reply);
    return atom;
}

xcb_get_property_cookie_t BareRequests::Ask(xcb_window_t window, xcb_atom_t property) {
    return xcb_get_property(mConnection, 0, window, property, XCB_ATOM_ANY, 0, kLongestProperty);
}

std::vector<xcb_window_t> BareRequests::Take(xcb_get_property_cookie_t cookie) {
    auto* reply = xcb_get_property_reply(mConnection, cookie, nullptr);
    std::vector<xcb_window_t> values;
    if (reply->format == 32) {
        const auto* first = static_cast<const xcb_window_t*>(xcb_get_property_value(reply));
        values.assign(first, first + reply->value_len);
    }
    std::free(reply);
    return values;
}

void BareRequests::Activate(xcb_window_t window) {
    constexpr uint32_t kFromPager = 2;
    xcb_client_message_event_t message = {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = mActive;
    message.data.data32[0] = kFromPager;
    xcb_send_event(mConnection, 0, mRoot,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    while (Take(Ask(mRoot, mActive)) != std::vector{window}) {
        std::free(xcb_wait_for_event(mConnection));
    }
}

void BareRequests::FindWindow() {
    const auto windows = Take(Ask(mRoot, mList));
    std::vector<xcb_get_property_cookie_t> titles;
    for (const xcb_window_t window : windows)
        titles.push_back(Ask(window, mTitle));
    for (const auto& title : titles)
        Take(title);

    const xcb_window_t front = windows.back();
    Activate(front);
    const auto geometry = xcb_get_geometry(mConnection, front);
    const auto place = xcb_translate_coordinates(mConnection, front, mRoot, 0, 0);
    const auto frame = Ask(front, mFrame);
    std::free(xcb_get_geometry_reply(mConnection, geometry, nullptr));
    std::free(xcb_translate_coordinates_reply(mConnection, place, nullptr));
    Take(frame);
}

}  // namespace kivo::bench
