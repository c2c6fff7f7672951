#pragma once

#include <libevdev/libevdev.h>
#include <linux/input.h>

#include <bitset>
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
    /// The keys that are down, as far as was read.
    std::vector<KeyCode> KeysDown() const;
    /// Whether one is down now.
    bool IsAnyKeyDown() const { return AskWhatIsDown().any(); }
    bool HasLight(unsigned light) const;
    bool IsLightOn(unsigned light) const;

    /// Takes the events away from everybody else, and knows afterwards what is down: what came
    /// until then the others have got as well, or another who had the keyboard. False with errno
    /// set (EBUSY: another has).
    bool Grab();
    void Ungrab();

    /// Releases a key that the rest of the system has down from this keyboard, which is grabbed:
    /// by events that the keyboard itself sends while the grab is interrupted.
    void ReleaseForOthers(KeyCode code);

    using Taker = std::function<void(const input_event&)>;
    /// Calls `take`, which may read too, for each event that has come, in order. When the kernel
    /// had to drop some, presses and releases make up for them that lead to what is down now. False
    /// when the keyboard is gone.
    bool Read(const Taker& take);

    void SetLight(std::uint16_t light, bool isOn);

  private:
    struct FreeDevice {
        void operator()(libevdev* device) const { libevdev_free(device); }
    };
    struct Echo {
        KeyCode code;
        std::int32_t value;
    };

    using Keys = std::bitset<KEY_CNT>;

    Keyboard(FileDescriptor descriptor, libevdev* device)
        : mDescriptor(std::move(descriptor)), mDevice(device) {}

    Keys AskWhatIsDown() const;
    void TakeQueued(const Taker& take);
    void MakeUp();
    void Inject(std::uint16_t type, std::uint16_t code, std::int32_t value);
    void InjectKey(KeyCode code, std::int32_t value);
    bool IsEcho(const input_event& event);

    FileDescriptor mDescriptor;
    /// What the device is and has; its events are not read by it.
    std::unique_ptr<libevdev, FreeDevice> mDevice;
    /// What was read and not taken yet.
    std::deque<input_event> mQueue;
    Keys mDown;
    /// What was injected comes back here like all else.
    std::deque<Echo> mEchoes;
};

}  // namespace kivo::keyboard::evdev
