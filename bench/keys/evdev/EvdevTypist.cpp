#include "bench/keys/evdev/EvdevTypist.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/desktop/XSession.h"

namespace kivo::bench {
namespace {

constexpr char kName[] = "Kivo benchmark keyboard";
constexpr int kPatienceMilliseconds = 200;

struct FreeDevice {
    void operator()(libevdev* device) const { libevdev_free(device); }
};
using Device = std::unique_ptr<libevdev, FreeDevice>;

void Require(bool holds, const char* what) {
    if (!holds) throw std::runtime_error(std::string(what) + " failed");
}

libevdev_uinput* MakeKeyboard() {
    const Device device(libevdev_new());
    libevdev_set_name(device.get(), kName);
    for (unsigned code = KEY_ESC; code <= KEY_KPDOT; ++code) {
        libevdev_enable_event_code(device.get(), EV_KEY, code, nullptr);
    }
    libevdev_uinput* keyboard = nullptr;
    Require(libevdev_uinput_create_from_device(device.get(), LIBEVDEV_UINPUT_OPEN_MANAGED,
                                               &keyboard) == 0,
            "making a keyboard");
    return keyboard;
}

bool IsOurKeyboard(int descriptor) {
    std::array<char, 64> name{};
    return ioctl(descriptor, EVIOCGNAME(name.size() - 1), name.data()) > 0 &&
           std::string_view(name.data()) == kName;
}

void WriteKey(int descriptor, std::uint16_t code, std::int32_t value) {
    std::array<input_event, 2> events{};
    events[0].type = EV_KEY;
    events[0].code = code;
    events[0].value = value;
    events[1].type = EV_SYN;
    Require(write(descriptor, events.data(), sizeof events) == sizeof events, "typing");
}

void Hold(const std::string& path, const MinimalLoop::Asker& ask) {
    const FileDescriptor keyboard(open(path.c_str(), O_RDWR | O_CLOEXEC));
    libevdev* original = nullptr;
    Require(libevdev_new_from_fd(keyboard.Get(), &original) == 0, "opening the keyboard");
    libevdev_uinput* clone = nullptr;
    Require(libevdev_uinput_create_from_device(original, LIBEVDEV_UINPUT_OPEN_MANAGED, &clone) == 0,
            "making a clone");
    const int typing = libevdev_uinput_get_fd(clone);
    // Who looks whether it is held holds it for a moment.
    const auto isHeld = [&] { return ioctl(keyboard.Get(), EVIOCGRAB, 1) == 0; };
    Require(test::Await(isHeld), "grabbing the keyboard");
    std::array<input_event, 64> events{};
    ssize_t size = 0;
    while ((size = read(keyboard.Get(), events.data(), sizeof events)) > 0) {
        const auto count = static_cast<std::size_t>(size) / sizeof(input_event);
        for (std::size_t i = 0; i < count; ++i) {
            if (events[i].type != EV_KEY) continue;
            ask();
            WriteKey(typing, events[i].code, events[i].value);
        }
    }
}

}  // namespace

EvdevTypist::EvdevTypist()
    : mKeyboard(MakeKeyboard()), mPath(libevdev_uinput_get_devnode(mKeyboard.get())) {
    OpenNewNodes();
}

void EvdevTypist::OpenNewNodes() {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/input", error)) {
        const std::string path = entry.path();
        if (!entry.path().filename().string().starts_with("event") || mNodes.contains(path)) {
            continue;
        }
        FileDescriptor node(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        if (node && IsOurKeyboard(node.Get())) mNodes.emplace(path, std::move(node));
    }
}

std::optional<double> EvdevTypist::Type() {
    const auto start = std::chrono::steady_clock::now();
    Send(true);
    const bool hasCome = AwaitKey(1);
    const std::chrono::duration<double, std::micro> taken =
        std::chrono::steady_clock::now() - start;
    Send(false);
    if (!hasCome) return std::nullopt;
    AwaitKey(0);
    return taken.count();
}

void EvdevTypist::Send(bool isDown) {
    WriteKey(libevdev_uinput_get_fd(mKeyboard.get()), KEY_A, isDown ? 1 : 0);
}

bool EvdevTypist::AwaitKey(std::int32_t value) {
    std::vector<pollfd> nodes;
    for (const auto& [path, node] : mNodes) {
        nodes.push_back({node.Get(), POLLIN, 0});
    }
    while (poll(nodes.data(), nodes.size(), kPatienceMilliseconds) > 0) {
        if (HasRead(value)) return true;
    }
    return false;
}

bool EvdevTypist::HasRead(std::int32_t value) {
    bool isRead = false;
    for (const auto& [path, node] : mNodes) {
        input_event event{};
        while (read(node.Get(), &event, sizeof event) == sizeof event) {
            isRead |= event.type == EV_KEY && event.code == KEY_A && event.value == value;
        }
    }
    return isRead;
}

bool EvdevTypist::IsHeld() const {
    const int keyboard = mNodes.at(mPath).Get();
    if (ioctl(keyboard, EVIOCGRAB, 1) != 0) return true;
    ioctl(keyboard, EVIOCGRAB, 0);
    return false;
}

void EvdevTypist::AwaitHeld(bool isHeld) {
    if (!test::Await([&] { return IsHeld() == isHeld; }, 10)) {
        throw std::runtime_error("the keyboard is not taken or not given back");
    }
    // Clones come before the keyboard is held, and go with who made them.
    std::erase_if(mNodes, [](const auto& one) { return access(one.first.c_str(), F_OK) != 0; });
    OpenNewNodes();
}

MinimalLoop EvdevTypist::StartLoop() {
    return MinimalLoop([this](const MinimalLoop::Asker& ask) { Hold(mPath, ask); });
}

}  // namespace kivo::bench
