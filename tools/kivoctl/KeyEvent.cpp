#include "tools/kivoctl/KeyEvent.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <utility>

#include "ZYNCommon/RawPayloads.h"
#include "tools/kivoctl/Arguments.h"

namespace kivo::ctl {

namespace {

/// By virtual key code, as Apple's HIToolbox/Events.h numbers them; empty where there is no key.
// clang-format off
constexpr std::array<std::string_view, 0x80> kKeyNames = {
    "A", "S", "D", "F", "H", "G", "Z", "X",  // 0x00
    "C", "V", "Section", "B", "Q", "W", "E", "R",  // 0x08
    "Y", "T", "1", "2", "3", "4", "6", "5",  // 0x10
    "=", "9", "7", "-", "8", "0", "]", "O",  // 0x18
    "U", "[", "I", "P", "Return", "L", "J", "'",  // 0x20
    "K", ";", "\\", ",", "/", "N", "M", ".",  // 0x28
    "Tab", "Space", "`", "Backspace", "", "Escape", "Right Command", "Command",  // 0x30
    "Shift", "Caps Lock", "Option", "Control", "Right Shift", "Right Option", "Right Control", "Fn",  // 0x38
    "F17", "Keypad .", "", "Keypad *", "", "Keypad +", "", "Keypad Clear",  // 0x40
    "Volume Up", "Volume Down", "Mute", "Keypad /", "Keypad Enter", "", "Keypad -", "F18",  // 0x48
    "F19", "Keypad =", "Keypad 0", "Keypad 1", "Keypad 2", "Keypad 3", "Keypad 4", "Keypad 5",  // 0x50
    "Keypad 6", "Keypad 7", "F20", "Keypad 8", "Keypad 9", "Yen", "Underscore", "Keypad ,",  // 0x58
    "F5", "F6", "F7", "F3", "F8", "F9", "Eisu", "F11",  // 0x60
    "Kana", "F13", "F16", "F14", "", "F10", "Menu", "F12",  // 0x68
    "", "F15", "Help", "Home", "Page Up", "Delete", "F4", "End",  // 0x70
    "F2", "Page Down", "F1", "Left", "Right", "Down", "Up", "Power",  // 0x78
};
// clang-format on

/// The flags that hold for either side of the keyboard, as Apple's CGEventTypes.h defines them.
constexpr std::array<std::pair<UInt64, std::string_view>, 6> kModifiers = {{
    {0x010000, "caps lock"},
    {0x040000, "control"},
    {0x080000, "option"},
    {0x020000, "shift"},
    {0x100000, "command"},
    {0x800000, "fn"},
}};

}  // namespace

std::optional<KeyEvent> ReadKeyEvent(std::span<const UInt8> payload) {
    KeyEventRecord record;
    if (payload.size() < sizeof record) return std::nullopt;
    std::memcpy(&record, payload.data(), sizeof record);
    return KeyEvent{record.keyCode, record.flags, record.keyDown != 0};
}

std::string_view KeyName(UInt16 keyCode) {
    if (keyCode >= kKeyNames.size() || kKeyNames[keyCode].empty()) return "key";
    return kKeyNames[keyCode];
}

std::vector<std::string_view> ModifierNames(UInt64 flags) {
    std::vector<std::string_view> names;
    for (const auto& [bit, name] : kModifiers) {
        if ((flags & bit) != 0) names.push_back(name);
    }
    return names;
}

/// A key's name, in letters of either case, or its code. Digits are codes.
UInt16 ParseKey(std::string_view text) {
    const auto isLetter = [](char one) { return std::isalpha(static_cast<unsigned char>(one)); };
    const auto isSame = [](char one, char other) {
        return std::toupper(static_cast<unsigned char>(one)) ==
               std::toupper(static_cast<unsigned char>(other));
    };
    const auto name = std::find_if(kKeyNames.begin(), kKeyNames.end(), [&](std::string_view one) {
        return std::equal(one.begin(), one.end(), text.begin(), text.end(), isSame);
    });
    const bool isName = !text.empty() && isLetter(text.front());
    if (isName && name != kKeyNames.end()) return static_cast<UInt16>(name - kKeyNames.begin());
    return static_cast<UInt16>(
        ParseNumber(text, 0xFFFF,
                    "--swallow takes \"all\", \"none\" or keys, by a name that --keys shows, such "
                    "as Return, or by a code; a code"));
}

SwallowRule SwallowRule::Parse(std::string_view text) {
    SwallowRule rule;
    rule.mAll = text == "all";
    if (rule.mAll || text == "none") return rule;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find(',', begin), text.size());
        rule.mCodes.insert(ParseKey(text.substr(begin, end - begin)));
        begin = end + 1;
    }
    return rule;
}

}  // namespace kivo::ctl
