#pragma once

#include <bit>
#include <cstddef>
#include <cstring>

/// Numbers and UTF-16 units between memory and the wire, where the low byte comes first.
namespace kivo {

inline constexpr bool kHostIsLittleEndian = std::endian::native == std::endian::little;

// The wire form on any host.

inline void StoreNumberByByte(unsigned int number, unsigned char* dst) {
    for (int i = 0; i < 4; ++i) {
        dst[i] = static_cast<unsigned char>(number >> 8 * i);
    }
}

inline unsigned int LoadNumberByByte(const unsigned char* src) {
    return src[0] | static_cast<unsigned int>(src[1]) << 8 |
           static_cast<unsigned int>(src[2]) << 16 | static_cast<unsigned int>(src[3]) << 24;
}

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

// The same, in one copy where memory and wire agree: compilers do not merge the bytes by
// themselves.

inline void StoreNumber(unsigned int number, unsigned char* dst) {
    if constexpr (kHostIsLittleEndian) {
        std::memcpy(dst, &number, 4);
    } else {
        StoreNumberByByte(number, dst);
    }
}

inline unsigned int LoadNumber(const unsigned char* src) {
    if constexpr (kHostIsLittleEndian) {
        unsigned int number;
        std::memcpy(&number, src, 4);
        return number;
    } else {
        return LoadNumberByByte(src);
    }
}

inline void StoreUnits(const unsigned short* units, std::size_t count, unsigned char* dst) {
    if constexpr (kHostIsLittleEndian) {
        if (count != 0) std::memcpy(dst, units, 2 * count);
    } else {
        StoreUnitsByByte(units, count, dst);
    }
}

inline void LoadUnits(const unsigned char* src, unsigned short* units, std::size_t count) {
    if constexpr (kHostIsLittleEndian) {
        if (count != 0) std::memcpy(units, src, 2 * count);
    } else {
        LoadUnitsByByte(src, units, count);
    }
}

}  // namespace kivo
