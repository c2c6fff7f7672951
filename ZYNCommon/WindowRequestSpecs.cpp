#include "ZYNCommon/WindowRequestSpecs.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

#include "ZYNCommon/LittleEndian.h"
#include "ZYNCommon/Truncation.h"

namespace {

/// What a record takes on the wire at most, with both keys and both texts filled.
constexpr std::size_t kLargestRecord = 24 + kTargetWindowKeySize +
                                       2 * kTargetWindowTextUnits +  // up to its flag
                                       4 + kTargetWindowKeySize + 2 * kTargetWindowTextUnits;

/// The body that both classes use as their SerialBufferSize.
template <typename Spec>
unsigned int ReservedSize(const Spec& spec) {
    return spec.reservedSize;
}

/// Replaces a buffer that is too small. The members are open to change after construction, so the
/// room is tested anew whenever the payload is written.
std::size_t GrowBuffer(std::unique_ptr<unsigned char[]>& buffer, std::size_t room,
                       std::size_t needed) {
    if (needed <= room) return room;
    buffer = std::make_unique<unsigned char[]>(needed);
    return needed;
}

void CutKeyToField(char (&key)[kTargetWindowKeySize]) {
    if (std::memchr(key, 0, sizeof key) == nullptr) key[sizeof key - 1] = 0;
}

void CutCountToField(std::uint64_t& count) {
    count = std::min<std::uint64_t>(count, kTargetWindowTextUnits);
}

/// Makes sure that no string or text of a record reaches past its field.
void CutToFields(ZYN_Driver_TargetWindowInfo& info) {
    CutKeyToField(info.titleKey);
    CutCountToField(info.titleLength);
    if (info.hasAltTitle) {
        CutKeyToField(info.altTitle);
        CutCountToField(info.altTitleLength);
    }
}

unsigned int ToField(double value) {
    return static_cast<unsigned int>(kivo::TruncateToInt64(value));
}

double FromField(unsigned int field) {
    return static_cast<double>(static_cast<float>(field));
}

// Writing a record is mostly a matter of two dozen bytes here and there, where calls to strlen and
// memcpy cost more than what they do. The next two copy whole words and blocks instead and so touch
// up to 15 bytes more on both sides than the field has: in the record more room always follows, and
// on the wire the 20 bytes of the numbers do. They count on the low byte coming first.

/// Copies a key with its terminating 0 and returns its size with that.
unsigned int CopyKeyByWords(const char (&key)[kTargetWindowKeySize], unsigned char* dst) {
    constexpr std::uint64_t kLowBits = 0x0101010101010101;
    std::uint64_t word;
    for (unsigned int size = 0;; size += sizeof word) {
        std::memcpy(&word, key + size, sizeof word);
        std::memcpy(dst + size, &word, sizeof word);
        // The lowest bit set is the high bit of the first byte that is 0.
        const std::uint64_t zeros = (word - kLowBits) & ~word & (kLowBits << 7);
        if (zeros != 0) return size + static_cast<unsigned int>(std::countr_zero(zeros)) / 8 + 1;
    }
}

/// Copies units and returns their size in bytes.
unsigned int CopyTextByBlocks(const unsigned short* units, unsigned int count, unsigned char* dst) {
    constexpr unsigned int kBlock = 8;
    for (unsigned int i = 0; i < count; i += kBlock) {
        std::memcpy(dst + 2 * std::size_t{i}, units + i, 2 * kBlock);
    }
    return 2 * count;
}

[[gnu::always_inline]] inline unsigned char* WriteTitle(STargetWindowRequestSpec& spec,
                                                        ZYN_Driver_TargetWindowInfo& info,
                                                        unsigned char* dst) {
    const auto length = static_cast<unsigned int>(info.titleLength);
    if constexpr (kivo::kHostIsLittleEndian) {
        dst += CopyKeyByWords(info.titleKey, dst);
        dst += spec.SerializeField(length, dst);
        dst += CopyTextByBlocks(info.titleChars, length, dst);
    } else {
        dst += spec.SerializeStringField(info.titleKey, dst);
        dst += spec.SerializeField(length, dst);
        dst += spec.SerializeStringField(info.titleChars, length, dst);
    }
    return dst;
}

unsigned char* WriteAlternate(STargetWindowRequestSpec& spec, ZYN_Driver_TargetWindowInfo& info,
                              unsigned char* dst) {
    const auto length = static_cast<unsigned int>(info.altTitleLength);
    dst += spec.SerializeStringField(info.altTitle, dst);
    dst += spec.SerializeField(length, dst);
    dst += spec.SerializeStringField(info.altTitleChars, length, dst);
    return dst;
}

/// Writes a record and returns its end. Inlined into the loop over them, which gains a sixth.
[[gnu::always_inline]] inline unsigned char* WriteRecord(STargetWindowRequestSpec& spec,
                                                         ZYN_Driver_TargetWindowInfo& info,
                                                         unsigned char* dst) {
    dst = WriteTitle(spec, info, dst);
    dst += spec.SerializeField(ToField(info.auxValue1), dst);
    dst += spec.SerializeField(ToField(info.auxValue2), dst);
    dst += spec.SerializeField(info.auxByte, dst);
    dst += spec.SerializeField(info.auxFlag, dst);
    dst += spec.SerializeField(info.hasAltTitle, dst);
    return info.hasAltTitle ? WriteAlternate(spec, info, dst) : dst;
}

}  // namespace

SWindowRequestSpec::SWindowRequestSpec() = default;

SWindowRequestSpec::SWindowRequestSpec(std::string& wantedTitle, bool partial)
    : title(wantedTitle),
      partialMatch(partial),
      reservedSize(static_cast<unsigned int>(wantedTitle.size() + 5)),
      serialBuffer(std::make_unique<unsigned char[]>(reservedSize)) {}

unsigned char* SWindowRequestSpec::Serialize() {
    if (serialBuffer == nullptr) return nullptr;
    GrowBuffer(serialBuffer, reservedSize, title.size() + 5);
    unsigned char* dst = serialBuffer.get();
    dst += SerializeField(partialMatch, dst);
    SerializeStringField(title, dst);
    return serialBuffer.get();
}

void SWindowRequestSpec::Deserialize(const unsigned char* src) {
    unsigned int flag = 0;
    src += DeserializeField(src, &flag);
    partialMatch = flag != 0;
    DeserializeStringField(src, title);
}

unsigned int SWindowRequestSpec::SerialBufferSize() {
    return ReservedSize(*this);
}

STargetWindowRequestSpec::STargetWindowRequestSpec() = default;

STargetWindowRequestSpec::STargetWindowRequestSpec(ZYN_Driver_TargetWindowInfo* candidates,
                                                   unsigned int count)
    : records(new ZYN_Driver_TargetWindowInfo[count]), recordCount(count) {
    std::copy_n(candidates, count, records.get());
    std::for_each_n(records.get(), count, CutToFields);
    reservedSize = CalcReservedSize();
    mBufferRoom = std::max<std::size_t>(reservedSize, CalcWrittenSize());
    serialBuffer = std::make_unique<unsigned char[]>(mBufferRoom);
}

unsigned char* STargetWindowRequestSpec::Serialize() {
    if (mBufferRoom < 4 + std::size_t{recordCount} * kLargestRecord) {
        mBufferRoom = GrowBuffer(serialBuffer, mBufferRoom, CalcWrittenSize());
    }
    unsigned char* dst = serialBuffer.get();
    dst += SerializeField(recordCount, dst);
    for (unsigned int i = 0; i < recordCount; ++i) {
        dst = WriteRecord(*this, records[i], dst);
    }
    return serialBuffer.get();
}

void STargetWindowRequestSpec::Deserialize(const unsigned char* src) {
    unsigned int count = 0;
    src += DeserializeField(src, &count);
    // A record is 4.6 KiB of which a request fills a few dozen bytes, so the array is not cleared:
    // it is enough that an absent alternate part reads as the empty one.
    std::unique_ptr<ZYN_Driver_TargetWindowInfo[]> received(new ZYN_Driver_TargetWindowInfo[count]);
    for (unsigned int i = 0; i < count; ++i) {
        received[i].altTitle[0] = 0;
        received[i].altTitleLength = 0;
        src += DeserializeTargetInfoField(src, &received[i]);
    }
    records = std::move(received);
    recordCount = count;
}

unsigned int STargetWindowRequestSpec::SerialBufferSize() {
    return ReservedSize(*this);
}

unsigned int STargetWindowRequestSpec::CalcInfoFieldSize(ZYN_Driver_TargetWindowInfo* info) {
    auto size =
        static_cast<unsigned int>(24 + std::strlen(info->titleKey) + 1 + 2 * info->titleLength);
    if (info->hasAltTitle) size += static_cast<unsigned int>(4 + 2 * info->altTitleLength);
    return size;
}

unsigned int STargetWindowRequestSpec::CalcReservedSize() {
    unsigned int size = 4;
    unsigned int runningTotal = 0;
    for (unsigned int i = 0; i < recordCount; ++i) {
        runningTotal += CalcInfoFieldSize(&records[i]);
        size += runningTotal;
    }
    return size;
}

std::size_t STargetWindowRequestSpec::CalcWrittenSize() {
    std::size_t size = 4;
    for (unsigned int i = 0; i < recordCount; ++i) {
        size += CalcInfoFieldSize(&records[i]);
        if (records[i].hasAltTitle) size += std::strlen(records[i].altTitle) + 1;
    }
    return size;
}

unsigned int STargetWindowRequestSpec::SerializeTargetInfoField(ZYN_Driver_TargetWindowInfo* info,
                                                                unsigned char* dst) {
    return static_cast<unsigned int>(WriteRecord(*this, *info, dst) - dst);
}

unsigned int STargetWindowRequestSpec::DeserializeTargetInfoField(
    const unsigned char* src, ZYN_Driver_TargetWindowInfo* info) {
    const unsigned char* const start = src;
    const auto nextField = [this, &src] {
        unsigned int field = 0;
        src += DeserializeField(src, &field);
        return field;
    };
    src += DeserializeStringField(src, info->titleKey);
    const unsigned int titleLength = nextField();
    info->titleLength = titleLength;
    src += DeserializeStringField(src, info->titleChars, titleLength);
    info->auxValue1 = FromField(nextField());
    info->auxValue2 = FromField(nextField());
    info->auxByte = static_cast<unsigned char>(nextField());
    info->auxFlag = nextField() != 0;
    info->hasAltTitle = nextField() != 0;
    if (info->hasAltTitle) {
        src += DeserializeStringField(src, info->altTitle);
        const unsigned int altTitleLength = nextField();
        info->altTitleLength = altTitleLength;
        src += DeserializeStringField(src, info->altTitleChars, altTitleLength);
    }
    return static_cast<unsigned int>(src - start);
}
