#include "bench/keys/Typist.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>

namespace kivo::bench {
namespace {

constexpr std::uint8_t kKeycode = 38;  // A

}  // namespace

Typist::Typist() {
    if (!keyboard::x11::CanHoldKeys(mHand.Get())) throw std::runtime_error("no input extension");
    mKeyboard = keyboard::x11::AttachedKeyboards(mHand.Get()).front().number;
    mFirstEvent = xcb_get_extension_data(mHand.Get(), &xcb_input_id)->first_event;
    const xcb_window_t window = mApplication.Create({.title = "keys"});
    const std::uint32_t events = XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE;
    xcb_change_window_attributes(mApplication.Get(), window, XCB_CW_EVENT_MASK, &events);
    xcb_set_input_focus(mApplication.Get(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    mApplication.Sync();
}

double Typist::Type() {
    const auto start = std::chrono::steady_clock::now();
    Send(true);
    AwaitEvent(XCB_KEY_PRESS);
    const std::chrono::duration<double, std::micro> taken =
        std::chrono::steady_clock::now() - start;
    Send(false);
    AwaitEvent(XCB_KEY_RELEASE);
    return taken.count();
}

void Typist::Send(bool isDown) {
    const int event = isDown ? XCB_INPUT_DEVICE_KEY_PRESS : XCB_INPUT_DEVICE_KEY_RELEASE;
    xcb_test_fake_input(mHand.Get(), static_cast<std::uint8_t>(mFirstEvent + event), kKeycode,
                        XCB_CURRENT_TIME, XCB_NONE, 0, 0, static_cast<std::uint8_t>(mKeyboard));
    xcb_flush(mHand.Get());
}

void Typist::AwaitEvent(std::uint8_t type) {
    for (bool isIt = false; !isIt;) {
        xcb_generic_event_t* const event = xcb_wait_for_event(mApplication.Get());
        if (event == nullptr) throw std::runtime_error("the X server is gone");
        isIt = (event->response_type & 0x7F) == type;
        std::free(event);
    }
}

void Typist::AwaitHeld(bool isHeld) {
    const auto isSo = [&] {
        return keyboard::x11::AttachedKeyboards(mHand.Get()).empty() == isHeld;
    };
    if (!test::Await(isSo)) throw std::runtime_error("the keyboard is not taken or not given back");
}

}  // namespace kivo::bench
