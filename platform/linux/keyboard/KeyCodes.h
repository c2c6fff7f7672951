#pragma once

#include <cstdint>
#include <optional>

/// Which key is which: the kernel's numbers for keys, and the platform's.
namespace kivo::keyboard {

/// A key as the kernel numbers it, KEY_A and its kin of linux/input-event-codes.h.
using KeyCode = std::uint16_t;

/// A key as Apple's HIToolbox/Events.h numbers it: a place on the keyboard, whatever the layout.
struct VirtualKey {
    std::uint16_t code = 0;
    /// Bits that every event of this key carries, whatever modifiers are held: kFlagKeypad and
    /// kFlagFunction.
    std::uint64_t flags = 0;

    bool operator==(const VirtualKey&) const = default;
};

/// Keys of the numeric pad, and the arrows.
inline constexpr std::uint64_t kFlagKeypad = 0x200000;
/// Function keys, arrows and the keys around them, which Apple's keyboards once had on an fn layer.
inline constexpr std::uint64_t kFlagFunction = 0x800000;

/// The virtual key in the place of `code`; none for keys that Apple's keyboards never had.
///
/// Alt and the logo key go by what they do: Alt is Option, the logo key is Command. The key beside
/// the left Shift of European boards is 0x0A and the one left of "1" 0x32, as on boards that are
/// not Apple's.
std::optional<VirtualKey> VirtualKeyOf(KeyCode code);

/// Whether a key belongs to the machine rather than to the applications: power, sleep, radio, and
/// the volume. Nobody may hold these back, not even behind keys that are being held.
bool IsMachineKey(KeyCode code);

}  // namespace kivo::keyboard
