#include "ZYNCommon/SServerSpec.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr unsigned int kHeadSize = 8;

/// In full width, since the 32-bit members wrap for a count close to their largest.
std::size_t PaddedSize(unsigned int byteCount) {
    return std::size_t{byteCount} + byteCount % 2;
}

}  // namespace

SServerSpec::SServerSpec() {
    serialBufferSize = kHeadSize;
}

SServerSpec::SServerSpec(unsigned int blockValue, unsigned int count, unsigned char* block)
    : value(blockValue) {
    TakeBytes(count, block);
}

unsigned char* SServerSpec::Serialize() {
    serialBuffer = std::make_unique<unsigned char[]>(kHeadSize + PaddedSize(byteCount));
    unsigned char* dst = serialBuffer.get();
    dst += SerializeField(value, dst);
    dst += SerializeField(byteCount, dst);
    std::copy_n(bytes.get(), byteCount, dst);
    return serialBuffer.get();
}

void SServerSpec::Deserialize(const unsigned char* src) {
    unsigned int count = 0;
    src += DeserializeField(src, &value);
    src += DeserializeField(src, &count);
    TakeBytes(count, src);
}

void SServerSpec::TakeBytes(unsigned int count, const unsigned char* src) {
    byteCount = count;
    paddedByteCount = static_cast<unsigned int>(PaddedSize(count));
    serialBufferSize = paddedByteCount + kHeadSize;
    bytes = std::make_unique<unsigned char[]>(PaddedSize(count));
    std::copy_n(src, count, bytes.get());
}
