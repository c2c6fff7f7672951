#include "keyboard/KeyCodes.h"

#include <linux/input-event-codes.h>

#include <array>

namespace kivo::keyboard {
namespace {

struct Row {
    KeyCode code;
    VirtualKey key;
};

constexpr std::uint64_t kPad = kFlagKeypad;
constexpr std::uint64_t kFn = kFlagFunction;

// clang-format off
constexpr Row kRows[] = {
    {KEY_GRAVE, {0x32}}, {KEY_1, {0x12}}, {KEY_2, {0x13}}, {KEY_3, {0x14}}, {KEY_4, {0x15}},
    {KEY_5, {0x17}}, {KEY_6, {0x16}}, {KEY_7, {0x1A}}, {KEY_8, {0x1C}}, {KEY_9, {0x19}},
    {KEY_0, {0x1D}}, {KEY_MINUS, {0x1B}}, {KEY_EQUAL, {0x18}}, {KEY_BACKSPACE, {0x33}},

    {KEY_TAB, {0x30}}, {KEY_Q, {0x0C}}, {KEY_W, {0x0D}}, {KEY_E, {0x0E}}, {KEY_R, {0x0F}},
    {KEY_T, {0x11}}, {KEY_Y, {0x10}}, {KEY_U, {0x20}}, {KEY_I, {0x22}}, {KEY_O, {0x1F}},
    {KEY_P, {0x23}}, {KEY_LEFTBRACE, {0x21}}, {KEY_RIGHTBRACE, {0x1E}}, {KEY_BACKSLASH, {0x2A}},

    {KEY_A, {0x00}}, {KEY_S, {0x01}}, {KEY_D, {0x02}}, {KEY_F, {0x03}}, {KEY_G, {0x05}},
    {KEY_H, {0x04}}, {KEY_J, {0x26}}, {KEY_K, {0x28}}, {KEY_L, {0x25}}, {KEY_SEMICOLON, {0x29}},
    {KEY_APOSTROPHE, {0x27}}, {KEY_ENTER, {0x24}},

    {KEY_102ND, {0x0A}}, {KEY_Z, {0x06}}, {KEY_X, {0x07}}, {KEY_C, {0x08}}, {KEY_V, {0x09}},
    {KEY_B, {0x0B}}, {KEY_N, {0x2D}}, {KEY_M, {0x2E}}, {KEY_COMMA, {0x2B}}, {KEY_DOT, {0x2F}},
    {KEY_SLASH, {0x2C}}, {KEY_SPACE, {0x31}}, {KEY_COMPOSE, {0x6E}},

    {KEY_LEFTSHIFT, {0x38}}, {KEY_RIGHTSHIFT, {0x3C}}, {KEY_LEFTCTRL, {0x3B}},
    {KEY_RIGHTCTRL, {0x3E}}, {KEY_LEFTALT, {0x3A}}, {KEY_RIGHTALT, {0x3D}},
    {KEY_LEFTMETA, {0x37}}, {KEY_RIGHTMETA, {0x36}}, {KEY_CAPSLOCK, {0x39}}, {KEY_FN, {0x3F}},

    {KEY_ESC, {0x35}}, {KEY_F1, {0x7A, kFn}}, {KEY_F2, {0x78, kFn}}, {KEY_F3, {0x63, kFn}},
    {KEY_F4, {0x76, kFn}}, {KEY_F5, {0x60, kFn}}, {KEY_F6, {0x61, kFn}}, {KEY_F7, {0x62, kFn}},
    {KEY_F8, {0x64, kFn}}, {KEY_F9, {0x65, kFn}}, {KEY_F10, {0x6D, kFn}}, {KEY_F11, {0x67, kFn}},
    {KEY_F12, {0x6F, kFn}}, {KEY_F13, {0x69, kFn}}, {KEY_F14, {0x6B, kFn}}, {KEY_F15, {0x71, kFn}},
    {KEY_F16, {0x6A, kFn}}, {KEY_F17, {0x40, kFn}}, {KEY_F18, {0x4F, kFn}}, {KEY_F19, {0x50, kFn}},
    {KEY_F20, {0x5A, kFn}},

    // Where PC keyboards have these three, Apple's have F13 to F15.
    {KEY_SYSRQ, {0x69, kFn}}, {KEY_PRINT, {0x69, kFn}}, {KEY_SCROLLLOCK, {0x6B, kFn}},
    {KEY_PAUSE, {0x71, kFn}},

    // Insert sits where Apple's keyboards have Help.
    {KEY_INSERT, {0x72, kFn}}, {KEY_HELP, {0x72, kFn}}, {KEY_HOME, {0x73, kFn}},
    {KEY_PAGEUP, {0x74, kFn}}, {KEY_DELETE, {0x75, kFn}}, {KEY_END, {0x77, kFn}},
    {KEY_PAGEDOWN, {0x79, kFn}}, {KEY_LEFT, {0x7B, kPad | kFn}}, {KEY_RIGHT, {0x7C, kPad | kFn}},
    {KEY_DOWN, {0x7D, kPad | kFn}}, {KEY_UP, {0x7E, kPad | kFn}},

    // Num Lock sits where Apple's keyboards have Clear.
    {KEY_NUMLOCK, {0x47, kPad}}, {KEY_KPEQUAL, {0x51, kPad}}, {KEY_KPSLASH, {0x4B, kPad}},
    {KEY_KPASTERISK, {0x43, kPad}}, {KEY_KPMINUS, {0x4E, kPad}}, {KEY_KPPLUS, {0x45, kPad}},
    {KEY_KPENTER, {0x4C, kPad}}, {KEY_KPDOT, {0x41, kPad}}, {KEY_KPCOMMA, {0x5F, kPad}},
    {KEY_KPJPCOMMA, {0x5F, kPad}}, {KEY_KP0, {0x52, kPad}}, {KEY_KP1, {0x53, kPad}},
    {KEY_KP2, {0x54, kPad}}, {KEY_KP3, {0x55, kPad}}, {KEY_KP4, {0x56, kPad}},
    {KEY_KP5, {0x57, kPad}}, {KEY_KP6, {0x58, kPad}}, {KEY_KP7, {0x59, kPad}},
    {KEY_KP8, {0x5B, kPad}}, {KEY_KP9, {0x5C, kPad}},

    // Japanese and Korean keyboards.
    {KEY_YEN, {0x5D}}, {KEY_RO, {0x5E}}, {KEY_HANJA, {0x66}}, {KEY_HANGEUL, {0x68}},

    {KEY_VOLUMEUP, {0x48}}, {KEY_VOLUMEDOWN, {0x49}}, {KEY_MUTE, {0x4A}}, {KEY_POWER, {0x7F}},
};
// clang-format on

struct Entry {
    VirtualKey key;
    bool isThere = false;
};

constexpr auto kTable = [] {
    std::array<Entry, KEY_FN + 1> table{};
    for (const Row& row : kRows) {
        table[row.code] = {row.key, true};
    }
    return table;
}();

}  // namespace

std::optional<VirtualKey> VirtualKeyOf(KeyCode code) {
    if (code >= kTable.size() || !kTable[code].isThere) return std::nullopt;
    return kTable[code].key;
}

bool IsMachineKey(KeyCode code) {
    switch (code) {
        case KEY_POWER:
        case KEY_POWER2:
        case KEY_SLEEP:
        case KEY_SUSPEND:
        case KEY_WAKEUP:
        case KEY_WLAN:
        case KEY_BLUETOOTH:
        case KEY_UWB:
        case KEY_WWAN:
        case KEY_RFKILL:
        case KEY_MUTE:
        case KEY_MICMUTE:
        case KEY_VOLUMEDOWN:
        case KEY_VOLUMEUP:
            return true;
        default:
            return false;
    }
}

}  // namespace kivo::keyboard
