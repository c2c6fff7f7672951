#pragma once

#include <linux/input.h>
#include <sys/types.h>

#include <bitset>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "CoreFoundation/FileDescriptor.h"
#include "keyboard/KeyCodes.h"

namespace kivo::test {

/// A keyboard's device node as the kernel has it, with a hand on it: this test program's `open`,
/// `ioctl`, `read` and `write` answer over it. Each reader has a queue of its own, and one can grab
/// the keyboard; what a reader writes comes to all that would get it from the hand. One at a time.
class ScriptedDevice {
  public:
    /// `capacity` is how many events wait for a reader, those of "that was all" included, before
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
    /// What else the device is, as it says when it is opened.
    bool hasSwitches = false;
    bool hasMouseButtons = false;
    bool isTouched = false;
    bool hasLetters = true;
    std::string phys;
    /// It cannot be opened any more.
    bool isForbidden = false;
    /// What the hand does just before and just after a grab begins or ends.
    std::function<void()> beforeGrabChanges = [] {};
    std::function<void()> afterGrabChanges = [] {};
    /// What is looked at after each call that writes to it.
    std::function<void()> afterWriting = [] {};

    // The kernel's answers. The first tells whether a call is about this device.
    bool IsOpenIn(int descriptor) const { return Find(descriptor) != nullptr; }
    bool IsAt(const std::string& path) const;
    int Open();
    int Answer(int descriptor, unsigned long request, void* argument);
    void Take(int descriptor, const input_event* events, std::size_t count);
    bool IsRevoked(int descriptor) const { return Find(descriptor)->isRevoked; }

  private:
    struct Reader {
        FileDescriptor queue;
        ino_t inode;  ///< the same as of what the reader has open
        bool isRevoked = false;
    };

    const Reader* Find(int descriptor) const;
    int AnswerAbout(const Reader& reader, unsigned long request, void* argument);
    void Change(keyboard::KeyCode code, std::int32_t value);
    void Queue(int fifo, std::uint16_t type, std::uint16_t code, std::int32_t value);
    int SetGrab(const Reader& reader, bool isOn);
    int Revoke(const Reader& reader);
    static void DropKeyEvents(int fifo);
    int Bits(unsigned type, unsigned char* bits) const;

    const std::string mPath;
    const std::size_t mCapacity;
    std::vector<Reader> mReaders;
    ino_t mGrabber = 0;
    std::bitset<KEY_CNT> mDown;
    int mDrops = 0;
    long mMicroseconds = 0;
};

}  // namespace kivo::test
