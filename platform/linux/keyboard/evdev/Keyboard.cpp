#include "keyboard/evdev/Keyboard.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "keyboard/evdev/Clone.h"
#include "keyboard/evdev/Node.h"

namespace kivo::keyboard::evdev {
namespace {

bool IsAskedAbout(KeyCode code) {
    return KeyToAskAbout(code).has_value();
}

bool HasKeys(const libevdev* device, bool (*wanted)(KeyCode)) {
    for (KeyCode code = 0; code < KEY_CNT; ++code) {
        if (wanted(code) && libevdev_has_event_code(device, EV_KEY, code)) return true;
    }
    return false;
}

bool IsSame(const input_event& one, const input_event& other) {
    return one.type == other.type && one.code == other.code && one.value == other.value &&
           one.input_event_sec == other.input_event_sec &&
           one.input_event_usec == other.input_event_usec;
}

/// Where an event is among those that were read; `end` when it is not there.
template <typename Iterator>
Iterator Find(Iterator first, Iterator end, const std::optional<input_event>& event) {
    if (!event) return end;
    return std::find_if(first, end, [&](const auto& one) { return IsSame(one.event, *event); });
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
    mWitness.emplace(mDescriptor.Get());
    if (!*mWitness) return false;
    // What came until here everybody got, though the witness may not have heard it.
    Fetch();
    return BeginGrab();
}

void Keyboard::Ungrab() {
    EndGrab();
    mWitness.reset();
}

bool Keyboard::BeginGrab() {
    if (ioctl(mDescriptor.Get(), EVIOCGRAB, 1) != 0) {
        mWitness.reset();
        return false;
    }
    mAudience = Audience::kUs;
    const std::size_t before = mQueue.size();
    Fetch();
    mWitness->Listen();
    const auto last = Find(FetchedSince(before), mQueue.end(), mWitness->Last());
    if (last != mQueue.end()) MarkShared(FetchedSince(before), std::next(last));
    return true;
}

void Keyboard::EndGrab() {
    evdev::EndGrab(mDescriptor.Get());
    const std::size_t before = mQueue.size();
    Fetch();
    mAudience = Audience::kEverybody;
    mWitness->Listen();
    MarkShared(Find(FetchedSince(before), mQueue.end(), mWitness->First()), mQueue.end());
}

void Keyboard::MarkShared(const Queue::iterator& first, const Queue::iterator& end) {
    std::for_each(first, end, [](Heard& heard) { heard.audience = Audience::kEverybody; });
}

bool Keyboard::ReleaseForOthers(KeyCode code) {
    const bool isGrabbed = mAudience == Audience::kUs;
    if (isGrabbed) EndGrab();
    const bool isDown = IsDownAtLast(code);
    if (isDown)
        InjectKey(code, 0);
    else
        InjectPressAndRelease(code);
    if (isGrabbed && !BeginGrab()) return false;
    // Down in the hand it stays: here alone, so that its release is seen when it comes.
    if (isDown) InjectKey(code, 1);
    Fetch();
    return true;
}

bool Keyboard::Read(const Taker& take) {
    const bool isThere = Fetch();
    TakeQueued(take);
    // What was injected was fetched at once: an echo that did not come never will.
    mEchoes.clear();
    return isThere;
}

Keyboard::Queue::iterator Keyboard::FetchedSince(std::size_t count) {
    return mQueue.begin() + static_cast<std::ptrdiff_t>(count);
}

/// Appends all that the kernel has; false when the keyboard is gone.
bool Keyboard::Fetch() {
    std::array<input_event, 64> events{};
    for (;;) {
        const ssize_t size = read(mDescriptor.Get(), events.data(), sizeof events);
        if (size < 0 && errno == EINTR) continue;
        if (size <= 0) return size < 0 && errno == EAGAIN;
        const std::size_t count = static_cast<std::size_t>(size) / sizeof(input_event);
        for (std::size_t i = 0; i < count; ++i) {
            mQueue.push_back({events[i], mAudience});
        }
        if (count < events.size()) return true;
    }
}

void Keyboard::TakeQueued(const Taker& take) {
    while (!mQueue.empty()) {
        const Heard next = TakeNext();
        if (!IsEcho(next)) take(next.event, next.audience);
    }
}

Keyboard::Heard Keyboard::TakeNext() {
    const Heard next = mQueue.front();
    const input_event& event = next.event;
    mQueue.pop_front();
    if (event.type == EV_SYN && event.code == SYN_DROPPED) MakeUp();
    if (event.type == EV_KEY && event.code < KEY_CNT) mDown[event.code] = event.value != 0;
    return next;
}

/// As far as was fetched.
bool Keyboard::IsDownAtLast(KeyCode code) const {
    const auto last = std::find_if(mQueue.rbegin(), mQueue.rend(), [code](const Heard& heard) {
        return heard.event.type == EV_KEY && heard.event.code == code;
    });
    return last == mQueue.rend() ? mDown[code] : last->event.value != 0;
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
        input_event event{};
        event.type = EV_KEY;
        event.code = code;
        event.value = now[code] ? 1 : 0;
        mQueue.push_back({event, mAudience});
    }
}

bool Keyboard::IsEcho(const Heard& heard) {
    if (heard.event.type != EV_KEY) return false;
    const auto echo = std::find_if(mEchoes.begin(), mEchoes.end(), [&](const Echo& one) {
        return one.code == heard.event.code && one.value == heard.event.value &&
               one.audience == heard.audience;
    });
    if (echo == mEchoes.end()) return false;
    mEchoes.erase(echo);
    return true;
}

void Keyboard::SetLight(std::uint16_t light, bool isOn) {
    if (HasLight(light)) Inject(EV_LED, light, isOn ? 1 : 0);
}

void Keyboard::InjectKey(KeyCode code, std::int32_t value) {
    mEchoes.push_back({code, value, mAudience});
    Inject(EV_KEY, code, value);
}

/// In one go: a press that nobody lives to release would never be.
void Keyboard::InjectPressAndRelease(KeyCode code) {
    mEchoes.push_back({code, 1, mAudience});
    mEchoes.push_back({code, 0, mAudience});
    TypeKey(mDescriptor.Get(), code);
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
