#pragma once

#include <CoreFoundation/CFBase.h>

#include <cstddef>

/// The payloads that are not message specs: bytes of a native value, or plain text.
namespace kivo {

/// What 'KiCt' and 'KiDC' carry, 'KIVB', as it lies in memory: 42 56 49 4B on a little-endian host.
inline constexpr UInt32 kIdentityCode = 0x4B495642;

/// The signature of an application that has none, '????'. It is never sent with 'KiFA'.
inline constexpr UInt32 kNoSignature = 0x3F3F3F3F;

/// Most bytes of a 'ZSLg' language name and of a 'KiFI' bundle identifier, terminating 0 included.
inline constexpr std::size_t kLanguageNameSize = 32;
inline constexpr std::size_t kBundleIdentifierSize = 128;

/// The reply to 'Stus': seven 32-bit values, big-endian, unlike all else on the ports.
inline constexpr std::size_t kStatusLongCount = 7;
inline constexpr std::size_t kStatusReplySize = 4 * kStatusLongCount;

/// What 'eETC' carries: one key event in the host's byte order and alignment. Padding is zero.
struct KeyEventRecord {
    UInt16 keyCode = 0;
    UInt8 padding1[6] = {};
    /// The modifier flags in the platform's own bits (CGEventFlags).
    UInt64 flags = 0;
    /// 1 for a key-down, 0 for anything else.
    UInt8 keyDown = 0;
    UInt8 padding2[7] = {};
};
static_assert(sizeof(KeyEventRecord) == 24);
static_assert(offsetof(KeyEventRecord, keyCode) == 0);
static_assert(offsetof(KeyEventRecord, flags) == 8);
static_assert(offsetof(KeyEventRecord, keyDown) == 16);

/// The bit of the reply to 'eETC' that lets the key through, and of 'eTap' that turns forwarding
/// on.
inline constexpr UInt8 kYesBit = 1;

}  // namespace kivo
