#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <optional>
#include <set>
#include <span>
#include <string_view>
#include <vector>

namespace kivo::ctl {

/// A key press or release that the daemon holds until the control center has decided on it.
struct KeyEvent {
    UInt16 keyCode;  ///< Virtual key code: a place on the keyboard, whatever the layout.
    UInt64 flags;    ///< Modifier flags, as the platform's events carry them.
    bool isDown;
};

/// Reads the 24-byte record of 'eETC'; nothing when it is shorter.
std::optional<KeyEvent> ReadKeyEvent(std::span<const UInt8> payload);

/// The name of the key at that place on a US keyboard, or "key" when it has none.
std::string_view KeyName(UInt16 keyCode);

/// The names of the modifiers that are held.
std::vector<std::string_view> ModifierNames(UInt64 flags);

/// Which keys are kept from the applications.
class SwallowRule {
  public:
    /// Swallows nothing.
    SwallowRule() = default;
    /// Reads "all", "none" or a list of names and codes of keys such as "F1,0x24,53". Throws
    /// UsageFailure.
    static SwallowRule Parse(std::string_view text);

    bool Swallows(const KeyEvent& event) const { return mAll || mCodes.contains(event.keyCode); }

  private:
    bool mAll = false;
    std::set<UInt16> mCodes;
};

}  // namespace kivo::ctl
