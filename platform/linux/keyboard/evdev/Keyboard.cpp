#include "keyboard/evdev/Keyboard.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "keyboard/evdev/Clone.h"
#include "keyboard/evdev/Grab.h"

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
    keyboard->mDown = keyboard->AskWhatIsDown();
    return MayBeHeld(device) ? std::move(keyboard) : nullptr;
}

bool Keyboard::MayOpen(const std::string& path) {
    return faccessat(AT_FDCWD, path.c_str(), R_OK | W_OK, AT_EACCESS) == 0;
}

Keyboard::Keys Keyboard::AskWhatIsDown() const {
    std::array<std::uint8_t, (KEY_CNT + 7) / 8> bytes{};
    ioctl(mDescriptor.Get(), EVIOCGKEY(bytes.size()), bytes.data());
    Keys down;
    for (KeyCode code = 0; code < KEY_CNT; ++code) {
        down[code] = (bytes[code / 8] >> (code % 8) & 1) != 0;
    }
    return down;
}

std::vector<KeyCode> Keyboard::KeysDown() const {
    std::vector<KeyCode> codes;
    for (KeyCode code = 0; code < KEY_CNT; ++code) {
        if (mDown[code]) codes.push_back(code);
    }
    return codes;
}

bool Keyboard::HasLight(unsigned light) const {
    return libevdev_has_event_code(mDevice.get(), EV_LED, light) != 0;
}

bool Keyboard::IsLightOn(unsigned light) const {
    std::array<std::uint8_t, (LED_CNT + 7) / 8> lit{};
    ioctl(mDescriptor.Get(), EVIOCGLED(lit.size()), lit.data());
    return (lit[light / 8] >> (light % 8) & 1) != 0;
}

bool Keyboard::Grab() {
    if (ioctl(mDescriptor.Get(), EVIOCGRAB, 1) != 0) return false;
    // The kernel takes the key events before its answer out of what is to be read.
    mDown = AskWhatIsDown();
    mQueue.clear();
    mEchoes.clear();
    return true;
}

void Keyboard::Ungrab() {
    EndGrab(mDescriptor.Get());
}

void Keyboard::ReleaseForOthers(KeyCode code) {
    const bool isDown = mDown[code];
    Ungrab();
    // The kernel passes on only what changes. Others take the press of a key that they have down
    // for nothing new.
    if (!isDown) InjectKey(code, 1);
    InjectKey(code, 0);
    ioctl(mDescriptor.Get(), EVIOCGRAB, 1);
    // Down in the hand it stays: here alone, so that its release is seen when it comes.
    if (isDown) InjectKey(code, 1);
}

bool Keyboard::Read(const Taker& take) {
    std::array<input_event, 64> events{};
    for (bool isMore = true; isMore;) {
        const ssize_t size = read(mDescriptor.Get(), events.data(), sizeof events);
        if (size < 0 && errno == EINTR) continue;
        const bool isEmpty = size < 0 && errno == EAGAIN;
        if (size <= 0 && !isEmpty) return false;
        const std::size_t count =
            isEmpty ? 0 : static_cast<std::size_t>(size) / sizeof(input_event);
        mQueue.insert(mQueue.end(), events.data(), events.data() + count);
        TakeQueued(take);
        isMore = count == events.size();
    }
    // What was injected is there at once: an echo that did not come never will.
    mEchoes.clear();
    return true;
}

void Keyboard::TakeQueued(const Taker& take) {
    while (!mQueue.empty()) {
        const input_event event = mQueue.front();
        mQueue.pop_front();
        if (event.type == EV_SYN && event.code == SYN_DROPPED) MakeUp();
        if (event.type == EV_KEY && event.code < KEY_CNT) mDown[event.code] = event.value != 0;
        if (!IsEcho(event)) take(event);
    }
}

/// Instead of all that waits to be taken, whose outcome is in the kernel's answer. The kernel takes
/// out of what is to be read the key events that are in its answer, too.
void Keyboard::MakeUp() {
    const Keys now = AskWhatIsDown();
    const Keys changed = now ^ mDown;
    mQueue.clear();
    mEchoes.clear();
    for (KeyCode code = 0; code < KEY_CNT; ++code) {
        if (!changed[code]) continue;
        input_event& event = mQueue.emplace_back();
        event.type = EV_KEY;
        event.code = code;
        event.value = now[code] ? 1 : 0;
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
