#include "tests/desktop/X11Keys.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "platform/Workspace.h"
#include "platform/linux/keyboard/x11/Xkb.h"

namespace kivo::test {

using keyboard::x11::kFirstKeycode;
using keyboard::x11::Reply;

namespace {

std::uint8_t KeycodeOf(KeyCode code) {
    return static_cast<std::uint8_t>(code + kFirstKeycode);
}

/// The group of a layout that an event's state names.
std::size_t GroupOf(std::uint16_t state) {
    return state >> 13 & 3;
}

std::string InHex(std::int64_t code) {
    char text[20];
    std::snprintf(text, sizeof text, "%02llX", static_cast<unsigned long long>(code));
    return text;
}

}  // namespace

Hand::Hand() {
    // Also says which version of the input extension is spoken.
    if (!keyboard::x11::CanHoldKeys(client.Get())) throw std::runtime_error("no input extension");
    for (const auto& keyboard : keyboard::x11::AttachedKeyboards(client.Get())) {
        mKeyboard = keyboard.number;
    }
    mFirstEvent = xcb_get_extension_data(client.Get(), &xcb_input_id)->first_event;
}

void Hand::Type(KeyCode code) {
    Press(code);
    Release(code);
}

void Hand::Do(KeyCode code, bool isDown) {
    const int event = isDown ? XCB_INPUT_DEVICE_KEY_PRESS : XCB_INPUT_DEVICE_KEY_RELEASE;
    xcb_test_fake_input(client.Get(), static_cast<std::uint8_t>(mFirstEvent + event),
                        KeycodeOf(code), XCB_CURRENT_TIME, XCB_NONE, 0, 0,
                        static_cast<std::uint8_t>(mKeyboard));
    client.Sync();
}

bool Hand::IsHeld() {
    return keyboard::x11::AttachedKeyboards(client.Get()).empty();
}

void Hand::SetEnabled(bool isEnabled) {
    // xcb sends whole words of what it is given.
    const std::array<std::uint8_t, 4> value{isEnabled ? std::uint8_t{1} : std::uint8_t{0}};
    xcb_input_xi_change_property(client.Get(), mKeyboard, XCB_PROP_MODE_REPLACE, 8,
                                 client.Atom("Device Enabled"), XCB_ATOM_INTEGER, 1, value.data());
    client.Sync();
}

KeyLog::KeyLog() : mWindow(mClient.Create({.title = "keys"})) {
    const std::uint32_t events = XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE;
    xcb_change_window_attributes(mClient.Get(), mWindow, XCB_CW_EVENT_MASK, &events);
    xcb_set_input_focus(mClient.Get(), XCB_INPUT_FOCUS_PARENT, mWindow, XCB_CURRENT_TIME);
    // As programs do that care: a key that repeats sends presses without releases between them.
    keyboard::x11::CanHoldKeys(mClient.Get());
    xcb_xkb_per_client_flags(mClient.Get(), keyboard::x11::kSessionKeyboard,
                             XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT,
                             XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT, 0, 0, 0);
    mClient.Sync();
}

void KeyLog::Read() {
    mClient.Sync();
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(mClient.Get())}) {
        const auto type = event->response_type & 0x7F;
        if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) continue;
        const auto& key = *reinterpret_cast<const xcb_key_press_event_t*>(event.get());
        const std::uint8_t keycode = key.detail;
        const bool isPress = type == XCB_KEY_PRESS;
        const char sign = !isPress ? '-' : mDown[keycode] ? '*' : '+';
        mDown[keycode] = isPress;
        if (isPress) mPresses.push_back({keycode, GroupOf(key.state)});
        mKeys.push_back(sign + std::to_string(keycode - kFirstKeycode));
    }
}

std::vector<std::string> KeyLog::Keys() {
    Read();
    return mKeys;
}

std::vector<xcb_keysym_t> KeyLog::Symbols() {
    Read();
    std::vector<xcb_keysym_t> symbols;
    for (const KeyPress& press : mPresses) {
        const Reply<xcb_get_keyboard_mapping_reply_t> map(xcb_get_keyboard_mapping_reply(
            mClient.Get(), xcb_get_keyboard_mapping(mClient.Get(), press.keycode, 1), nullptr));
        // Two symbols a group: without and with Shift.
        symbols.push_back(map ? xcb_get_keyboard_mapping_keysyms(map.get())[2 * press.group] : 0);
    }
    return symbols;
}

void KeyLog::Clear() {
    Read();
    mKeys.clear();
    mPresses.clear();
}

TestTap::TestTap() {
    setenv("KIVO_KEYBOARD", "x11", 1);
    mPort = Adopt(CGEventTapCreate(kCGSessionEventTap, kCGHeadInsertEventTap,
                                   kCGEventTapOptionDefault, 0xC00, Entry, this));
    if (!mPort) return;
    mSource = Adopt(CFMachPortCreateRunLoopSource(nullptr, mPort.Get(), 0));
    CFRunLoopAddSource(CFRunLoopGetCurrent(), mSource.Get(), kCFRunLoopCommonModes);
}

TestTap::~TestTap() {
    if (mPort) CFMachPortInvalidate(mPort.Get());
}

void TestTap::Hold(Hand& hand) {
    Workspace_SetKeyboardForwardingWanted(true);
    if (!Await([&] { return hand.IsHeld(); })) throw std::runtime_error("not held");
}

void TestTap::LetGo(Hand& hand) {
    Workspace_SetKeyboardForwardingWanted(false);
    if (!Await([&] { return !hand.IsHeld(); })) throw std::runtime_error("still held");
}

CGEventRef TestTap::Entry(CGEventTapProxy, CGEventType type, CGEventRef event, void* self) {
    auto& tap = *static_cast<TestTap*>(self);
    std::string text = type == kCGEventTapDisabledByTimeout ? "time-out" : "user input";
    if (type == kCGEventKeyDown || type == kCGEventKeyUp) {
        const bool isRepeat = CGEventGetIntegerValueField(event, kCGKeyboardEventAutorepeat) != 0;
        const char sign = type == kCGEventKeyUp ? '-' : isRepeat ? '*' : '+';
        text = sign + InHex(CGEventGetIntegerValueField(event, kCGKeyboardEventKeycode));
        tap.lastFlags = CGEventGetFlags(event);
    }
    tap.shown.push_back(text);
    return tap.judge(text) ? event : nullptr;
}

}  // namespace kivo::test
