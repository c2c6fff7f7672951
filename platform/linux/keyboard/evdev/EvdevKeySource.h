#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <string>

#include "CoreFoundation/FileDescriptor.h"
#include "keyboard/KeySource.h"
#include "keyboard/evdev/Clone.h"
#include "keyboard/evdev/Keyboard.h"
#include "keyboard/guard/GuardedPoll.h"

namespace kivo::keyboard::evdev {

/// Holds the keys of any session on Linux below its display server: grabs each keyboard's device
/// and sends what is let through by a clone of it.
///
/// A clone is made when its keyboard is to be held for the first time. The keyboard is grabbed a
/// moment later, when the session had time to open the clone: what is sent before reaches nobody.
/// Clones stay until the daemon ends, or their keyboard is unplugged.
class EvdevKeySource final : public KeySource {
  public:
    /// Null when this process may not use uinput, or cannot open any keyboard.
    static std::unique_ptr<EvdevKeySource> Open();

    const char* Name() const override { return "evdev and uinput"; }
    void Attach(KeyGate& gate) override { mGate = &gate; }
    int Descriptor() const override { return mPoll.Descriptor(); }
    void Read() override;
    void Hold() override;
    void LetGo() override;

    void Press(DeviceID device, KeyCode code) override;
    void Release(DeviceID device, KeyCode code, PressedBy by) override;
    void Close(DeviceID device) override;

  private:
    using Clock = std::chrono::steady_clock;

    enum class State {
        kIdle,      ///< the device is closed
        kSettling,  ///< to be held once guard and session are ready; something may be owed
        kHeld,
        kListening,  ///< given back, but something is owed
        kGone,       ///< unplugged; its clone stays until the gate has decided on the last key
    };
    struct Device {
        std::string path;
        std::string name;
        State state = State::kIdle;
        /// Shared with who reads from it just now.
        std::shared_ptr<Keyboard> keyboard;
        std::unique_ptr<Clone> clone;
        Clock::time_point made;  ///< its clone
        bool isAnnounced = false;
        Clock::time_point settled;  ///< from when it is tried to grab it, once it is announced
        std::uint32_t watch = 0;    ///< what the guard calls the keyboard that is open
        bool isGuarded = false;
        bool isRefused = false;  ///< another program holds it, which was logged
    };
    using Devices = std::map<DeviceID, Device>;

    EvdevKeySource();

    // Keyboards that come and go
    void Scan();
    void Add(const std::string& path);
    Devices::iterator Find(const std::string& path);
    void Prepare(Device& device, std::shared_ptr<Keyboard> keyboard);
    bool GiveClone(Device& device, const Keyboard& keyboard);
    void GrabWhatIsReady();
    static bool IsSettled(Device& device);
    void Grab(DeviceID id, Device& device);
    void TakeOverLights(Device& device);
    void TryAgainLater(Device& device);
    void GiveBack(DeviceID id, Device& device);
    void MakeIdle(DeviceID id, Device& device);
    void LoseDevice(DeviceID id, Device& device);
    void CloseKeyboard(Device& device);
    void CloseClone(Device& device);
    void DropUnplugged();
    void DropForbidden();
    void SweepUp();
    void ReadChanges();

    // Events
    void ReadFrom(int descriptor);
    void ReadDevice(DeviceID id, Device& device);
    void AskWhatIsOwed();
    void MakeUp(DeviceID id, Device& device);
    void TakeEvent(DeviceID id, Device& device, const input_event& event,
                   Keyboard::Audience audience);
    void ReadLights(Device& device);
    void StopListening();

    // The guard
    void ReadGuard();
    void TakeReady(std::uint32_t watch);
    void LoseGuard();
    void Lose();

    KeyGate* mGate = nullptr;
    GuardedPoll mPoll;
    GuardLink& mGuard = mPoll.Guard();
    FileDescriptor mChanges;
    bool mIsHolding = false;
    bool mIsLost = false;
    Devices mDevices;
    DeviceID mLastID = 0;
    std::uint32_t mLastWatch = 0;
};

}  // namespace kivo::keyboard::evdev
