#include "keyboard/evdev/Keyboard.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "keyboard/evdev/Clone.h"

namespace kivo::keyboard::evdev {
namespace {

bool IsAskedAbout(KeyCode code) {
    return VirtualKeyOf(code) && !IsMachineKey(code) && !ModifierFlags::IsModifier(code);
}

bool HasKeys(const libevdev* device, bool (*wanted)(KeyCode)) {
    for (KeyCode code = 0; code < KEY_CNT; ++code) {
        if (wanted(code) && libevdev_has_event_code(device, EV_KEY, code)) return true;
    }
    return false;
}

bool MayBeHeld(const libevdev* device) {
    const char* const phys = libevdev_get_phys(device);
    if (phys != nullptr && std::strcmp(phys, kClonePhys) == 0) return false;
    return HasKeys(device, IsAskedAbout) && !libevdev_has_event_type(device, EV_SW) &&
           !libevdev_has_event_code(device, EV_KEY, BTN_LEFT) &&
           !libevdev_has_event_code(device, EV_KEY, BTN_TOUCH);
}

}  // namespace

std::unique_ptr<Keyboard> Keyboard::Open(const std::string& path) {
    FileDescriptor descriptor(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (!descriptor) return nullptr;
    libevdev* device = nullptr;
    if (libevdev_new_from_fd(descriptor.Get(), &device) != 0) return nullptr;
    std::unique_ptr<Keyboard> keyboard(new Keyboard(std::move(descriptor), device));
    return MayBeHeld(device) ? std::move(keyboard) : nullptr;
}

bool Keyboard::MayOpen(const std::string& path) {
    return faccessat(AT_FDCWD, path.c_str(), R_OK | W_OK, AT_EACCESS) == 0;
}

std::vector<KeyCode> Keyboard::KeysDown() const {
    std::vector<KeyCode> down;
    for (KeyCode code = 0; code < KEY_CNT; ++code) {
        if (libevdev_get_event_value(mDevice.get(), EV_KEY, code) != 0) down.push_back(code);
    }
    return down;
}

bool Keyboard::HasLight(unsigned light) const {
    return libevdev_has_event_code(mDevice.get(), EV_LED, light) != 0;
}

bool Keyboard::IsLightOn(unsigned light) const {
    return libevdev_get_event_value(mDevice.get(), EV_LED, light) != 0;
}

bool Keyboard::Grab() {
    return ioctl(mDescriptor.Get(), EVIOCGRAB, 1) == 0;
}

void Keyboard::Ungrab() {
    ioctl(mDescriptor.Get(), EVIOCGRAB, 0);
}

void Keyboard::ReleaseForOthers(KeyCode code) {
    const bool isDown = libevdev_get_event_value(mDevice.get(), EV_KEY, code) != 0;
    Ungrab();
    // The kernel passes on only what changes. Others take the press of a key that they have down
    // for nothing new.
    if (!isDown) InjectKey(code, 1);
    InjectKey(code, 0);
    Grab();
    // Down in the hand it stays: here alone, so that its release is seen when it comes.
    if (isDown) InjectKey(code, 1);
}

bool Keyboard::Read(const std::function<void(const input_event&)>& take) {
    unsigned mode = LIBEVDEV_READ_FLAG_NORMAL;
    for (;;) {
        input_event event{};
        const int status = libevdev_next_event(mDevice.get(), mode, &event);
        if (status == LIBEVDEV_READ_STATUS_SYNC && mode == LIBEVDEV_READ_FLAG_NORMAL) {
            mode = LIBEVDEV_READ_FLAG_SYNC;  // events were lost: what changed since comes now
            continue;
        }
        if (status == -EAGAIN && mode == LIBEVDEV_READ_FLAG_SYNC) {
            mode = LIBEVDEV_READ_FLAG_NORMAL;
            continue;
        }
        if (status == -EINTR) continue;
        if (status < 0) {
            // What was injected is there at once: an echo that did not come never will.
            mEchoes.clear();
            return status == -EAGAIN;
        }
        if (!IsEcho(event)) take(event);
    }
}

bool Keyboard::IsEcho(const input_event& event) {
    if (event.type != EV_KEY || mEchoes.empty()) return false;
    const auto echo = std::find_if(mEchoes.begin(), mEchoes.end(), [&](const Echo& one) {
        return one.code == event.code && one.value == event.value;
    });
    if (echo == mEchoes.end()) return false;
    mEchoes.erase(echo);
    return true;
}

void Keyboard::SetLight(std::uint16_t light, bool isOn) {
    if (HasLight(light)) Inject(EV_LED, light, isOn ? 1 : 0);
}

void Keyboard::InjectKey(KeyCode code, std::int32_t value) {
    mEchoes.push_back({code, value});
    Inject(EV_KEY, code, value);
}

void Keyboard::Inject(std::uint16_t type, std::uint16_t code, std::int32_t value) {
    std::array<input_event, 2> events{};
    events[0].type = type;
    events[0].code = code;
    events[0].value = value;
    events[1].type = EV_SYN;
    events[1].code = SYN_REPORT;
    // Fails only when the keyboard is gone, which reading tells.
    [[maybe_unused]] const ssize_t written = write(mDescriptor.Get(), events.data(), sizeof events);
}

}  // namespace kivo::keyboard::evdev
