#include "keyboard/evdev/Node.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <string>

namespace kivo::keyboard::evdev {
namespace {

constexpr std::array<std::uint16_t, 3> kLights = {LED_NUML, LED_CAPSL, LED_SCROLLL};

/// The lights as they were when this was made.
class LightsBefore {
  public:
    explicit LightsBefore(int descriptor)
        : mDescriptor(descriptor),
          mIsKnown(ioctl(descriptor, EVIOCGLED(mLit.size()), mLit.data()) >= 0) {}

    void Restore() const {
        if (!mIsKnown) return;
        // Only what differs changes anything, and what the keyboard does not have is passed over.
        std::array<input_event, kLights.size() + 1> events{};
        for (std::size_t i = 0; i < kLights.size(); ++i) {
            events[i].type = EV_LED;
            events[i].code = kLights[i];
            events[i].value = mLit[kLights[i] / 8] >> (kLights[i] % 8) & 1;
        }
        events.back().type = EV_SYN;
        // Fails only when the keyboard is gone.
        [[maybe_unused]] const ssize_t written = write(mDescriptor, events.data(), sizeof events);
    }

  private:
    const int mDescriptor;
    std::array<std::uint8_t, (LED_CNT + 7) / 8> mLit{};
    const bool mIsKnown;
};

}  // namespace

FileDescriptor OpenAgain(int descriptor, int flags) {
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    return FileDescriptor(open(path.c_str(), flags | O_NONBLOCK | O_CLOEXEC));
}

Keys AskWhatIsDown(int descriptor) {
    std::array<std::uint8_t, (KEY_CNT + 7) / 8> bytes{};
    ioctl(descriptor, EVIOCGKEY(bytes.size()), bytes.data());
    Keys down;
    for (std::size_t code = 0; code < down.size(); ++code) {
        down[code] = (bytes[code / 8] >> (code % 8) & 1) != 0;
    }
    return down;
}

void TypeKey(int descriptor, std::uint16_t code) {
    std::array<input_event, 4> events{};
    events[0].type = events[2].type = EV_KEY;
    events[0].code = events[2].code = code;
    events[0].value = 1;
    events[1].type = events[3].type = EV_SYN;
    // Fails only when the keyboard is gone.
    [[maybe_unused]] const ssize_t written = write(descriptor, events.data(), sizeof events);
}

bool EndGrab(int descriptor) {
    const LightsBefore lights(descriptor);
    if (ioctl(descriptor, EVIOCGRAB, 0) != 0) return false;
    lights.Restore();
    return true;
}

void Revoke(int descriptor, int other) {
    const LightsBefore lights(other);
    ioctl(descriptor, EVIOCREVOKE, 0);
    lights.Restore();
}

}  // namespace kivo::keyboard::evdev
