// Holds the table of key codes to what others made, each without the others:
//
// - the X server's names of key positions (Debian's xkb-data), in its numbering for Linux and in
// that
//   for the Macintosh of the days when keyboards were on the Apple Desktop Bus;
// - the numbers under which the kernel's driver for such keyboards (drivers/macintosh/adbhid.c)
//   knows the keys that xkb-data lacks there;
// - the virtual key codes in a Python library that types keys on macOS (Debian's python3-pynput).
//
// Virtual key codes are the bus's codes but for nine, so both kinds of table can be compared.

#include <gtest/gtest.h>
#include <libevdev/libevdev.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>

#include "keyboard/KeyCodes.h"

namespace kivo::test {
namespace {

using keyboard::IsMachineKey;
using keyboard::KeyCode;
using keyboard::kFlagFunction;
using keyboard::kFlagKeypad;
using keyboard::VirtualKeyOf;

using Keycodes = std::map<std::string, int>;

constexpr char kFolder[] = "/usr/share/X11/xkb/keycodes/";
/// X11 numbers its keys from 8 on, whatever the hardware does.
constexpr int kFirstKeycode = 8;

/// The keys of one section of a keycodes file, less X11's offset.
Keycodes ReadSection(const std::string& file, const std::string& section) {
    std::ifstream stream(kFolder + file);
    const std::regex begin(R"(xkb_keycodes\s+")" + section + R"(")");
    const std::regex entry(R"(^\s*(<\w+>)\s*=\s*(\d+)\s*;)");
    Keycodes keys;
    bool isInside = false;
    for (std::string line; std::getline(stream, line);) {
        if (std::regex_search(line, begin)) isInside = true;
        if (isInside && line.starts_with("};")) break;
        std::smatch match;
        if (isInside && std::regex_search(line, match, entry)) {
            keys[match[1]] = std::stoi(match[2]) - kFirstKeycode;
        }
    }
    return keys;
}

/// The keys of macOS by the names that the Python library gives them.
Keycodes ReadLibrary() {
    std::ifstream stream("/usr/lib/python3/dist-packages/pynput/keyboard/_darwin.py");
    const std::regex entry(R"(^    (\w+) = KeyCode\.from_vk\(0x([0-9A-F]+))");
    Keycodes keys;
    std::smatch match;
    for (std::string line; std::getline(stream, line);) {
        if (std::regex_search(line, match, entry))
            keys[match[1]] = std::stoi(match[2], nullptr, 16);
    }
    return keys;
}

/// The virtual key code of a key that has this code on the bus. The arrows moved up when the
/// modifiers on the right, which had codes above them, came down beside those on the left.
int VirtualCodeOf(int busCode) {
    static const std::map<int, int> kMoved = {
        {0x3B, 0x7B}, {0x3C, 0x7C}, {0x3D, 0x7D}, {0x3E, 0x7E},                // arrows
        {0x36, 0x3B}, {0x7B, 0x3C}, {0x7C, 0x3D}, {0x7D, 0x3E}, {0x7E, 0x36},  // modifiers
    };
    const auto moved = kMoved.find(busCode);
    return moved == kMoved.end() ? busCode : moved->second;
}

int CodeOf(const std::string& name) {
    const int code = libevdev_event_code_from_name(EV_KEY, ("KEY_" + name).c_str());
    EXPECT_GE(code, 0) << name;
    return code;
}

void ExpectCode(int code, int expected) {
    const char* const name = libevdev_event_code_get_name(EV_KEY, static_cast<unsigned>(code));
    const auto key = VirtualKeyOf(static_cast<KeyCode>(code));
    ASSERT_TRUE(key) << name;
    EXPECT_EQ(key->code, expected) << name;
}

/// Where xkb-data names the positions of the two by what Apple's key does there, not by our key's
/// role.
const std::set<std::string> kNamedByRole = {"<LALT>", "<RALT>", "<LWIN>", "<RWIN>"};

/// The codes of keys on Linux and on the bus that have the same name.
std::map<int, int> SameByName() {
    const Keycodes linux = ReadSection("evdev", "evdev");
    EXPECT_GT(linux.size(), 200u) << "needs Debian's xkb-data";
    std::map<int, int> same;
    for (const auto& [name, busCode] : ReadSection("macintosh", "old")) {
        const auto here = linux.find(name);
        if (here != linux.end() && !kNamedByRole.contains(name)) same[here->second] = busCode;
    }
    return same;
}

/// By the kernel's driver, on the bus.
const Keycodes kOnTheBus = {
    {"LEFTALT", 0x3A},   {"LEFTMETA", 0x37},  {"RIGHTSHIFT", 0x7B}, {"RIGHTALT", 0x7C},
    {"RIGHTCTRL", 0x7D}, {"RIGHTMETA", 0x7E}, {"FN", 0x3F},         {"YEN", 0x5D},
    {"RO", 0x5E},        {"KPCOMMA", 0x5F},   {"HANJA", 0x66},      {"HANGEUL", 0x68},
    {"COMPOSE", 0x6E},   {"POWER", 0x7F},     {"SYSRQ", 0x69},      {"SCROLLLOCK", 0x6B},
    {"PAUSE", 0x71},     {"INSERT", 0x72},    {"KPEQUAL", 0x51},    {"102ND", 0x0A},
};

/// The kernel's name of a key that the library calls otherwise than in small letters.
const std::map<std::string, std::string> kNamesOfLibrary = {
    {"alt_l", "LEFTALT"},     {"alt_r", "RIGHTALT"},     {"caps_lock", "CAPSLOCK"},
    {"cmd_l", "LEFTMETA"},    {"cmd_r", "RIGHTMETA"},    {"ctrl_l", "LEFTCTRL"},
    {"ctrl_r", "RIGHTCTRL"},  {"page_up", "PAGEUP"},     {"page_down", "PAGEDOWN"},
    {"shift_l", "LEFTSHIFT"}, {"shift_r", "RIGHTSHIFT"},
};
/// It has these by side as well.
const std::set<std::string> kOfEitherSide = {"alt", "alt_gr", "cmd", "ctrl", "shift"};

std::map<int, int> OfTheLibrary() {
    std::map<int, int> codes;
    for (const auto& [name, virtualCode] : ReadLibrary()) {
        if (kOfEitherSide.contains(name)) continue;
        const auto other = kNamesOfLibrary.find(name);
        std::string kernelName = other == kNamesOfLibrary.end() ? name : other->second;
        std::transform(kernelName.begin(), kernelName.end(), kernelName.begin(),
                       [](unsigned char letter) { return std::toupper(letter); });
        codes[CodeOf(kernelName)] = virtualCode;
    }
    return codes;
}

/// What none of them has, by the names of Apple's HIToolbox/Events.h.
const Keycodes kOnlyApples = {
    {"HELP", 0x72},        // kVK_Help
    {"VOLUMEUP", 0x48},    // kVK_VolumeUp
    {"VOLUMEDOWN", 0x49},  // kVK_VolumeDown
    {"MUTE", 0x4A},        // kVK_Mute
};

/// Keys that the kernel has two of, for one place.
const std::map<std::string, std::string> kTwins = {{"PRINT", "SYSRQ"}, {"KPJPCOMMA", "KPCOMMA"}};

TEST(KeyCodes, AgreeWithTheKeyNamesOfTheXServer) {
    const auto same = SameByName();
    EXPECT_GE(same.size(), 95u);
    for (const auto& [code, busCode] : same) {
        ExpectCode(code, VirtualCodeOf(busCode));
    }
}

TEST(KeyCodes, AgreeWithTheKernelsDriverForTheBus) {
    for (const auto& [name, busCode] : kOnTheBus) {
        ExpectCode(CodeOf(name), VirtualCodeOf(busCode));
    }
}

TEST(KeyCodes, AgreeWithALibraryForMacOS) {
    const auto keys = OfTheLibrary();
    EXPECT_GE(keys.size(), 43u) << "needs Debian's python3-pynput";
    for (const auto& [code, virtualCode] : keys) {
        ExpectCode(code, virtualCode);
    }
}

TEST(KeyCodes, OfKeysThatOnlyAppleNumbersAreApples) {
    for (const auto& [name, virtualCode] : kOnlyApples) {
        ExpectCode(CodeOf(name), virtualCode);
    }
}

TEST(KeyCodes, OfTwinsAreTheSame) {
    for (const auto& [one, other] : kTwins) {
        EXPECT_EQ(VirtualKeyOf(static_cast<KeyCode>(CodeOf(one))),
                  VirtualKeyOf(static_cast<KeyCode>(CodeOf(other))))
            << one;
    }
}

TEST(KeyCodes, AreKnownToOneOfTheOthers) {
    std::set<int> known;
    for (const auto& codes : {SameByName(), OfTheLibrary()}) {
        for (const auto& [code, number] : codes)
            known.insert(code);
    }
    for (const auto& codes : {kOnTheBus, kOnlyApples}) {
        for (const auto& [name, number] : codes)
            known.insert(CodeOf(name));
    }
    for (const auto& [one, other] : kTwins)
        known.insert(CodeOf(one));
    for (int code = 0; code <= KEY_MAX; ++code) {
        EXPECT_EQ(VirtualKeyOf(static_cast<KeyCode>(code)).has_value(), known.contains(code))
            << libevdev_event_code_get_name(EV_KEY, static_cast<unsigned>(code));
    }
}

/// By virtual key code, as Apple's HIToolbox/Events.h names them.
constexpr std::uint64_t BitsOf(int virtualCode) {
    switch (virtualCode) {
        case 0x41:  // kVK_ANSI_Keypad…
        case 0x43:
        case 0x45:
        case 0x47:
        case 0x4B:
        case 0x4C:
        case 0x4E:
        case 0x51:
        case 0x5B:
        case 0x5C:
        case 0x5F:
            return kFlagKeypad;
        case 0x40:  // kVK_F17, F18, F19, F20
        case 0x4F:
        case 0x50:
        case 0x5A:
            return kFlagFunction;
        case 0x66:  // kVK_JIS_Eisu, Kana; the menu key
        case 0x68:
        case 0x6E:
            return 0;
        default:
            break;
    }
    if (virtualCode >= 0x52 && virtualCode <= 0x59) return kFlagKeypad;
    if (virtualCode >= 0x7B && virtualCode <= 0x7E) return kFlagKeypad | kFlagFunction;
    // Function keys, and the six beside them.
    return virtualCode >= 0x60 && virtualCode <= 0x7A ? kFlagFunction : 0;
}

TEST(KeyCodes, CarryTheBitsOfTheirKind) {
    for (int code = 0; code <= KEY_MAX; ++code) {
        const auto key = VirtualKeyOf(static_cast<KeyCode>(code));
        if (!key) continue;
        EXPECT_EQ(key->flags, BitsOf(key->code))
            << libevdev_event_code_get_name(EV_KEY, static_cast<unsigned>(code));
    }
}

TEST(KeyCodes, OfTheMachineAreThese) {
    const std::set<int> machines = {
        KEY_POWER, KEY_POWER2, KEY_SLEEP,  KEY_SUSPEND, KEY_WAKEUP,  KEY_WLAN,       KEY_BLUETOOTH,
        KEY_UWB,   KEY_WWAN,   KEY_RFKILL, KEY_MUTE,    KEY_MICMUTE, KEY_VOLUMEDOWN, KEY_VOLUMEUP,
    };
    for (int code = 0; code <= KEY_MAX; ++code) {
        EXPECT_EQ(IsMachineKey(static_cast<KeyCode>(code)), machines.contains(code))
            << libevdev_event_code_get_name(EV_KEY, static_cast<unsigned>(code));
    }
}

TEST(KeyCodes, OfWhatAppleNeverHadAreNone) {
    for (const KeyCode code : {KEY_F21, KEY_F24, KEY_HENKAN, KEY_MUHENKAN, KEY_ZENKAKUHANKAKU,
                               KEY_PLAYPAUSE, KEY_WLAN, BTN_LEFT}) {
        EXPECT_FALSE(VirtualKeyOf(code)) << code;
    }
    EXPECT_FALSE(VirtualKeyOf(0xFFFF));
}

}  // namespace
}  // namespace kivo::test
