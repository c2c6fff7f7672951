#pragma once

#include <libevdev/libevdev-uinput.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "CoreFoundation/FileDescriptor.h"
#include "keyboard/KeyCodes.h"

namespace kivo::keyboard::evdev {

/// What the kernel says of where our clones are plugged in, so that nobody here clones a clone.
inline constexpr char kClonePhys[] = "kivo/clone";

/// The kernel's door for programs that make devices.
inline constexpr char kUinput[] = "/dev/uinput";

/// A change of one of a keyboard's lights.
struct Light {
    std::uint16_t number = 0;  ///< LED_CAPSL and its kin
    bool isOn = false;
};

/// A keyboard without hardware (uinput), in the likeness of one that is held: same name, same
/// identity and same keys, so that whatever the session has set up for the one goes for the other.
/// It goes when this and the guard's copy of its descriptor are closed, with all its keys released
/// by the kernel.
class Clone {
  public:
    /// `original` is read only while this runs. Null with errno set when it cannot be made.
    static std::unique_ptr<Clone> Make(const libevdev* original, int originalDescriptor);

    int Descriptor() const { return mDescriptor.Get(); }
    /// The path of its device node; empty when the kernel does not tell.
    std::string Node() const;
    /// Whether udev has looked at it, after which the session is told; true where there is no udev.
    bool IsAnnounced() const;
    /// Whether the clone can be had at all: uinput is there and may be used.
    static bool IsPossible();

    void Send(std::uint16_t type, std::uint16_t code, std::int32_t value);
    void SendKey(KeyCode code, bool isDown) { Send(EV_KEY, code, isDown ? 1 : 0); }

    /// The next light that the session has switched; false when there is none.
    bool ReadLight(Light* light);

  private:
    explicit Clone(FileDescriptor descriptor) : mDescriptor(std::move(descriptor)) {}

    struct Destroy {
        void operator()(libevdev_uinput* device) const { libevdev_uinput_destroy(device); }
    };

    // The device is destroyed before its descriptor is closed.
    FileDescriptor mDescriptor;
    std::unique_ptr<libevdev_uinput, Destroy> mDevice;
};

}  // namespace kivo::keyboard::evdev
