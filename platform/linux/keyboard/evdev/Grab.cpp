#include "keyboard/evdev/Grab.h"

#include <linux/input.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cstdint>

namespace kivo::keyboard::evdev {
namespace {

constexpr std::array<std::uint16_t, 3> kLights = {LED_NUML, LED_CAPSL, LED_SCROLLL};

}  // namespace

void EndGrab(int device) {
    std::array<std::uint8_t, (LED_CNT + 7) / 8> lit{};
    const bool isKnown = ioctl(device, EVIOCGLED(lit.size()), lit.data()) >= 0;
    ioctl(device, EVIOCGRAB, 0);
    if (!isKnown) return;
    // Only what differs changes anything, and what the keyboard does not have is passed over.
    std::array<input_event, kLights.size() + 1> events{};
    for (std::size_t i = 0; i < kLights.size(); ++i) {
        events[i].type = EV_LED;
        events[i].code = kLights[i];
        events[i].value = lit[kLights[i] / 8] >> (kLights[i] % 8) & 1;
    }
    events.back().type = EV_SYN;
    // Fails only when the keyboard is gone.
    [[maybe_unused]] const ssize_t written = write(device, events.data(), sizeof events);
}

}  // namespace kivo::keyboard::evdev
