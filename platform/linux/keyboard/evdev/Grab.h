#pragma once

namespace kivo::keyboard::evdev {

/// Gives a keyboard's events back to everybody. The kernel has its text console switch the lights
/// then, as those of a keyboard that just came; they are switched back to what the session has.
void EndGrab(int device);

}  // namespace kivo::keyboard::evdev
