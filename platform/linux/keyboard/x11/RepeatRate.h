#pragma once

#include "keyboard/x11/Xkb.h"

namespace kivo::keyboard::x11 {

/// Has a keyboard repeat keys at the rate of another, or not at all if that one does not. Waits for
/// one answer.
void CopyRepeatRate(xcb_connection_t* connection, xcb_xkb_device_spec_t from,
                    xcb_xkb_device_spec_t to);

}  // namespace kivo::keyboard::x11
