#include "bench/keys/MinimalLoop.h"

#include <sys/socket.h>
#include <unistd.h>
#include <xcb/xinput.h>

#include <array>
#include <cstdlib>

namespace kivo::bench {
namespace {

using keyboard::x11::DeviceNumber;

void Answer(int socket) {
    std::array<char, 24> question{};
    const char answer = 1;
    while (recv(socket, question.data(), question.size(), 0) > 0) {
        send(socket, &answer, 1, 0);
    }
}

void Hold(DeviceNumber keyboard, int socket) {
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
        std::array<char, 24> question{};
        char answer = 0;
        if ((event->response_type & 0x7F) == XCB_GE_GENERIC) {
            send(socket, question.data(), question.size(), 0);
            recv(socket, &answer, 1, 0);
            keyboard::x11::TypeKey(connection, static_cast<std::uint8_t>(key.detail),
                                   key.event_type == XCB_INPUT_KEY_PRESS);
            xcb_flush(connection);
        }
        std::free(event);
    }
}

}  // namespace

MinimalLoop::MinimalLoop(DeviceNumber keyboard) {
    std::array<int, 2> pair{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, pair.data()) != 0) std::abort();
    mAnswering = test::Process([&] {
        close(pair[0]);
        Answer(pair[1]);
    });
    mHolding = test::Process([&] { Hold(keyboard, pair[0]); });
    close(pair[0]);
    close(pair[1]);
}

}  // namespace kivo::bench
