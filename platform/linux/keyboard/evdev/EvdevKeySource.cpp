#include "keyboard/evdev/EvdevKeySource.h"

#include <Workspace.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>
#include <vector>

#include "keyboard/x11/CloneInSession.h"

namespace kivo::keyboard::evdev {
namespace {

constexpr char kFolder[] = "/dev/input";

/// From the word of a clone until the session has opened it, as far as can be known from outside.
/// Measured 50 to 150 ms on an idle machine.
constexpr std::chrono::milliseconds kSettling{500};
/// From the making of a clone, for what tells of it to do so: udev, then an X server.
constexpr std::chrono::milliseconds kPatience{3000};
/// Between two attempts to hold a keyboard that somebody else holds.
constexpr std::chrono::milliseconds kRetry{1000};

std::vector<std::string> DeviceNodes() {
    std::vector<std::string> nodes;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(kFolder, error)) {
        const std::string path = entry.path().string();
        if (entry.path().filename().string().starts_with("event")) nodes.push_back(path);
    }
    std::sort(nodes.begin(), nodes.end());
    return nodes;
}

bool IsAnyKeyboardThere() {
    const auto nodes = DeviceNodes();
    return std::any_of(nodes.begin(), nodes.end(),
                       [](const std::string& path) { return Keyboard::Open(path) != nullptr; });
}

void LogThatKeyboardsAreGivenBack() {
    NSLog(
        CFSTR("The keyboards were given back to the session, because the daemon made no progress "
              "or lost its guard; restart it to forward keys again"));
}

}  // namespace

std::unique_ptr<EvdevKeySource> EvdevKeySource::Open() {
    if (!Clone::IsPossible() || !IsAnyKeyboardThere()) return nullptr;
    return std::unique_ptr<EvdevKeySource>(new EvdevKeySource);
}

EvdevKeySource::EvdevKeySource() : mChanges(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    // A new node belongs to root until udev has given it its rights.
    inotify_add_watch(mChanges.Get(), kFolder, IN_CREATE | IN_ATTRIB | IN_DELETE);
    inotify_add_watch(mChanges.Get(), kUinput, IN_ATTRIB);
    mPoll.Watch(mChanges.Get());
}

// Holding

void EvdevKeySource::Hold() {
    if (mIsLost || !mPoll.StartGuard()) return;
    mIsHolding = true;
    mPoll.SetBeating(true);
    Scan();
}

void EvdevKeySource::LetGo() {
    mIsHolding = false;
    for (auto& [id, device] : mDevices) {
        if (device.state == State::kHeld) GiveBack(id, device);
        if (device.state == State::kSettling) device.state = State::kListening;
    }
    StopListening();
}

void EvdevKeySource::GiveBack(DeviceID id, Device& device) {
    mGuard.Beat();
    device.keyboard->Ungrab();
    device.state = State::kListening;
    ReadDevice(id, device);
}

/// Leaves the devices to which nothing is owed.
void EvdevKeySource::StopListening() {
    if (mIsHolding) return;
    bool isAnyOpen = false;
    for (auto& [id, device] : mDevices) {
        if (device.state == State::kListening && !mGate->IsOwing(id)) MakeIdle(id, device);
        isAnyOpen |= device.state != State::kIdle;
    }
    if (!isAnyOpen && !mIsLost) mPoll.SetBeating(false);
}

void EvdevKeySource::MakeIdle(DeviceID id, Device& device) {
    mGate->Leave(id);
    CloseKeyboard(device);
    device.state = State::kIdle;
}

void EvdevKeySource::CloseKeyboard(Device& device) {
    mGuard.ForgetDevice(device.watch);
    device.isGuarded = false;
    mPoll.Unwatch(device.keyboard->Descriptor());
    device.keyboard.reset();
}

void EvdevKeySource::CloseClone(Device& device) {
    if (!device.clone) return;
    mPoll.Unwatch(device.clone->Descriptor());
    device.clone.reset();
}

// Keyboards that come and go

/// Prepares every keyboard that is not held yet.
void EvdevKeySource::Scan() {
    for (const std::string& path : DeviceNodes()) {
        Add(path);
    }
}

EvdevKeySource::Devices::iterator EvdevKeySource::Find(const std::string& path) {
    return std::find_if(mDevices.begin(), mDevices.end(), [&](const auto& one) {
        return one.second.path == path && one.second.state != State::kGone;
    });
}

void EvdevKeySource::Add(const std::string& path) {
    const auto known = Find(path);
    if (known != mDevices.end() && known->second.keyboard) {
        if (known->second.state == State::kListening) known->second.state = State::kSettling;
        return;
    }
    std::shared_ptr<Keyboard> keyboard = Keyboard::Open(path);
    if (!keyboard) return;
    if (known != mDevices.end()) return Prepare(known->second, std::move(keyboard));
    // The user's rights to keyboards and to uinput come one after the other.
    if (!Clone::IsPossible()) return;
    Device& device = mDevices[++mLastID];
    device.path = path;
    Prepare(device, std::move(keyboard));
}

void EvdevKeySource::Prepare(Device& device, std::shared_ptr<Keyboard> keyboard) {
    // Making a clone takes a while, and there may be many to make.
    mGuard.Beat();
    if (!GiveClone(device, *keyboard)) {
        device.state = State::kGone;
        return;
    }
    device.keyboard = std::move(keyboard);
    device.state = State::kSettling;
    mPoll.Watch(device.keyboard->Descriptor());
    device.watch = ++mLastWatch;
    mGuard.WatchDevice(device.watch, device.keyboard->Descriptor(), device.clone->Descriptor());
}

/// A clone that is there stays, unless another keyboard has come by the same name.
bool EvdevKeySource::GiveClone(Device& device, const Keyboard& keyboard) {
    if (device.clone && device.name == keyboard.Name()) return true;
    CloseClone(device);
    device.clone = Clone::Make(keyboard.Device(), keyboard.Descriptor());
    if (!device.clone) {
        NSLog(CFSTR("The keyboard %s is not held: making its clone failed: %s"), keyboard.Name(),
              std::strerror(errno));
        return false;
    }
    device.name = keyboard.Name();
    device.made = Clock::now();
    device.isAnnounced = false;
    mPoll.Watch(device.clone->Descriptor());
    return true;
}

void EvdevKeySource::GrabWhatIsReady() {
    if (!mIsHolding) return;
    for (auto& [id, device] : mDevices) {
        if (device.state == State::kSettling && device.isGuarded && IsSettled(device)) {
            Grab(id, device);
        }
    }
}

/// Whether the session has had the time to open the clone. In a session of an X server the clone
/// means by then what the keyboard means there.
bool EvdevKeySource::IsSettled(Device& device) {
    const auto now = Clock::now();
    const bool isLate = now >= device.made + kPatience;
    if (!device.isAnnounced && (isLate || device.clone->IsAnnounced())) {
        device.isAnnounced = true;
        device.settled = now + kSettling;
    }
    if (!device.isAnnounced || now < device.settled) return false;
    return x11::LikenClone(device.clone->Node(), device.path) || isLate;
}

void EvdevKeySource::Grab(DeviceID id, Device& device) {
    // Whether the session or the other program got what was pressed nobody knows, and whoever gets
    // the release alone is not harmed.
    if (device.isRefused && device.keyboard->IsAnyKeyDown()) return;
    MakeUp(id, device);
    if (!device.keyboard) return;
    if (!device.keyboard->Grab()) return TryAgainLater(device);
    device.state = State::kHeld;
    device.isRefused = false;
    mGate->Open(id, device.keyboard->KeysDown());
    TakeOverLights(device);
    ReadDevice(id, device);
}

/// The kernel passes on only what changes: what the session then switches on the clone is heard of
/// if the clone's lights have been the keyboard's.
void EvdevKeySource::TakeOverLights(Device& device) {
    for (const std::uint16_t light : {LED_NUML, LED_CAPSL, LED_SCROLLL}) {
        if (!device.keyboard->HasLight(light)) continue;
        const bool isOn = device.keyboard->IsLightOn(light);
        device.clone->Send(EV_LED, light, isOn ? 1 : 0);
        if (light == LED_CAPSL) mGate->SetCapsLock(isOn);
    }
}

/// Another program may have grabbed the keyboard, and give it back some time.
void EvdevKeySource::TryAgainLater(Device& device) {
    if (!std::exchange(device.isRefused, true)) {
        NSLog(CFSTR("The keyboard %s is not held, but will be as soon as it can be: %s"),
              device.keyboard->Name(), std::strerror(errno));
    }
    device.settled = Clock::now() + kRetry;
}

void EvdevKeySource::LoseDevice(DeviceID id, Device& device) {
    CloseKeyboard(device);
    device.state = State::kGone;
    mGate->Close(id);
}

/// Devices that are gone are kept until nobody further up works on them.
void EvdevKeySource::SweepUp() {
    std::erase_if(mDevices, [](const auto& one) {
        return one.second.state == State::kGone && !one.second.clone;
    });
}

void EvdevKeySource::ReadChanges() {
    alignas(inotify_event) std::array<char, 4096> buffer;
    bool isAny = false;
    while (read(mChanges.Get(), buffer.data(), buffer.size()) > 0) {
        isAny = true;
    }
    if (!isAny) return;
    DropUnplugged();
    DropForbidden();
    if (mIsHolding) Scan();
}

/// Nothing is read from a device that is not held, so its node has to tell that it is gone.
void EvdevKeySource::DropUnplugged() {
    for (auto& [id, device] : mDevices) {
        if (device.state != State::kIdle || access(device.path.c_str(), F_OK) == 0) continue;
        device.state = State::kGone;
        CloseClone(device);
    }
}

/// Who sits at the machine now has taken over the keyboards that this user may no longer open. To
/// go on holding them would show one user's keys to another's control center. To this user they are
/// unplugged, and come back as new ones.
void EvdevKeySource::DropForbidden() {
    for (auto& [id, device] : mDevices) {
        if (device.keyboard && !Keyboard::MayOpen(device.path)) LoseDevice(id, device);
    }
}

// What the gate says

void EvdevKeySource::Press(DeviceID id, KeyCode code) {
    const auto device = mDevices.find(id);
    if (device == mDevices.end()) return;
    if (device->second.clone) device->second.clone->SendKey(code, true);
}

void EvdevKeySource::Release(DeviceID id, KeyCode code, PressedBy by) {
    const auto found = mDevices.find(id);
    if (found == mDevices.end()) return;
    Device& device = found->second;
    if (by == PressedBy::kGate && device.clone) return device.clone->SendKey(code, false);
    if (device.state != State::kHeld && device.state != State::kListening) return;
    // Before a grab ends the kernel waits, and that for each key.
    mGuard.Beat();
    if (!device.keyboard->ReleaseForOthers(code)) {
        device.state = State::kSettling;
        TryAgainLater(device);
    }
    // The gate is in the middle of something, so what has come meanwhile is taken afterwards.
    mPoll.Wake();
}

void EvdevKeySource::Close(DeviceID id) {
    const auto device = mDevices.find(id);
    if (device != mDevices.end()) CloseClone(device->second);
}

// Events

void EvdevKeySource::Read() {
    if (mGuard.IsFreed()) Lose();
    // Before what has become ready is looked up: a device that has gone until then tells so.
    SweepUp();
    mPoll.ReadReady([this](int descriptor) { ReadFrom(descriptor); });
    for (auto& [id, device] : mDevices) {
        if (device.keyboard && device.keyboard->HasMore()) ReadDevice(id, device);
    }
    AskWhatIsOwed();
    GrabWhatIsReady();
    StopListening();
}

/// Of what goes up while another program has grabbed a keyboard nobody else hears.
void EvdevKeySource::AskWhatIsOwed() {
    for (auto& [id, device] : mDevices) {
        const bool isHeard = device.state == State::kSettling || device.state == State::kListening;
        if (isHeard && mGate->IsOwing(id)) MakeUp(id, device);
    }
}

/// Brings the gate in step with the hand on a keyboard that is not held.
void EvdevKeySource::MakeUp(DeviceID id, Device& device) {
    device.keyboard->MakeUp();
    ReadDevice(id, device);
}

void EvdevKeySource::ReadFrom(int descriptor) {
    if (descriptor == mGuard.Descriptor()) ReadGuard();
    if (descriptor == mChanges.Get()) ReadChanges();
    for (auto& [id, device] : mDevices) {
        const bool hasKeyboard = device.keyboard != nullptr;
        if (hasKeyboard && device.keyboard->Descriptor() == descriptor) ReadDevice(id, device);
        if (device.clone && device.clone->Descriptor() == descriptor) ReadLights(device);
    }
}

void EvdevKeySource::ReadDevice(DeviceID id, Device& device) {
    const auto keyboard = device.keyboard;
    const bool isThere = keyboard->Read([&](const input_event& event, Keyboard::Audience audience) {
        TakeEvent(id, device, event, audience);
    });
    // It may have been found to be gone already, while one of its events was taken.
    if (!isThere && device.keyboard == keyboard) LoseDevice(id, device);
}

void EvdevKeySource::TakeEvent(DeviceID id, Device& device, const input_event& event,
                               Keyboard::Audience audience) {
    if (device.state == State::kIdle || device.state == State::kGone) return;
    const bool isHeld = audience == Keyboard::Audience::kUs;
    if (event.type == EV_KEY) {
        const KeyEvent key{id, event.code, static_cast<Action>(std::clamp(event.value, 0, 2))};
        return isHeld ? mGate->Feed(key) : mGate->Overhear(key);
    }
    // A wheel or a knob on a keyboard is nothing to ask about.
    const bool isMotion = event.type == EV_REL || event.type == EV_ABS;
    if (isMotion && isHeld) device.clone->Send(event.type, event.code, event.value);
}

/// The session switches the lights of the clone; those of the keyboard follow.
void EvdevKeySource::ReadLights(Device& device) {
    Light light;
    while (device.clone && device.clone->ReadLight(&light)) {
        if (light.number == LED_CAPSL && mIsHolding) mGate->SetCapsLock(light.isOn);
        if (device.state == State::kHeld) device.keyboard->SetLight(light.number, light.isOn);
    }
}

// The guard

void EvdevKeySource::ReadGuard() {
    for (;;) {
        std::uint32_t watch = 0;
        switch (mGuard.Read(&watch)) {
            case GuardLink::News::kNone:
                if (mGuard.IsFreed()) Lose();
                return;
            case GuardLink::News::kReady:
                TakeReady(watch);
                break;
            case GuardLink::News::kFreed:
                return Lose();
            case GuardLink::News::kGone:
                return mGuard.IsFreed() ? Lose() : LoseGuard();
        }
    }
}

void EvdevKeySource::TakeReady(std::uint32_t watch) {
    for (auto& [id, device] : mDevices) {
        if (device.watch == watch && device.keyboard) device.isGuarded = true;
    }
}

/// Nobody could free the keyboards now. The tap lets go of them, in order, when it finds the gate
/// disabled.
void EvdevKeySource::LoseGuard() {
    if (std::exchange(mIsLost, true)) return;
    LogThatKeyboardsAreGivenBack();
    mPoll.SetBeating(false);
    mGate->Disable(DisabledBy::kTimeout);
}

/// The keyboards are the session's again, and stay so.
void EvdevKeySource::Lose() {
    if (std::exchange(mIsLost, true)) return;
    mIsHolding = false;
    LogThatKeyboardsAreGivenBack();
    for (auto& [id, device] : mDevices) {
        if (device.keyboard) CloseKeyboard(device);
        CloseClone(device);
        device.state = State::kGone;
    }
    mPoll.SetBeating(false);
    mGate->Forget();
    mGate->Disable(DisabledBy::kTimeout);
}

}  // namespace kivo::keyboard::evdev
