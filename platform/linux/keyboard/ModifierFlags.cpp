#include "keyboard/ModifierFlags.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <iterator>

namespace kivo::keyboard {
namespace {

struct Modifier {
    KeyCode code;
    /// The modifier's bit together with that of its side.
    std::uint64_t bits;
};

constexpr Modifier kModifierKeys[] = {
    {KEY_LEFTSHIFT, 0x20000 | 0x2}, {KEY_RIGHTSHIFT, 0x20000 | 0x4},
    {KEY_LEFTCTRL, 0x40000 | 0x1},  {KEY_RIGHTCTRL, 0x40000 | 0x2000},
    {KEY_LEFTALT, 0x80000 | 0x20},  {KEY_RIGHTALT, 0x80000 | 0x40},
    {KEY_LEFTMETA, 0x100000 | 0x8}, {KEY_RIGHTMETA, 0x100000 | 0x10},
    {KEY_FN, kFlagFunction},
};
constexpr std::uint64_t kCapsLockBit = 0x10000;
constexpr std::uint64_t kNotCoalesced = 0x100;

const Modifier* Find(KeyCode code) {
    const auto* const found = std::find_if(std::begin(kModifierKeys), std::end(kModifierKeys),
                                           [&](const Modifier& one) { return one.code == code; });
    return found == std::end(kModifierKeys) ? nullptr : found;
}

}  // namespace

bool ModifierFlags::IsModifier(KeyCode code) {
    return code == KEY_CAPSLOCK || Find(code) != nullptr;
}

void ModifierFlags::Press(KeyCode code) {
    if (const Modifier* const modifier = Find(code)) ++mHeld[modifier - kModifierKeys];
}

void ModifierFlags::Release(KeyCode code) {
    const Modifier* const modifier = Find(code);
    if (modifier == nullptr) return;
    int& held = mHeld[modifier - kModifierKeys];
    held = std::max(held - 1, 0);
}

std::uint64_t ModifierFlags::Flags() const {
    static_assert(std::size(kModifierKeys) == kModifiers);
    std::uint64_t flags = kNotCoalesced | (mCapsLock ? kCapsLockBit : 0);
    for (std::size_t i = 0; i < kModifiers; ++i) {
        if (mHeld[i] > 0) flags |= kModifierKeys[i].bits;
    }
    return flags;
}

}  // namespace kivo::keyboard
