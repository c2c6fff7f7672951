#pragma once

#include <bit>
#include <cstddef>
#include <cstring>

/// UTF-16 units between memory and the wire, where the low byte comes first.
namespace kivo {

/// The wire form on any host.
inline void StoreUnitsByByte(const unsigned short* units, std::size_t count, unsigned char* dst) {
    for (std::size_t i = 0; i < count; ++i) {
        dst[2 * i] = static_cast<unsigned char>(units[i]);
        dst[2 * i + 1] = static_cast<unsigned char>(units[i] >> 8);
    }
}

inline void LoadUnitsByByte(const unsigned char* src, unsigned short* units, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        units[i] = static_cast<unsigned short>(src[2 * i] | src[2 * i + 1] << 8);
    }
}

/// The same, in one copy where memory and wire agree.
inline void StoreUnits(const unsigned short* units, std::size_t count, unsigned char* dst) {
    if constexpr (std::endian::native == std::endian::little) {
        if (count != 0) std::memcpy(dst, units, 2 * count);
    } else {
        StoreUnitsByByte(units, count, dst);
    }
}

inline void LoadUnits(const unsigned char* src, unsigned short* units, std::size_t count) {
    if constexpr (std::endian::native == std::endian::little) {
        if (count != 0) std::memcpy(units, src, 2 * count);
    } else {
        LoadUnitsByByte(src, units, count);
    }
}

}  // namespace kivo
