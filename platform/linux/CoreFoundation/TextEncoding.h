#pragma once

// Inside of the layer only, never installed: between bytes in an encoding and UTF-16 units.

#include <CoreFoundation/CFString.h>

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kivo {

/// Whether the encoding is one that this layer converts.
bool IsKnownEncoding(CFStringEncoding encoding);

/// The text of bytes; none when they are not valid in the encoding. A byte order mark in front of
/// UTF-8 or UTF-16 is dropped. `isExternal`: UTF-16 without one is big-endian.
std::optional<std::u16string> DecodeText(std::span<const UInt8> bytes, CFStringEncoding encoding,
                                         bool isExternal);

/// The text of UTF-8 bytes, with U+FFFD for what is not valid.
std::u16string DecodeUtf8Leniently(std::string_view bytes);

/// UTF-8, with U+FFFD for an unpaired surrogate.
std::string EncodeUtf8Leniently(std::u16string_view units);

/// One step of a conversion to bytes.
struct EncodedCharacter {
    /// Units taken up; none when they have no place in the encoding.
    size_t unitCount = 0;
    size_t byteCount = 0;
    std::array<UInt8, 4> bytes{};
};

/// Converts the first character of `units`, which are not empty. In MacRoman that is a base letter
/// together with its combining marks where the encoding has the composed letter.
EncodedCharacter EncodeFirst(std::u16string_view units, CFStringEncoding encoding);

}  // namespace kivo
