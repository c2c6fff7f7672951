#pragma once

#include <array>
#include <cstdint>

#include "keyboard/KeyCodes.h"

namespace kivo::keyboard {

/// Which modifiers are held, in the bits of the platform's event flags (Apple's CGEventTypes.h and
/// IOKit's IOLLEvent.h): one bit a modifier and one a side. Caps Lock is no held key but a state.
class ModifierFlags {
  public:
    /// Whether the key is a modifier: it is never asked about and only changes the flags.
    static bool IsModifier(KeyCode code);

    /// Counts, so that a modifier held on two keyboards stays until both let go. Other keys than
    /// modifiers change nothing.
    void Press(KeyCode code);
    void Release(KeyCode code);
    void SetCapsLock(bool isOn) { mCapsLock = isOn; }
    bool CapsLock() const { return mCapsLock; }

    /// What an event carries now. The bit for "not coalesced", 0x100, is always there, as in the
    /// events of a keyboard on macOS.
    std::uint64_t Flags() const;

  private:
    static constexpr std::size_t kModifiers = 9;
    std::array<int, kModifiers> mHeld{};
    bool mCapsLock = false;
};

}  // namespace kivo::keyboard
