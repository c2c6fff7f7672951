#pragma once

#include "keyboard/x11/Xkb.h"

namespace kivo::keyboard::x11 {

/// Has a keyboard repeat keys at the rate of another, and those keys that the other repeats, if
/// any. Waits for one answer.
void CopyRepeatRate(xcb_connection_t* connection, xcb_xkb_device_spec_t from,
                    xcb_xkb_device_spec_t to);

}  // namespace kivo::keyboard::x11
