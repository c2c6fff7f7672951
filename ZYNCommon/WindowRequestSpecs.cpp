#include "ZYNCommon/WindowRequestSpecs.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "ZYNCommon/Truncation.h"

namespace {

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
    : records(std::make_unique_for_overwrite<ZYN_Driver_TargetWindowInfo[]>(count)),
      recordCount(count) {
    std::copy_n(candidates, count, records.get());
    std::for_each_n(records.get(), count, CutToFields);
    reservedSize = CalcReservedSize();
    mBufferRoom = std::max<std::size_t>(reservedSize, CalcWrittenSize());
    serialBuffer = std::make_unique<unsigned char[]>(mBufferRoom);
}

unsigned char* STargetWindowRequestSpec::Serialize() {
    mBufferRoom = GrowBuffer(serialBuffer, mBufferRoom, CalcWrittenSize());
    unsigned char* dst = serialBuffer.get();
    dst += SerializeField(recordCount, dst);
    for (unsigned int i = 0; i < recordCount; ++i) {
        dst += SerializeTargetInfoField(&records[i], dst);
    }
    return serialBuffer.get();
}

void STargetWindowRequestSpec::Deserialize(const unsigned char* src) {
    unsigned int count = 0;
    src += DeserializeField(src, &count);
    // A record is 4.6 KiB of which a request fills a few dozen bytes, so the array is not cleared:
    // it is enough that an absent alternate part reads as the empty one.
    auto received = std::make_unique_for_overwrite<ZYN_Driver_TargetWindowInfo[]>(count);
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
    unsigned char* const start = dst;
    const auto titleLength = static_cast<unsigned int>(info->titleLength);
    dst += SerializeStringField(info->titleKey, dst);
    dst += SerializeField(titleLength, dst);
    dst += SerializeStringField(info->titleChars, titleLength, dst);
    dst += SerializeField(ToField(info->auxValue1), dst);
    dst += SerializeField(ToField(info->auxValue2), dst);
    dst += SerializeField(info->auxByte, dst);
    dst += SerializeField(info->auxFlag, dst);
    dst += SerializeField(info->hasAltTitle, dst);
    if (info->hasAltTitle) {
        const auto altTitleLength = static_cast<unsigned int>(info->altTitleLength);
        dst += SerializeStringField(info->altTitle, dst);
        dst += SerializeField(altTitleLength, dst);
        dst += SerializeStringField(info->altTitleChars, altTitleLength, dst);
    }
    return static_cast<unsigned int>(dst - start);
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
