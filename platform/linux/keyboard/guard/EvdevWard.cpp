#include "keyboard/guard/EvdevWard.h"

#include <fcntl.h>
#include <linux/input.h>
#include <linux/uinput.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <utility>

namespace kivo::keyboard {

std::unique_ptr<EvdevWard> EvdevWard::Open(FileDescriptor device, FileDescriptor clone) {
    FileDescriptor ear = evdev::OpenAgain(device.Get(), O_RDWR);
    if (!ear) return nullptr;
    return std::unique_ptr<EvdevWard>(
        new EvdevWard(std::move(device), std::move(clone), std::move(ear)));
}

EvdevWard::EvdevWard(FileDescriptor device, FileDescriptor clone, FileDescriptor ear)
    : mDevice(std::move(device)),
      mClone(std::move(clone)),
      mEar(std::move(ear)),
      mDown(evdev::AskWhatIsDown(mEar.Get())) {}

void EvdevWard::Listen() {
    input_event event{};
    while (read(mEar.Get(), &event, sizeof event) == sizeof event) {
        if (event.type == EV_KEY && event.code < KEY_CNT) mDown[event.code] = event.value != 0;
        // Then whoever reads the keyboard goes by what is down.
        if (event.type == EV_SYN && event.code == SYN_DROPPED) {
            mDown = evdev::AskWhatIsDown(mEar.Get());
        }
    }
}

void EvdevWard::Free() {
    // At once: what goes up from now on the session sees by itself, as it did all the time when the
    // keyboard was not grabbed.
    evdev::Revoke(mDevice.Get(), mEar.Get());
    ReleaseWhatIsUp();
    // The kernel releases all keys of a device that goes, which takes a while.
    ioctl(mClone.Get(), UI_DEV_DESTROY);
}

/// What was pressed when everybody heard it, and let go of when only the daemon did.
void EvdevWard::ReleaseWhatIsUp() {
    Listen();
    const evdev::Keys stuck = mDown & ~evdev::AskWhatIsDown(mEar.Get());
    for (std::size_t code = 0; code < stuck.size(); ++code) {
        if (stuck[code]) evdev::TypeKey(mEar.Get(), static_cast<std::uint16_t>(code));
    }
}

}  // namespace kivo::keyboard
