#pragma once

#include <libevdev/libevdev.h>
#include <linux/input.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CoreFoundation/FileDescriptor.h"
#include "keyboard/KeyGate.h"
#include "keyboard/evdev/Node.h"
#include "keyboard/evdev/Witness.h"

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

    /// Takes the events away from everybody else; what everybody got until then is still to be
    /// read, too. False with errno set (EBUSY: another has them).
    bool Grab();
    /// Gives them back; what came here alone until then is still to be read.
    void Ungrab();

    /// Releases a key that the rest of the system has down from this keyboard: by events that the
    /// keyboard itself sends, for which a grab is interrupted. False when another grabs it then.
    bool ReleaseForOthers(KeyCode code);

    /// Who got an event.
    enum class Audience { kUs, kEverybody };
    using Taker = std::function<void(const input_event&, Audience)>;
    /// Calls `take`, which may read too, for each event that has come, in order. When the kernel
    /// had to drop some, presses and releases make up for them that lead to what is down now. False
    /// when the keyboard is gone.
    bool Read(const Taker& take);
    /// Whether there is something to be taken of which the descriptor does not tell.
    bool HasMore() const { return !mQueue.empty(); }

    /// The same for events that nobody but another program gets, which has grabbed the keyboard:
    /// what is then to be taken makes up for them.
    void MakeUp();

    void SetLight(std::uint16_t light, bool isOn);

  private:
    struct FreeDevice {
        void operator()(libevdev* device) const { libevdev_free(device); }
    };
    struct Heard {
        input_event event;
        Audience audience;
    };
    using Queue = std::deque<Heard>;
    struct Echo {
        KeyCode code;
        std::int32_t value;
        Audience audience;
    };

    Keyboard(FileDescriptor descriptor, libevdev* device)
        : mDescriptor(std::move(descriptor)), mDevice(device) {}

    Keys AskWhatIsDown() const { return evdev::AskWhatIsDown(mDescriptor.Get()); }
    bool BeginGrab();
    void EndGrab();
    bool Fetch();
    Queue::iterator FetchedSince(std::size_t count);
    static void MarkShared(const Queue::iterator& first, const Queue::iterator& end);
    void TakeQueued(const Taker& take);
    Heard TakeNext();
    bool IsDownAtLast(KeyCode code) const;
    void Inject(std::uint16_t type, std::uint16_t code, std::int32_t value);
    void InjectKey(KeyCode code, std::int32_t value);
    void InjectPressAndRelease(KeyCode code);
    bool IsEcho(const Heard& heard);

    FileDescriptor mDescriptor;
    /// What the device is and has; its events are not read by it.
    std::unique_ptr<libevdev, FreeDevice> mDevice;
    /// Of what comes now.
    Audience mAudience = Audience::kEverybody;
    /// While the keyboard is grabbed.
    std::optional<Witness> mWitness;
    /// What was read and not taken yet.
    Queue mQueue;
    Keys mDown;
    /// What was injected comes back here like all else.
    std::deque<Echo> mEchoes;
};

}  // namespace kivo::keyboard::evdev
