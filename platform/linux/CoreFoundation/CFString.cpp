#include <CoreFoundation/CFString.h>
#include <CoreFoundation/CFStringSeams.h>
#include <CoreFoundation/TextEncoding.h>

#include <cstring>
#include <map>
#include <mutex>

using kivo::EncodedCharacter;

static_assert(sizeof(UniChar) == sizeof(char16_t));

__CFString::__CFString(std::u16string_view units)
    : mOwnUnits(std::make_unique_for_overwrite<char16_t[]>(units.size())),
      mUnits(mOwnUnits.get(), units.size()),
      mIsASCII(AllASCII(units)) {
    std::copy(units.begin(), units.end(), mOwnUnits.get());
}

bool __CFString::Equal(const CFObject& other) const {
    return mUnits == static_cast<const __CFString&>(other).mUnits;
}

CFHashCode __CFString::Hash() const {
    return std::hash<std::u16string_view>()(mUnits);
}

std::string __CFString::Description() const {
    return kivo::EncodeUtf8Leniently(mUnits);
}

namespace {

/// The units of a range, which must be inside the string: as on the platform, there is no way on
/// from a range that is not.
std::u16string_view UnitsIn(CFStringRef string, CFRange range) {
    const auto length = static_cast<CFIndex>(string->Units().size());
    if (range.location < 0 || range.length < 0 || range.location > length - range.length)
        __builtin_trap();
    return string->Units().substr(static_cast<size_t>(range.location),
                                  static_cast<size_t>(range.length));
}

/// The bytes of a conversion so far, within a limit; without a buffer they are only counted.
class ByteWriter {
  public:
    ByteWriter(UInt8* buffer, size_t limit) : mBuffer(buffer), mLimit(limit) {}

    bool Append(std::span<const UInt8> bytes) {
        if (mBuffer != nullptr) {
            if (bytes.size() > mLimit - mCount) return false;
            std::copy(bytes.begin(), bytes.end(), mBuffer + mCount);
        }
        mCount += bytes.size();
        return true;
    }
    size_t Count() const { return mCount; }

  private:
    UInt8* mBuffer;
    size_t mLimit;
    size_t mCount = 0;
};

/// Converts units until the writer is full or one has no place in the encoding; returns how many
/// were converted.
size_t Encode(std::u16string_view units, CFStringEncoding encoding, UInt8 lossByte,
              ByteWriter& writer) {
    size_t converted = 0;
    while (converted < units.size()) {
        EncodedCharacter encoded = kivo::EncodeFirst(units.substr(converted), encoding);
        if (encoded.unitCount == 0) {
            if (lossByte == 0) break;
            encoded = {1, 1, {lossByte}};
        }
        if (!writer.Append(std::span(encoded.bytes).first(encoded.byteCount))) break;
        converted += encoded.unitCount;
    }
    return converted;
}

}  // namespace

namespace kivo {

CFStringRef CreateString(std::u16string_view units) {
    return new __CFString(units);
}

CFStringRef CreateStringFromUtf8(std::string_view bytes) {
    return CreateString(DecodeUtf8Leniently(bytes));
}

std::string Utf8Of(CFStringRef string) {
    return EncodeUtf8Leniently(string->Units());
}

}  // namespace kivo

CFTypeID CFStringGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("CFString");
    return id;
}

CFStringRef __CFStringMakeConstantString(const char* cStr) {
    // Neither is ever destroyed: constants may be used until the very end of the process.
    static auto& lock = *new std::mutex;
    static auto& constants = *new std::map<std::string, CFStringRef, std::less<>>;

    const std::string_view text(cStr);
    const std::lock_guard guard(lock);
    const auto known = constants.find(text);
    if (known != constants.end()) return known->second;
    const auto* constant = new __CFString(kivo::DecodeUtf8Leniently(text));
    constant->MakeImmortal();
    constants.emplace(text, constant);
    return constant;
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef alloc, const char* cStr,
                                      CFStringEncoding encoding) {
    return CFStringCreateWithBytes(alloc, reinterpret_cast<const UInt8*>(cStr),
                                   static_cast<CFIndex>(std::strlen(cStr)), encoding, false);
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation) {
    if (numBytes < 0) return nullptr;
    const std::span text(bytes, static_cast<size_t>(numBytes));
    const auto units = kivo::DecodeText(text, encoding, isExternalRepresentation != 0);
    return units ? kivo::CreateString(*units) : nullptr;
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar* chars, CFIndex numChars) {
    if (numChars < 0) return nullptr;
    const auto* units = reinterpret_cast<const char16_t*>(chars);
    return kivo::CreateString({units, static_cast<size_t>(numChars)});
}

CFStringRef CFStringCreateCopy(CFAllocatorRef, CFStringRef theString) {
    CFRetain(theString);
    return theString;
}

CFStringRef CFStringCreateWithSubstring(CFAllocatorRef, CFStringRef str, CFRange range) {
    return kivo::CreateString(UnitsIn(str, range));
}

CFIndex CFStringGetLength(CFStringRef theString) {
    return static_cast<CFIndex>(theString->Units().size());
}

UniChar CFStringGetCharacterAtIndex(CFStringRef theString, CFIndex idx) {
    return UnitsIn(theString, CFRangeMake(idx, 1))[0];
}

void CFStringGetCharacters(CFStringRef theString, CFRange range, UniChar* buffer) {
    const std::u16string_view units = UnitsIn(theString, range);
    std::copy(units.begin(), units.end(), buffer);
}

Boolean CFStringGetCString(CFStringRef theString, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding) {
    if (bufferSize < 1) return false;
    const std::u16string_view units = theString->Units();
    ByteWriter writer(reinterpret_cast<UInt8*>(buffer), static_cast<size_t>(bufferSize) - 1);
    const bool isWhole = Encode(units, encoding, 0, writer) == units.size();
    buffer[isWhole ? writer.Count() : 0] = '\0';
    return isWhole;
}

const char* CFStringGetCStringPtr(CFStringRef, CFStringEncoding) {
    return nullptr;
}

CFIndex CFStringGetBytes(CFStringRef theString, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex maxBufLen, CFIndex* usedBufLen) {
    const std::u16string_view units = UnitsIn(theString, range);
    ByteWriter writer(buffer, maxBufLen < 0 ? 0 : static_cast<size_t>(maxBufLen));
    size_t converted = 0;
    const bool isMarked = isExternalRepresentation != 0 && encoding == kCFStringEncodingUTF16;
    const EncodedCharacter mark = kivo::EncodeFirst(u"\xFEFF", encoding);
    if (!isMarked || writer.Append(std::span(mark.bytes).first(mark.byteCount)))
        converted = Encode(units, encoding, lossByte, writer);
    if (usedBufLen != nullptr) *usedBufLen = static_cast<CFIndex>(writer.Count());
    return static_cast<CFIndex>(converted);
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
    if (!kivo::IsKnownEncoding(encoding)) return kCFNotFound;
    switch (encoding) {
        case kCFStringEncodingUTF8:
            return 3 * length;
        case kCFStringEncodingUTF16:
        case kCFStringEncodingUTF16BE:
        case kCFStringEncodingUTF16LE:
            return 2 * length;
        default:
            return length;
    }
}

CFStringEncoding CFStringGetSystemEncoding() {
    return kCFStringEncodingUTF8;
}
