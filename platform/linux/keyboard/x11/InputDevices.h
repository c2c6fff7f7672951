#pragma once

#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include <bitset>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "keyboard/KeyCodes.h"

/// The keyboards of an X server. Each question waits for the server's answer.
namespace kivo::keyboard::x11 {

using DeviceNumber = std::uint16_t;
/// By X11's keycodes.
using KeySet = std::bitset<256>;

/// X11 numbers keys from 8 on, as the servers on Linux do with the kernel's numbers.
inline constexpr KeyCode kFirstKeycode = 8;
inline KeyCode CodeOf(std::uint32_t keycode) {
    return static_cast<KeyCode>(keycode - kFirstKeycode);
}

struct Keyboard {
    DeviceNumber number = 0;
    std::string name;
    /// Keys that programs type come from this one (the extension XTEST).
    bool isForPrograms = false;
};

/// Whether the server has what a tap needs: its input, test and keyboard extensions, and keyboards
/// of its own rather than those of a Wayland compositor, which shows it but a part of the keys.
bool CanHoldKeys(xcb_connection_t* connection);

/// The keyboards that are enabled and attached to the session's. Buttons of the case, which the
/// server takes for keyboards, are left out.
std::vector<Keyboard> AttachedKeyboards(xcb_connection_t* connection);

/// The keyboard for programs; none when the server has none.
std::optional<DeviceNumber> KeyboardForPrograms(xcb_connection_t* connection);

/// The keys that are down on one keyboard; none when it is gone.
KeySet KeysDownOn(xcb_connection_t* connection, DeviceNumber keyboard);

/// The same in two steps: the question, which waits for nothing, and its answer.
using KeysQuestion = xcb_input_query_device_state_cookie_t;
KeysQuestion AskKeysDownOn(xcb_connection_t* connection, DeviceNumber keyboard);
KeySet KeysDown(xcb_connection_t* connection, KeysQuestion question);

/// The keys that are down in the session.
KeySet KeysDownInSession(xcb_connection_t* connection);

/// The number of a name that the server knows; XCB_ATOM_NONE when it does not know it.
xcb_atom_t AtomOf(xcb_connection_t* connection, std::string_view name);

xcb_window_t RootWindow(xcb_connection_t* connection);

/// Types a key on the keyboard for programs. Does not wait.
void TypeKey(xcb_connection_t* connection, std::uint8_t keycode, bool isDown);

}  // namespace kivo::keyboard::x11
