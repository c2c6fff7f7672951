#pragma once

#include <string>

#include "ZYNCommon/LittleEndian.h"

/// A payload that writes itself into a buffer of its own and reads itself from received bytes.
///
/// The message code travels beside the payload, which carries no code, tag, version or length. Its
/// fields follow one another without gaps: numbers as 32-bit little-endian values whatever their
/// width in memory, booleans as 0 or 1 (any other value reads as true), signed values as their
/// two's complement, byte strings with a terminating 0 and no length, UTF-16 text as units with
/// the low byte first and no terminator, its count being a field of its own.
///
/// Specs live within one call on one thread. They cannot be copied: some own heap arrays.
struct SMessageSpec {
    SMessageSpec() = default;
    SMessageSpec(const SMessageSpec&) = delete;
    SMessageSpec& operator=(const SMessageSpec&) = delete;
    virtual ~SMessageSpec();

    /// Writes the payload into a buffer of its own and returns that; null when there is no serial
    /// form. The buffer stays valid until the object is serialised again or destroyed.
    virtual unsigned char* Serialize() = 0;
    /// Reads the payload, which must be complete: `kivo::PayloadIsComplete` is the check.
    virtual void Deserialize(const unsigned char* src) = 0;
    /// How many bytes of the buffer are to be sent.
    virtual unsigned int SerialBufferSize();

    // The field codec. Each helper returns the number of bytes that it wrote or consumed.

    unsigned int SerializeField(unsigned int value, unsigned char* dst) {
        kivo::StoreNumber(value, dst);
        return 4;
    }

    unsigned int DeserializeField(const unsigned char* src, unsigned int* value) {
        *value = kivo::LoadNumber(src);
        return 4;
    }

    /// All bytes of `text`, 0 bytes among them included, then a terminating 0.
    unsigned int SerializeStringField(std::string& text, unsigned char* dst);
    /// `text` up to and including its terminating 0.
    unsigned int SerializeStringField(char* text, unsigned char* dst);
    /// `count` UTF-16 units, neither their count nor a terminator.
    unsigned int SerializeStringField(unsigned short* chars, unsigned int count,
                                      unsigned char* dst) {
        kivo::StoreUnits(chars, count, dst);
        return 2 * count;
    }

    /// The bytes up to the first 0.
    unsigned int DeserializeStringField(const unsigned char* src, std::string& text);
    /// The bytes up to and including the first 0; `text` must have room for them.
    unsigned int DeserializeStringField(const unsigned char* src, char* text);
    /// `count` UTF-16 units; no terminator is appended.
    unsigned int DeserializeStringField(const unsigned char* src, unsigned short* chars,
                                        unsigned int count) {
        kivo::LoadUnits(src, chars, count);
        return 2 * count;
    }

    /// Length of the serialised payload, set by each concrete spec; unused by the specs that
    /// override SerialBufferSize.
    unsigned int serialBufferSize = 0;
};
