// A tap with a mind of its own, which the emulator cannot be too slow for: it answers at once,
// where a control center that is asked across processes has ten milliseconds.
//
//     key-tap [CODE...]      swallows the keys with these virtual key codes
//
// Reads "on" and "off" from standard input, which switch forwarding, and ends with it. Prints what
// it is shown: "+0" and "-0" for a press and a release by virtual key code, "*0" for a repeat, with
// the flags in hex behind; and "time-out" or "user input" when the tap was disabled.

#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/RunLoopSeams.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string_view>

#include "platform/CFRef.h"
#include "platform/Workspace.h"

namespace {

using Codes = std::set<std::int64_t>;

CGEventRef Judge(CGEventTapProxy, CGEventType type, CGEventRef event, void* swallowed) {
    if (type != kCGEventKeyDown && type != kCGEventKeyUp) {
        std::puts(type == kCGEventTapDisabledByTimeout ? "time-out" : "user input");
        return event;
    }
    const std::int64_t code = CGEventGetIntegerValueField(event, kCGKeyboardEventKeycode);
    const bool isRepeat = CGEventGetIntegerValueField(event, kCGKeyboardEventAutorepeat) != 0;
    const char sign = type == kCGEventKeyUp ? '-' : isRepeat ? '*' : '+';
    std::printf("%c%lld %llx\n", sign, static_cast<long long>(code),
                static_cast<unsigned long long>(CGEventGetFlags(event)));
    return static_cast<const Codes*>(swallowed)->contains(code) ? nullptr : event;
}

void TakeCommands(void*) {
    std::array<char, 64> lines{};
    const ssize_t size = read(STDIN_FILENO, lines.data(), lines.size());
    if (size <= 0) return CFRunLoopStop(CFRunLoopGetCurrent());
    std::string_view commands(lines.data(), static_cast<std::size_t>(size));
    for (auto end = commands.find('\n'); end != commands.npos; end = commands.find('\n')) {
        Workspace_SetKeyboardForwardingWanted(commands.starts_with("on"));
        commands.remove_prefix(end + 1);
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Codes swallowed;
    for (int i = 1; i < argc; ++i) {
        swallowed.insert(std::atoll(argv[i]));
    }
    const auto tap =
        kivo::Adopt(CGEventTapCreate(kCGSessionEventTap, kCGHeadInsertEventTap,
                                     kCGEventTapOptionDefault, 0xC00, Judge, &swallowed));
    if (!tap) {
        std::puts("no tap");
        return 1;
    }
    std::puts("a tap");
    const auto keys = kivo::Adopt(CFMachPortCreateRunLoopSource(nullptr, tap.Get(), 0));
    const auto commands =
        kivo::Adopt(kivo::CreateDescriptorSource(STDIN_FILENO, {nullptr, TakeCommands, nullptr}));
    CFRunLoopAddSource(CFRunLoopGetCurrent(), keys.Get(), kCFRunLoopCommonModes);
    CFRunLoopAddSource(CFRunLoopGetCurrent(), commands.Get(), kCFRunLoopCommonModes);
    CFRunLoopRun();
    return 0;
}
