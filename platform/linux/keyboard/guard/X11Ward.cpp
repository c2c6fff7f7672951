#include "keyboard/guard/X11Ward.h"

#include "keyboard/x11/InputDevices.h"

namespace kivo::keyboard {

using x11::KeySet;

std::unique_ptr<X11Ward> X11Ward::Open(const std::string& display, std::uint32_t resource) {
    xcb_connection_t* const connection = xcb_connect(display.c_str(), nullptr);
    std::unique_ptr<X11Ward> ward(new X11Ward(connection, resource));
    if (xcb_connection_has_error(connection) != 0 || !x11::CanHoldKeys(connection)) return nullptr;
    return ward;
}

X11Ward::~X11Ward() {
    xcb_disconnect(mConnection);
}

void X11Ward::Free() {
    // The server closes the tap's connection, and a keyboard whose grab ends so is the session's
    // again at once.
    xcb_kill_client(mConnection, mResource);
    Wait();
    ReleaseWhatIsUp();
    Wait();
}

void X11Ward::Wait() {
    const x11::Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(mConnection, xcb_get_input_focus(mConnection), nullptr));
}

/// Nobody else will release what the tap typed, and what was pressed before the keyboard was
/// grabbed and let go of since.
void X11Ward::ReleaseWhatIsUp() {
    const auto forPrograms = x11::KeyboardForPrograms(mConnection);
    const KeySet typed = forPrograms ? x11::KeysDownOn(mConnection, *forPrograms) : KeySet();
    // Before the hands: what is pressed meanwhile is not stuck.
    const KeySet session = x11::KeysDownInSession(mConnection);
    KeySet hand;
    for (const x11::Keyboard& one : x11::AttachedKeyboards(mConnection)) {
        hand |= x11::KeysDownOn(mConnection, one.number);
    }
    const KeySet stuck = typed | (session & ~hand);
    for (std::size_t key = x11::kFirstKeycode; key < stuck.size(); ++key) {
        if (stuck[key]) x11::TypeKey(mConnection, static_cast<std::uint8_t>(key), false);
    }
}

}  // namespace kivo::keyboard
