#include <CoreFoundation/BinaryPropertyList.h>
#include <CoreFoundation/CFStringSeams.h>
#include <CoreFoundation/PropertyListLimits.h>

#include <algorithm>
#include <bit>
#include <optional>
#include <vector>

namespace kivo {

namespace {

using Bytes = std::span<const UInt8>;
using Object = CFRef<CFPropertyListRef>;

/// The upper half of an object's first byte; the lower tells its size. The layout is described in
/// Apple's open CFBinaryPList.c: a header, objects, a table of their offsets, a trailer of 32
/// bytes.
enum class Kind : UInt8 {
    kSimple = 0x0,
    kInteger = 0x1,
    kReal = 0x2,
    kDate = 0x3,
    kData = 0x4,
    kASCII = 0x5,
    kUTF16 = 0x6,
    kArray = 0xA,
    kDictionary = 0xD
};

/// What an object comes to with all that it holds.
struct Extent {
    size_t objectCount = 1;
    size_t height = 0;
};

/// Reads each object once, however often it is named.
class Reader {
  public:
    explicit Reader(Bytes bytes) : mBytes(bytes) {}

    Object ReadTop();

  private:
    enum class State { kUnread, kOpen, kRead };
    struct Place {
        size_t offset = 0;
        State state = State::kUnread;
        Object object;
        Extent extent;
    };
    /// The content of an object behind its first byte.
    struct Content {
        size_t offset;
        size_t count;
    };

    bool ReadLayout();
    std::optional<UInt64> Number(size_t offset, size_t size) const;
    std::optional<Bytes> Part(const Content& content, size_t unitSize = 1) const;
    std::optional<size_t> Count(size_t low, size_t& offset) const;

    /// The object at a place of the table; null when it is broken or goes beyond a limit.
    const Place* Read(size_t index, size_t depth);
    Object ReadKind(Kind kind, size_t low, size_t offset, Place& place, size_t depth);
    Object ReadInteger(size_t offset, size_t low) const;
    Object ReadReal(size_t offset, size_t low) const;
    Object ReadDate(size_t offset) const;
    Object ReadString(const Content& content, CFStringEncoding encoding, size_t unitSize) const;
    Object ReadData(const Content& content) const;
    Object ReadArray(const Content& content, Place& place, size_t depth);
    Object ReadDictionary(const Content& content, Place& place, size_t depth);
    const Place* ReadMember(const Content& content, size_t index, Place& holder, size_t depth);

    Bytes mBytes;
    size_t mReferenceSize = 0;
    size_t mTop = 0;
    std::vector<Place> mPlaces;
};

Object Adopted(CFPropertyListRef object) {
    return Adopt(object);
}

std::optional<UInt64> Reader::Number(size_t offset, size_t size) const {
    const bool isInside = offset <= mBytes.size() && size <= mBytes.size() - offset;
    if (size == 0 || size > sizeof(UInt64) || !isInside) return std::nullopt;
    UInt64 value = 0;
    for (const UInt8 byte : mBytes.subspan(offset, size))
        value = value << 8 | byte;
    return value;
}

std::optional<Bytes> Reader::Part(const Content& content, size_t unitSize) const {
    if (content.offset > mBytes.size()) return std::nullopt;
    if (content.count > (mBytes.size() - content.offset) / unitSize) return std::nullopt;
    return mBytes.subspan(content.offset, content.count * unitSize);
}

/// Reads trailer and table.
bool Reader::ReadLayout() {
    constexpr size_t kTrailerSize = 32;
    if (mBytes.size() < kTrailerSize) return false;
    const size_t trailer = mBytes.size() - kTrailerSize;
    const size_t offsetSize = mBytes[trailer + 6];
    mReferenceSize = mBytes[trailer + 7];
    const UInt64 objectCount = *Number(trailer + 8, 8);
    mTop = *Number(trailer + 16, 8);
    const UInt64 table = *Number(trailer + 24, 8);
    if (offsetSize == 0 || mReferenceSize == 0 || table > trailer) return false;
    if (objectCount > (trailer - table) / offsetSize) return false;
    if (objectCount > kMostPropertyListObjects || mTop >= objectCount) return false;
    mPlaces.resize(objectCount);
    for (size_t i = 0; i < objectCount; ++i) {
        const std::optional<UInt64> offset = Number(table + i * offsetSize, offsetSize);
        if (!offset) return false;
        mPlaces[i].offset = *offset;
    }
    // No object reaches into the table.
    mBytes = mBytes.first(table);
    return true;
}

Object Reader::ReadTop() {
    if (!ReadLayout()) return {};
    const Place* top = Read(mTop, 0);
    return top != nullptr ? top->object : Object();
}

const Reader::Place* Reader::Read(size_t index, size_t depth) {
    if (index >= mPlaces.size()) return nullptr;
    Place& place = mPlaces[index];
    if (place.state == State::kRead) return &place;
    // An object that is still open holds itself.
    if (place.state == State::kOpen || depth > kDeepestPropertyList) return nullptr;
    place.state = State::kOpen;
    const std::optional<UInt64> marker = Number(place.offset, 1);
    if (!marker) return nullptr;
    place.object =
        ReadKind(static_cast<Kind>(*marker >> 4), *marker & 0xF, place.offset + 1, place, depth);
    if (!place.object) return nullptr;
    place.state = State::kRead;
    return &place;
}

Object Reader::ReadKind(Kind kind, size_t low, size_t offset, Place& place, size_t depth) {
    constexpr size_t kFalse = 8;
    constexpr size_t kTrue = 9;
    switch (kind) {
        case Kind::kSimple:
            if (low != kFalse && low != kTrue) return {};
            return Retain(CFPropertyListRef{low == kTrue ? kCFBooleanTrue : kCFBooleanFalse});
        case Kind::kInteger:
            return ReadInteger(offset, low);
        case Kind::kReal:
            return ReadReal(offset, low);
        case Kind::kDate:
            return ReadDate(offset);
        default:
            break;
    }
    const std::optional<size_t> count = Count(low, offset);
    if (!count) return {};
    const Content content = {offset, *count};
    switch (kind) {
        case Kind::kData:
            return ReadData(content);
        case Kind::kASCII:
            return ReadString(content, kCFStringEncodingASCII, 1);
        case Kind::kUTF16:
            return ReadString(content, kCFStringEncodingUTF16BE, 2);
        case Kind::kArray:
            return ReadArray(content, place, depth);
        case Kind::kDictionary:
            return ReadDictionary(content, place, depth);
        default:
            return {};
    }
}

/// The count in the lower half of the first byte, or in an integer behind it, which is passed over.
std::optional<size_t> Reader::Count(size_t low, size_t& offset) const {
    constexpr size_t kInInteger = 0xF;
    if (low != kInInteger) return low;
    const std::optional<UInt64> marker = Number(offset, 1);
    if (!marker || static_cast<Kind>(*marker >> 4) != Kind::kInteger) return std::nullopt;
    const size_t size = size_t{1} << (*marker & 0xF);
    const std::optional<UInt64> count = Number(offset + 1, size);
    offset += 1 + size;
    return count;
}

Object Reader::ReadInteger(size_t offset, size_t low) const {
    // One, two and four bytes are without sign, eight with; sixteen hold what eight cannot.
    const std::optional<UInt64> value = low <= 3 ? Number(offset, size_t{1} << low) : std::nullopt;
    if (!value) return {};
    return Adopted(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &*value));
}

Object Reader::ReadReal(size_t offset, size_t low) const {
    constexpr size_t kFloat = 2;
    constexpr size_t kDouble = 3;
    if (low != kFloat && low != kDouble) return {};
    const std::optional<UInt64> bits = Number(offset, size_t{1} << low);
    if (!bits) return {};
    const double value = low == kDouble ? std::bit_cast<double>(*bits)
                                        : std::bit_cast<float>(static_cast<UInt32>(*bits));
    return Adopted(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &value));
}

Object Reader::ReadDate(size_t offset) const {
    const std::optional<UInt64> bits = Number(offset, 8);
    if (!bits) return {};
    return Adopted(CFDateCreate(kCFAllocatorDefault, std::bit_cast<double>(*bits)));
}

Object Reader::ReadString(const Content& content, CFStringEncoding encoding,
                          size_t unitSize) const {
    const std::optional<Bytes> bytes = Part(content, unitSize);
    if (!bytes) return {};
    return Adopted(CFStringCreateWithBytes(kCFAllocatorDefault, bytes->data(), std::ssize(*bytes),
                                           encoding, false));
}

Object Reader::ReadData(const Content& content) const {
    const std::optional<Bytes> bytes = Part(content);
    if (!bytes) return {};
    return Adopted(CFDataCreate(kCFAllocatorDefault, bytes->data(), std::ssize(*bytes)));
}

/// Reads what a container names at an index of its references, and counts it in.
const Reader::Place* Reader::ReadMember(const Content& content, size_t index, Place& holder,
                                        size_t depth) {
    const auto reference = Number(content.offset + index * mReferenceSize, mReferenceSize);
    const Place* member = reference ? Read(*reference, depth + 1) : nullptr;
    if (member == nullptr) return nullptr;
    holder.extent.objectCount += member->extent.objectCount;
    holder.extent.height = std::max(holder.extent.height, member->extent.height + 1);
    const bool isTooMuch = holder.extent.objectCount > kMostPropertyListObjects ||
                           holder.extent.height > kDeepestPropertyList;
    return isTooMuch ? nullptr : member;
}

Object Reader::ReadArray(const Content& content, Place& place, size_t depth) {
    if (!Part(content, mReferenceSize)) return {};
    const auto array = Adopt(CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
    for (size_t i = 0; i < content.count; ++i) {
        const Place* member = ReadMember(content, i, place, depth);
        if (member == nullptr) return {};
        CFArrayAppendValue(array.Get(), member->object.Get());
    }
    return Retain(CFPropertyListRef{array.Get()});
}

/// All keys stand before all values.
Object Reader::ReadDictionary(const Content& content, Place& place, size_t depth) {
    if (!Part(content, 2 * mReferenceSize)) return {};
    const auto dictionary = Adopt(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    for (size_t i = 0; i < content.count; ++i) {
        const Place* key = ReadMember(content, i, place, depth);
        if (key == nullptr || CFGetTypeID(key->object.Get()) != CFStringGetTypeID()) return {};
        const Place* value = ReadMember(content, content.count + i, place, depth);
        if (value == nullptr) return {};
        CFDictionarySetValue(dictionary.Get(), key->object.Get(), value->object.Get());
    }
    return Retain(CFPropertyListRef{dictionary.Get()});
}

}  // namespace

Object ReadBinaryPropertyList(Bytes bytes) {
    return Reader(bytes).ReadTop();
}

}  // namespace kivo
