#include "tests/unit/keyboard/ScriptedDevice.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace kivo::test {
namespace {

ScriptedDevice* gDevice = nullptr;

void SetBit(unsigned char* bits, unsigned bit) {
    bits[bit / 8] |= static_cast<unsigned char>(1U << bit % 8);
}

/// All that waits in the fifo.
std::vector<input_event> Drain(int fifo) {
    std::vector<input_event> events;
    input_event event{};
    while (syscall(SYS_read, fifo, &event, sizeof event) == sizeof event) {
        events.push_back(event);
    }
    return events;
}

void Put(int fifo, const input_event& event) {
    if (syscall(SYS_write, fifo, &event, sizeof event) != sizeof event) std::abort();
}

/// Descriptors are given anew, the files behind them are not.
ino_t InodeOf(int descriptor) {
    struct stat file {};
    return fstat(descriptor, &file) == 0 ? file.st_ino : 0;
}

}  // namespace

ScriptedDevice::ScriptedDevice(std::size_t capacity)
    : mPath(std::string(std::getenv("XDG_RUNTIME_DIR")) + "/keyboard"), mCapacity(capacity) {
    gDevice = this;
}

ScriptedDevice::~ScriptedDevice() {
    gDevice = nullptr;
}

bool ScriptedDevice::IsAt(const std::string& path) const {
    constexpr std::string_view kOpenFiles = "/proc/self/fd/";
    if (path == mPath) return true;
    return path.starts_with(kOpenFiles) && IsOpenIn(std::stoi(path.substr(kOpenFiles.size())));
}

int ScriptedDevice::Open() {
    if (isForbidden) {
        errno = EACCES;
        return -1;
    }
    const std::string fifo = mPath + ".queue";
    if (mkfifo(fifo.c_str(), 0600) != 0) std::abort();
    FileDescriptor queue(open(fifo.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    unlink(fifo.c_str());
    const int reader = fcntl(queue.Get(), F_DUPFD_CLOEXEC, 0);
    mReaders.push_back({std::move(queue), InodeOf(reader)});
    return reader;
}

const ScriptedDevice::Reader* ScriptedDevice::Find(int descriptor) const {
    const auto reader = std::find_if(
        mReaders.begin(), mReaders.end(),
        [inode = InodeOf(descriptor)](const Reader& one) { return one.inode == inode; });
    return reader == mReaders.end() ? nullptr : &*reader;
}

void ScriptedDevice::Change(keyboard::KeyCode code, std::int32_t value) {
    if (value != 2) mDown[code] = value != 0;
    if (isGrabbedByAnother) return;
    ++mMicroseconds;
    for (const Reader& reader : mReaders) {
        if (mGrabber != 0 && mGrabber != reader.inode) continue;
        Queue(reader.queue.Get(), EV_KEY, code, value);
        Queue(reader.queue.Get(), EV_SYN, SYN_REPORT, 0);
    }
}

/// When it is full the kernel keeps the last event, and before it the note that it dropped others.
void ScriptedDevice::Queue(int fifo, std::uint16_t type, std::uint16_t code, std::int32_t value) {
    std::vector<input_event> waiting = Drain(fifo);
    if (waiting.size() + 1 >= mCapacity) {
        ++mDrops;
        waiting.assign(1, {});
        waiting[0].type = EV_SYN;
        waiting[0].code = SYN_DROPPED;
    }
    input_event& last = waiting.emplace_back();
    last.input_event_usec = mMicroseconds;
    last.type = type;
    last.code = code;
    last.value = value;
    for (const input_event& event : waiting) {
        Put(fifo, event);
    }
}

/// Whoever asks for the state finds no event any more that led to it.
void ScriptedDevice::DropKeyEvents(int fifo) {
    for (const input_event& event : Drain(fifo)) {
        if (event.type != EV_KEY) Put(fifo, event);
    }
}

int ScriptedDevice::SetGrab(const Reader& reader, bool isOn) {
    errno = EINVAL;
    if (!isOn && mGrabber != reader.inode) return -1;
    beforeGrabChanges();
    errno = reader.isRevoked ? ENODEV : EBUSY;
    if (reader.isRevoked || (isOn && isGrabbedByAnother)) return -1;
    mGrabber = isOn ? reader.inode : 0;
    afterGrabChanges();
    return 0;
}

int ScriptedDevice::Revoke(const Reader& reader) {
    const auto one = std::find_if(mReaders.begin(), mReaders.end(),
                                  [&](const Reader& any) { return any.inode == reader.inode; });
    one->isRevoked = true;
    if (mGrabber == reader.inode) mGrabber = 0;
    return 0;
}

int ScriptedDevice::Bits(unsigned type, unsigned char* bits) const {
    if (type == 0) {
        for (const unsigned one : {EV_SYN, EV_KEY}) {
            SetBit(bits, one);
        }
        if (hasSwitches) SetBit(bits, EV_SW);
    }
    if (type != EV_KEY) return 0;
    for (unsigned code = hasLetters ? KEY_ESC : KEY_MUTE; code <= KEY_POWER; ++code) {
        SetBit(bits, code);
    }
    if (hasMouseButtons) SetBit(bits, BTN_LEFT);
    if (isTouched) SetBit(bits, BTN_TOUCH);
    return 0;
}

int ScriptedDevice::Answer(int descriptor, unsigned long request, void* argument) {
    const Reader& reader = *Find(descriptor);
    if (!reader.isRevoked) return AnswerAbout(reader, request, argument);
    errno = ENODEV;
    return -1;
}

int ScriptedDevice::AnswerAbout(const Reader& reader, unsigned long request, void* argument) {
    constexpr unsigned kFirstBits = _IOC_NR(EVIOCGBIT(0, 0));
    const unsigned number = _IOC_NR(request);
    auto* const bytes = static_cast<unsigned char*>(argument);
    if (number == _IOC_NR(EVIOCGRAB)) return SetGrab(reader, argument != nullptr);
    if (number == _IOC_NR(EVIOCREVOKE)) return Revoke(reader);
    std::memset(bytes, 0, _IOC_SIZE(request));
    if (number == _IOC_NR(EVIOCGPHYS(0))) phys.copy(static_cast<char*>(argument), phys.size());
    if (number == _IOC_NR(EVIOCGKEY(0))) {
        for (unsigned code = 0; code < KEY_CNT; ++code) {
            if (mDown[code]) SetBit(bytes, code);
        }
        DropKeyEvents(reader.queue.Get());
    }
    return number >= kFirstBits && number <= kFirstBits + EV_MAX ? Bits(number - kFirstBits, bytes)
                                                                 : 0;
}

/// The kernel passes on only what changes.
void ScriptedDevice::Take(int descriptor, const input_event* events, std::size_t count) {
    if (mGrabber != 0 && mGrabber != InodeOf(descriptor)) return;
    for (const input_event* event = events; event != events + count; ++event) {
        const bool isKey = event->type == EV_KEY;
        if (isKey && mDown[event->code] != (event->value != 0)) Change(event->code, event->value);
    }
    afterWriting();
}

}  // namespace kivo::test

// They stand before the C library's, for libevdev too.

using kivo::test::gDevice;

int ioctl(int descriptor, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (gDevice != nullptr && gDevice->IsOpenIn(descriptor)) {
        return gDevice->Answer(descriptor, request, argument);
    }
    return static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
}

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (gDevice != nullptr && gDevice->IsAt(path)) return gDevice->Open();
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

ssize_t read(int descriptor, void* data, size_t size) {
    if (gDevice != nullptr && gDevice->IsOpenIn(descriptor) && gDevice->IsRevoked(descriptor)) {
        errno = ENODEV;
        return -1;
    }
    return syscall(SYS_read, descriptor, data, size);
}

ssize_t write(int descriptor, const void* data, size_t size) {
    if (gDevice != nullptr && gDevice->IsOpenIn(descriptor)) {
        if (gDevice->IsRevoked(descriptor)) {
            errno = ENODEV;
            return -1;
        }
        gDevice->Take(descriptor, static_cast<const input_event*>(data),
                      size / sizeof(input_event));
        return static_cast<ssize_t>(size);
    }
    return syscall(SYS_write, descriptor, data, size);
}
