#pragma once

#include <CoreMIDI/CoreMIDI.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace kivo {

/// A name as it is compared: MacRoman, terminated and padded with NUL.
using MIDIName = std::array<char, 256>;

constexpr MIDIName PaddedMIDIName(std::string_view text) {
    MIDIName name{};
    std::copy(text.begin(), text.end(), name.begin());
    return name;
}

inline constexpr MIDIName kControllerDeviceName = PaddedMIDIName("Kivo");
inline constexpr MIDIName kControllerEntityName = PaddedMIDIName("Kivo MIDI");
inline constexpr MIDIName kEchoEntityName = PaddedMIDIName("Echo");

/// Names of so many characters or more are nobody's.
inline constexpr unsigned int kMIDINameLimit = 128;

/// Whether two NUL-terminated names are the same, every letter and its case, and shorter than
/// `limit`. Reads at most `limit` characters of each.
bool MIDINamesEqual(const char* wanted, const char* found, unsigned int limit);

/// Reads the name of a device, an entity or an endpoint. False, and an empty name, when it has none
/// or it cannot be written down as one.
bool ReadMIDIName(MIDIObjectRef object, MIDIName& name);

}  // namespace kivo
