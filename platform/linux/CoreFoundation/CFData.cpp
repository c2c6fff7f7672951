#include <CoreFoundation/CFData.h>
#include <CoreFoundation/CFDataSeams.h>
#include <CoreFoundation/CFRuntime.h>

#include <algorithm>
#include <cstdio>
#include <utility>

/// Bytes, with what keeps them alive.
struct __CFData final : public kivo::CFObject {
  public:
    __CFData(std::span<const UInt8> bytes, std::shared_ptr<const void> owner)
        : mBytes(bytes), mOwner(std::move(owner)) {}

    CFTypeID TypeID() const override { return CFDataGetTypeID(); }
    bool Equal(const CFObject& other) const override {
        return std::ranges::equal(mBytes, static_cast<const __CFData&>(other).mBytes);
    }
    CFHashCode Hash() const override;
    std::string Description() const override;

    std::span<const UInt8> Bytes() const { return mBytes; }

  private:
    std::span<const UInt8> mBytes;
    std::shared_ptr<const void> mOwner;
};

CFHashCode __CFData::Hash() const {
    // The start tells most data apart; hashing megabytes would not pay.
    constexpr size_t kHashedBytes = 80;
    const auto start = mBytes.first(std::min(mBytes.size(), kHashedBytes));
    CFHashCode hash = mBytes.size();
    for (const UInt8 byte : start)
        hash = hash * 31 + byte;
    return hash;
}

std::string __CFData::Description() const {
    std::string text = "<";
    for (const UInt8 byte : mBytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(byte));
        text += digits;
    }
    return text + ">";
}

namespace kivo {

CFDataRef CreateDataWithoutCopy(std::span<const UInt8> bytes, std::shared_ptr<const void> owner) {
    return new __CFData(bytes, std::move(owner));
}

}  // namespace kivo

CFTypeID CFDataGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("CFData");
    return id;
}

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length) {
    if (length < 0) return nullptr;
    const auto count = static_cast<size_t>(length);
    std::shared_ptr<UInt8[]> copy = std::make_shared_for_overwrite<UInt8[]>(count);
    std::copy_n(bytes, count, copy.get());
    return kivo::CreateDataWithoutCopy({copy.get(), count}, copy);
}

CFDataRef CFDataCreateCopy(CFAllocatorRef, CFDataRef theData) {
    return CFDataCreate(kCFAllocatorDefault, CFDataGetBytePtr(theData), CFDataGetLength(theData));
}

CFIndex CFDataGetLength(CFDataRef theData) {
    return static_cast<CFIndex>(theData->Bytes().size());
}

const UInt8* CFDataGetBytePtr(CFDataRef theData) {
    return theData->Bytes().data();
}

void CFDataGetBytes(CFDataRef theData, CFRange range, UInt8* buffer) {
    const CFIndex length = CFDataGetLength(theData);
    if (range.location < 0 || range.length < 0 || range.location > length - range.length)
        __builtin_trap();
    std::copy_n(CFDataGetBytePtr(theData) + range.location, range.length, buffer);
}
