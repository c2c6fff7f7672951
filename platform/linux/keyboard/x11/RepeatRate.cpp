#include "keyboard/x11/RepeatRate.h"

#include <array>

namespace kivo::keyboard::x11 {

void CopyRepeatRate(xcb_connection_t* connection, xcb_xkb_device_spec_t from,
                    xcb_xkb_device_spec_t to) {
    const Reply<xcb_xkb_get_controls_reply_t> source(
        xcb_xkb_get_controls_reply(connection, xcb_xkb_get_controls(connection, from), nullptr));
    if (!source) return;
    constexpr std::uint32_t kRepeat = XCB_XKB_BOOL_CTRL_REPEAT_KEYS;
    constexpr std::array<std::uint8_t, 32> kUnused{};
    xcb_xkb_set_controls(connection, to, 0, 0, 0, 0, 0, 0, 0, 0, 1, source->groupsWrap, 0, kRepeat,
                         source->enabledControls & kRepeat, kRepeat, source->repeatDelay,
                         source->repeatInterval, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                         kUnused.data());
}

}  // namespace kivo::keyboard::x11
