#include "tests/unit/keyboard/ScriptedDevice.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
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
    while (read(fifo, &event, sizeof event) == sizeof event) {
        events.push_back(event);
    }
    return events;
}

void Put(int fifo, const input_event& event) {
    if (write(fifo, &event, sizeof event) != sizeof event) std::abort();
}

}  // namespace

ScriptedDevice::ScriptedDevice(std::size_t capacity)
    : mPath(std::string(std::getenv("XDG_RUNTIME_DIR")) + "/keyboard"), mCapacity(capacity) {
    if (mkfifo(mPath.c_str(), 0600) != 0) std::abort();
    mFifo = FileDescriptor(open(mPath.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    gDevice = this;
}

ScriptedDevice::~ScriptedDevice() {
    gDevice = nullptr;
    unlink(mPath.c_str());
}

void ScriptedDevice::Change(keyboard::KeyCode code, std::int32_t value) {
    if (value != 2) mDown[code] = value != 0;
    if (isGrabbedByAnother) return;
    Queue(EV_KEY, code, value);
    Queue(EV_SYN, SYN_REPORT, 0);
}

/// When it is full the kernel keeps the last event, and before it the note that it dropped others.
void ScriptedDevice::Queue(std::uint16_t type, std::uint16_t code, std::int32_t value) {
    std::vector<input_event> waiting = Drain(mFifo.Get());
    if (waiting.size() + 1 >= mCapacity) {
        ++mDrops;
        waiting.assign(1, {});
        waiting[0].type = EV_SYN;
        waiting[0].code = SYN_DROPPED;
    }
    input_event& last = waiting.emplace_back();
    last.type = type;
    last.code = code;
    last.value = value;
    for (const input_event& event : waiting) {
        Put(mFifo.Get(), event);
    }
}

/// Whoever asks for the state finds no event any more that led to it.
void ScriptedDevice::DropKeyEvents() {
    for (const input_event& event : Drain(mFifo.Get())) {
        if (event.type != EV_KEY) Put(mFifo.Get(), event);
    }
}

int ScriptedDevice::Bits(unsigned type, unsigned char* bits) const {
    if (type == 0) {
        for (const unsigned one : {EV_SYN, EV_KEY}) {
            SetBit(bits, one);
        }
    }
    for (unsigned code = KEY_ESC; type == EV_KEY && code <= KEY_POWER; ++code) {
        SetBit(bits, code);
    }
    return 0;
}

int ScriptedDevice::Answer(unsigned long request, void* argument) {
    constexpr unsigned kFirstBits = _IOC_NR(EVIOCGBIT(0, 0));
    const unsigned number = _IOC_NR(request);
    auto* const bytes = static_cast<unsigned char*>(argument);
    if (number == _IOC_NR(EVIOCGRAB)) {
        errno = EBUSY;
        return isGrabbedByAnother && argument != nullptr ? -1 : 0;
    }
    std::memset(bytes, 0, _IOC_SIZE(request));
    if (number == _IOC_NR(EVIOCGKEY(0))) {
        for (unsigned code = 0; code < KEY_CNT; ++code) {
            if (mDown[code]) SetBit(bytes, code);
        }
        DropKeyEvents();
    }
    return number >= kFirstBits && number <= kFirstBits + EV_MAX ? Bits(number - kFirstBits, bytes)
                                                                 : 0;
}

}  // namespace kivo::test

/// Stands before the C library's, for libevdev too.
int ioctl(int descriptor, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (_IOC_TYPE(request) == 'E' && kivo::test::gDevice != nullptr) {
        return kivo::test::gDevice->Answer(request, argument);
    }
    return static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
}
