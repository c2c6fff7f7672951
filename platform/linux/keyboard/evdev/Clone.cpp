#include "keyboard/evdev/Clone.h"

#include <fcntl.h>
#include <linux/uinput.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

namespace kivo::keyboard::evdev {
namespace {

struct FreeDevice {
    void operator()(libevdev* device) const { libevdev_free(device); }
};
using Likeness = std::unique_ptr<libevdev, FreeDevice>;

/// What the clone is to be made like. All have lights, though the original may have none: it is by
/// them that the session says whether Caps Lock is on.
Likeness MakeLikeness(int original) {
    libevdev* device = nullptr;
    if (libevdev_new_from_fd(original, &device) != 0) return nullptr;
    libevdev_enable_event_type(device, EV_LED);
    for (const unsigned light : {LED_NUML, LED_CAPSL, LED_SCROLLL}) {
        libevdev_enable_event_code(device, EV_LED, light, nullptr);
    }
    return Likeness(device);
}

}  // namespace

bool Clone::IsPossible() {
    return static_cast<bool>(FileDescriptor(open(kUinput, O_RDWR | O_NONBLOCK | O_CLOEXEC)));
}

std::unique_ptr<Clone> Clone::Make(const libevdev* original, int originalDescriptor) {
    FileDescriptor descriptor(open(kUinput, O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (!descriptor || ioctl(descriptor.Get(), UI_SET_PHYS, kClonePhys) != 0) return nullptr;
    const Likeness likeness = MakeLikeness(originalDescriptor);
    if (!likeness) return nullptr;
    libevdev_uinput* device = nullptr;
    const int error = libevdev_uinput_create_from_device(likeness.get(), descriptor.Get(), &device);
    if (error != 0) {
        errno = -error;
        return nullptr;
    }
    std::unique_ptr<Clone> clone(new Clone(std::move(descriptor)));
    clone->mDevice.reset(device);
    // The rate at which the kernel repeats keys, which matters on text consoles.
    int delay = 0;
    int period = 0;
    if (libevdev_get_repeat(original, &delay, &period) == 0) {
        clone->Send(EV_REP, REP_DELAY, delay);
        clone->Send(EV_REP, REP_PERIOD, period);
    }
    return clone;
}

std::string Clone::Node() const {
    const char* const node = libevdev_uinput_get_devnode(mDevice.get());
    return node == nullptr ? "" : node;
}

bool Clone::IsAnnounced() const {
    if (access("/run/udev/control", F_OK) != 0) return true;
    struct stat node {};
    if (stat(Node().c_str(), &node) != 0) return false;
    const std::string record = "/run/udev/data/c" + std::to_string(major(node.st_rdev)) + ":" +
                               std::to_string(minor(node.st_rdev));
    return access(record.c_str(), F_OK) == 0;
}

void Clone::Send(std::uint16_t type, std::uint16_t code, std::int32_t value) {
    std::array<input_event, 2> events{};
    events[0].type = type;
    events[0].code = code;
    events[0].value = value;
    events[1].type = EV_SYN;
    events[1].code = SYN_REPORT;
    // Fails only once the guard has destroyed the clone: then nothing is to be sent.
    [[maybe_unused]] const ssize_t written = write(mDescriptor.Get(), events.data(), sizeof events);
}

bool Clone::ReadLight(Light* light) {
    input_event event{};
    while (read(mDescriptor.Get(), &event, sizeof event) == sizeof event) {
        if (event.type != EV_LED) continue;
        *light = {event.code, event.value != 0};
        return true;
    }
    return false;
}

}  // namespace kivo::keyboard::evdev
