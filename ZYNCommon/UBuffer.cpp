#include "ZYNCommon/UBuffer.h"

#include <algorithm>

namespace kivo {
namespace {

/// Not at global scope, where the headers of macOS have one of that name.
unsigned short _OSSwapInt16(unsigned short x) {
    return static_cast<unsigned short>(x << 8 | x >> 8);
}

}  // namespace
}  // namespace kivo

void UToBuffer::StoreByte(unsigned char value, unsigned char* dst) {
    dst[0] = value;
}

void UToBuffer::StoreShort(unsigned short value, unsigned char* dst) {
    dst[0] = static_cast<unsigned char>(value >> 8);
    dst[1] = static_cast<unsigned char>(value);
}

void UToBuffer::StoreLong(unsigned int value, unsigned char* dst) {
    dst[0] = static_cast<unsigned char>(value >> 24);
    dst[1] = static_cast<unsigned char>(value >> 16);
    dst[2] = static_cast<unsigned char>(value >> 8);
    dst[3] = static_cast<unsigned char>(value);
}

unsigned char* UToBuffer::StorePStrAsCStr(const unsigned char* source, unsigned char* dst) {
    unsigned char* const end = std::copy_n(source + 1, source[0], dst);
    *end = 0;
    return end;
}

void UToBuffer::StoreBytes(unsigned char* src, unsigned int count, unsigned char* dst) {
    std::copy_n(src, count, dst);
}

unsigned char UFromBuffer::GetByte(unsigned char* src) {
    return src[0];
}

unsigned short UFromBuffer::GetShort(unsigned char* src) {
    return kivo::_OSSwapInt16(static_cast<unsigned short>(src[0] << 8 | src[1]));
}

unsigned int UFromBuffer::GetLong(unsigned char* src) {
    return static_cast<unsigned int>(src[0]) << 24 | static_cast<unsigned int>(src[1]) << 16 |
           static_cast<unsigned int>(src[2]) << 8 | src[3];
}

void UFromBuffer::GetBytes(unsigned char* src, unsigned char* dst, unsigned int count) {
    std::copy_n(src, count, dst);
}
