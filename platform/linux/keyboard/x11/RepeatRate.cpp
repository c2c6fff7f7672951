#include "keyboard/x11/RepeatRate.h"

namespace kivo::keyboard::x11 {

void CopyRepeatRate(xcb_connection_t* connection, xcb_xkb_device_spec_t from,
                    xcb_xkb_device_spec_t to) {
    const Reply<xcb_xkb_get_controls_reply_t> source(
        xcb_xkb_get_controls_reply(connection, xcb_xkb_get_controls(connection, from), nullptr));
    if (!source) return;
    constexpr std::uint32_t kRepeat = XCB_XKB_BOOL_CTRL_REPEAT_KEYS;
    xcb_xkb_set_controls(connection, to, 0, 0, 0, 0, 0, 0, 0, 0, 1, source->groupsWrap, 0, kRepeat,
                         source->enabledControls & kRepeat,
                         kRepeat | XCB_XKB_CONTROL_PER_KEY_REPEAT, source->repeatDelay,
                         source->repeatInterval, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                         source->perKeyRepeat);
}

}  // namespace kivo::keyboard::x11
