#include "keyboard/guard/EvdevWard.h"

#include <linux/input.h>
#include <linux/uinput.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "keyboard/evdev/Grab.h"

namespace kivo::keyboard {

void EvdevWard::Free() {
    evdev::EndGrab(mDevice.Get());
    // At once: what goes up from now on the session sees by itself.
    ReleaseWhatIsUp();
    // The kernel releases all keys of a device that goes, which takes a while.
    ioctl(mClone.Get(), UI_DEV_DESTROY);
}

/// What was pressed before the grab and let go of since: nobody but the daemon saw that.
void EvdevWard::ReleaseWhatIsUp() {
    std::array<std::uint8_t, (KEY_CNT + 7) / 8> down{};
    if (ioctl(mDevice.Get(), EVIOCGKEY(down.size()), down.data()) < 0) return;
    for (std::uint16_t code = 0; code < KEY_CNT; ++code) {
        const bool isUp = (down[code / 8] >> (code % 8) & 1) == 0;
        if (!isUp || mDownBefore[code].load() == 0) continue;
        // The kernel passes on only what changes, so the press comes first; whoever has the key
        // down takes it for nothing new.
        std::array<input_event, 4> events{};
        events[0].type = events[2].type = EV_KEY;
        events[0].code = events[2].code = code;
        events[0].value = 1;
        events[1].type = events[3].type = EV_SYN;
        if (write(mDevice.Get(), events.data(), sizeof events) < 0) return;
    }
}

}  // namespace kivo::keyboard
