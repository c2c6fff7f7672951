// Holds the table of key codes to a second one that others made: the X server's names of key
// positions (Debian's xkb-data), in its numbering for Linux and in that for the Macintosh of the
// days when keyboards were on the Apple Desktop Bus, whose codes the virtual key codes still are.

#include <gtest/gtest.h>
#include <libevdev/libevdev.h>

#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>

#include "keyboard/KeyCodes.h"

namespace kivo::test {
namespace {

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

/// Where the positions of the two are named by what Apple's key does there, not by our key's role.
const std::set<std::string> kNamedByRole = {"<LALT>", "<RALT>", "<LWIN>", "<RWIN>"};

/// On the bus the four arrows had codes below those of the function keys; the virtual key codes
/// moved them up, out of the way of the right-hand modifiers.
int VirtualCodeOfBusCode(int busCode) {
    return busCode >= 0x3B && busCode <= 0x3E ? busCode + 0x40 : busCode;
}
const std::set<std::string> kArrows = {"<UP>", "<DOWN>", "<LEFT>", "<RGHT>"};
/// The left Control was 0x36 on the bus.
const std::map<std::string, int> kMovedModifiers = {{"<LCTL>", 0x3B}};

TEST(KeyCodes, AgreeWithTheKeyNamesOfTheXServer) {
    const Keycodes linux = ReadSection("evdev", "evdev");
    const Keycodes bus = ReadSection("macintosh", "old");
    ASSERT_GT(linux.size(), 200u) << "needs Debian's xkb-data";
    int compared = 0;
    for (const auto& [name, busCode] : bus) {
        const auto same = linux.find(name);
        if (same == linux.end() || kNamedByRole.contains(name)) continue;
        int expected = kArrows.contains(name) ? VirtualCodeOfBusCode(busCode) : busCode;
        if (const auto moved = kMovedModifiers.find(name); moved != kMovedModifiers.end()) {
            expected = moved->second;
        }
        const auto key = VirtualKeyOf(static_cast<KeyCode>(same->second));
        ASSERT_TRUE(key) << name;
        EXPECT_EQ(key->code, expected) << name;
        ++compared;
    }
    EXPECT_GE(compared, 95);
}

/// What the Macintosh numbering of xkb-data lacks, by the names of the kernel and the numbers of
/// Apple's HIToolbox/Events.h.
const std::map<std::string, int> kNewerKeys = {
    {"KEY_LEFTALT", 0x3A},   {"KEY_RIGHTALT", 0x3D},  {"KEY_LEFTMETA", 0x37},
    {"KEY_RIGHTMETA", 0x36}, {"KEY_RIGHTCTRL", 0x3E}, {"KEY_RIGHTSHIFT", 0x3C},
    {"KEY_FN", 0x3F},        {"KEY_F13", 0x69},       {"KEY_F14", 0x6B},
    {"KEY_F15", 0x71},       {"KEY_F16", 0x6A},       {"KEY_F17", 0x40},
    {"KEY_F18", 0x4F},       {"KEY_F19", 0x50},       {"KEY_F20", 0x5A},
    {"KEY_PRINT", 0x69},     {"KEY_HELP", 0x72},      {"KEY_COMPOSE", 0x6E},
    {"KEY_YEN", 0x5D},       {"KEY_RO", 0x5E},        {"KEY_KPJPCOMMA", 0x5F},
    {"KEY_KPCOMMA", 0x5F},   {"KEY_HANJA", 0x66},     {"KEY_HANGEUL", 0x68},
    {"KEY_KPEQUAL", 0x51},   {"KEY_VOLUMEUP", 0x48},  {"KEY_VOLUMEDOWN", 0x49},
    {"KEY_MUTE", 0x4A},      {"KEY_POWER", 0x7F},
};

TEST(KeyCodes, OfNewerKeysAreApples) {
    for (const auto& [name, expected] : kNewerKeys) {
        const auto key =
            VirtualKeyOf(static_cast<KeyCode>(libevdev_event_code_from_name(EV_KEY, name.c_str())));
        ASSERT_TRUE(key) << name;
        EXPECT_EQ(key->code, expected) << name;
    }
}

TEST(KeyCodes, EveryKeyOfTheTableIsInOneOfTheTwoOthers) {
    std::set<int> known;
    const Keycodes linux = ReadSection("evdev", "evdev");
    for (const auto& [name, busCode] : ReadSection("macintosh", "old")) {
        if (const auto same = linux.find(name); same != linux.end()) known.insert(same->second);
    }
    for (const auto& [name, code] : kNewerKeys) {
        known.insert(libevdev_event_code_from_name(EV_KEY, name.c_str()));
    }
    for (int code = 0; code <= KEY_MAX; ++code) {
        EXPECT_EQ(VirtualKeyOf(static_cast<KeyCode>(code)).has_value(), known.contains(code))
            << libevdev_event_code_get_name(EV_KEY, static_cast<unsigned>(code));
    }
}

TEST(KeyCodes, CarryTheBitsOfTheirKind) {
    const auto flagsOf = [](KeyCode code) { return VirtualKeyOf(code)->flags; };
    for (const KeyCode arrow : {KEY_LEFT, KEY_RIGHT, KEY_UP, KEY_DOWN}) {
        EXPECT_EQ(flagsOf(arrow), kFlagKeypad | kFlagFunction);
    }
    for (const KeyCode pad : {KEY_KP0, KEY_KP9, KEY_KPENTER, KEY_KPDOT, KEY_NUMLOCK, KEY_KPPLUS}) {
        EXPECT_EQ(flagsOf(pad), kFlagKeypad);
    }
    for (const KeyCode other : {KEY_F1, KEY_F12, KEY_F20, KEY_HOME, KEY_END, KEY_PAGEUP,
                                KEY_PAGEDOWN, KEY_DELETE, KEY_INSERT, KEY_HELP}) {
        EXPECT_EQ(flagsOf(other), kFlagFunction);
    }
    for (const KeyCode plain : {KEY_A, KEY_1, KEY_SPACE, KEY_ENTER, KEY_ESC, KEY_BACKSPACE}) {
        EXPECT_EQ(flagsOf(plain), 0u);
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
