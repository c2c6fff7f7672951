#pragma once

#include <linux/input.h>

#include <bitset>
#include <cstdint>
#include <string>

#include "CoreFoundation/FileDescriptor.h"
#include "keyboard/KeyCodes.h"

namespace kivo::test {

/// A keyboard's device node as the kernel has it, with a hand on it and one reader: a fifo, over
/// which this test program's `ioctl` answers. What the reader writes comes back to it, as it does
/// from the kernel. One at a time.
class ScriptedDevice {
  public:
    /// `capacity` is how many events wait for the reader, those of "that was all" included, before
    /// the kernel drops them.
    explicit ScriptedDevice(std::size_t capacity = 1000);
    ~ScriptedDevice();
    ScriptedDevice(const ScriptedDevice&) = delete;
    ScriptedDevice& operator=(const ScriptedDevice&) = delete;

    const std::string& Path() const { return mPath; }
    void Press(keyboard::KeyCode code) { Change(code, 1); }
    void Release(keyboard::KeyCode code) { Change(code, 0); }
    void Repeat(keyboard::KeyCode code) { Change(code, 2); }
    bool IsDown(keyboard::KeyCode code) const { return mDown[code]; }
    /// How often events were dropped.
    int Drops() const { return mDrops; }

    /// Another program has grabbed the keyboard: its events come to that one alone.
    bool isGrabbedByAnother = false;

    /// Answers as the kernel.
    int Answer(unsigned long request, void* argument);

  private:
    void Change(keyboard::KeyCode code, std::int32_t value);
    void Queue(std::uint16_t type, std::uint16_t code, std::int32_t value);
    void DropKeyEvents();
    int Bits(unsigned type, unsigned char* bits) const;

    const std::string mPath;
    const std::size_t mCapacity;
    FileDescriptor mFifo;
    std::bitset<KEY_CNT> mDown;
    int mDrops = 0;
};

}  // namespace kivo::test
