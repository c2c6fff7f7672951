#pragma once

#include <libevdev/libevdev.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "CoreFoundation/FileDescriptor.h"
#include "keyboard/KeyGate.h"

namespace kivo::keyboard::evdev {

/// A keyboard's device node, open for reading and writing.
class Keyboard {
  public:
    /// Null when it cannot be opened, and when it is no keyboard that may be held: without keys
    /// that are asked about, with switches (a lid, a tablet mode) that others listen to, a pointer,
    /// or a clone of ours.
    static std::unique_ptr<Keyboard> Open(const std::string& path);
    /// Whether this process may open a node. A keyboard that is open stays so when it may not any
    /// more.
    static bool MayOpen(const std::string& path);
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;

    int Descriptor() const { return mDescriptor.Get(); }
    const libevdev* Device() const { return mDevice.get(); }
    const char* Name() const { return libevdev_get_name(mDevice.get()); }
    std::vector<KeyCode> KeysDown() const;
    bool HasLight(unsigned light) const;
    bool IsLightOn(unsigned light) const;

    /// Takes the events away from everybody else; false with errno set (EBUSY: another has).
    bool Grab();
    void Ungrab();

    /// Releases a key that the rest of the system has down from this keyboard, which is grabbed:
    /// by events that the keyboard itself sends while the grab is interrupted.
    void ReleaseForOthers(KeyCode code);

    /// Calls `take` for each event that has come, those included that make up for lost ones. False
    /// when the keyboard is gone.
    bool Read(const std::function<void(const input_event&)>& take);

    void SetLight(std::uint16_t light, bool isOn);

  private:
    struct FreeDevice {
        void operator()(libevdev* device) const { libevdev_free(device); }
    };
    struct Echo {
        KeyCode code;
        std::int32_t value;
    };

    Keyboard(FileDescriptor descriptor, libevdev* device)
        : mDescriptor(std::move(descriptor)), mDevice(device) {}

    void Inject(std::uint16_t type, std::uint16_t code, std::int32_t value);
    void InjectKey(KeyCode code, std::int32_t value);
    bool IsEcho(const input_event& event);

    FileDescriptor mDescriptor;
    std::unique_ptr<libevdev, FreeDevice> mDevice;
    /// What was injected comes back here like all else.
    std::deque<Echo> mEchoes;
};

}  // namespace kivo::keyboard::evdev
