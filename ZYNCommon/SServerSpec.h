#pragma once

#include <memory>

#include "ZYNCommon/SMessageSpec.h"

/// A block of bytes with a value beside it, padded to an even length.
struct SServerSpec : SMessageSpec {
    SServerSpec();
    /// Copies `byteCount` bytes.
    SServerSpec(unsigned int value, unsigned int byteCount, unsigned char* bytes);
    /// Writes into a new buffer and releases the previous one.
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    unsigned int value = 0;
    unsigned int byteCount = 0;
    /// `paddedByteCount` bytes; the pad byte is 0.
    std::unique_ptr<unsigned char[]> bytes;
    std::unique_ptr<unsigned char[]> serialBuffer;
    /// `byteCount` rounded up to the next even number.
    unsigned int paddedByteCount = 0;

  private:
    void TakeBytes(unsigned int count, const unsigned char* src);
};
