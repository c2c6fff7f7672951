#include "bench/keys/x11/X11Typist.h"

#include <poll.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "bench/keys/Cores.h"
#include "platform/linux/keyboard/x11/Xkb.h"

namespace kivo::bench {
namespace {

/// Keys take turns, so that what comes late of one is not taken for the next.
constexpr std::uint8_t kFirstKeycode = 24;  // Q, and so on to P
constexpr std::uint8_t kKeycodes = 10;
constexpr int kPatienceMilliseconds = 200;

using keyboard::x11::DeviceNumber;

void Hold(DeviceNumber keyboard, const MinimalLoop::Asker& ask) {
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    keyboard::x11::CanHoldKeys(connection);
    const std::uint32_t keys =
        XCB_INPUT_XI_EVENT_MASK_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_KEY_RELEASE;
    xcb_input_xi_grab_device(connection, keyboard::x11::RootWindow(connection), XCB_CURRENT_TIME,
                             XCB_NONE, keyboard, XCB_INPUT_GRAB_MODE_22_ASYNC,
                             XCB_INPUT_GRAB_MODE_22_ASYNC, 0, 1, &keys);
    xcb_flush(connection);
    while (xcb_generic_event_t* const event = xcb_wait_for_event(connection)) {
        const auto& key = *reinterpret_cast<const xcb_input_key_press_event_t*>(event);
        if ((event->response_type & 0x7F) == XCB_GE_GENERIC) {
            ask();
            keyboard::x11::TypeKey(connection, static_cast<std::uint8_t>(key.detail),
                                   key.event_type == XCB_INPUT_KEY_PRESS);
            xcb_flush(connection);
        }
        std::free(event);
    }
}

std::unique_ptr<test::XServer> StartServer() {
    const OnOtherCore otherCore;
    return std::make_unique<test::XServer>();
}

}  // namespace

X11Typist::X11Typist() : mServer(StartServer()) {
    if (!keyboard::x11::CanHoldKeys(mHand.Get())) throw std::runtime_error("no input extension");
    mKeyboard = keyboard::x11::AttachedKeyboards(mHand.Get()).front().number;
    mFirstEvent = xcb_get_extension_data(mHand.Get(), &xcb_input_id)->first_event;
    const xcb_window_t window = mApplication.Create({.title = "keys"});
    const std::uint32_t events = XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE;
    xcb_change_window_attributes(mApplication.Get(), window, XCB_CW_EVENT_MASK, &events);
    xcb_set_input_focus(mApplication.Get(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    mApplication.Sync();
}

std::optional<double> X11Typist::Type() {
    mKeycode = static_cast<std::uint8_t>(kFirstKeycode + ++mTyped % kKeycodes);
    const auto start = std::chrono::steady_clock::now();
    Send(true);
    const bool hasCome = AwaitEvent(XCB_KEY_PRESS);
    const std::chrono::duration<double, std::micro> taken =
        std::chrono::steady_clock::now() - start;
    Send(false);
    if (!hasCome) return std::nullopt;
    AwaitEvent(XCB_KEY_RELEASE);
    return taken.count();
}

void X11Typist::Send(bool isDown) {
    const int event = isDown ? XCB_INPUT_DEVICE_KEY_PRESS : XCB_INPUT_DEVICE_KEY_RELEASE;
    xcb_test_fake_input(mHand.Get(), static_cast<std::uint8_t>(mFirstEvent + event), mKeycode,
                        XCB_CURRENT_TIME, XCB_NONE, 0, 0, static_cast<std::uint8_t>(mKeyboard));
    xcb_flush(mHand.Get());
}

bool X11Typist::AwaitEvent(std::uint8_t type) {
    for (;;) {
        const std::unique_ptr<xcb_generic_event_t, keyboard::x11::Free> event(
            xcb_poll_for_event(mApplication.Get()));
        const auto* const key = reinterpret_cast<const xcb_key_press_event_t*>(event.get());
        if (event && (event->response_type & 0x7F) == type && key->detail == mKeycode) return true;
        if (event) continue;
        pollfd socket{xcb_get_file_descriptor(mApplication.Get()), POLLIN, 0};
        if (poll(&socket, 1, kPatienceMilliseconds) <= 0) return false;
    }
}

void X11Typist::AwaitHeld(bool isHeld) {
    const auto isSo = [&] {
        return keyboard::x11::AttachedKeyboards(mHand.Get()).empty() == isHeld;
    };
    if (!test::Await(isSo)) throw std::runtime_error("the keyboard is not taken or not given back");
}

MinimalLoop X11Typist::StartLoop() {
    return MinimalLoop([this](const MinimalLoop::Asker& ask) { Hold(mKeyboard, ask); });
}

}  // namespace kivo::bench
