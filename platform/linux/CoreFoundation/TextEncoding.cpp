#include <CoreFoundation/TextEncoding.h>
#include <unicode/unorm2.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <bit>

namespace kivo {

namespace {

using Upper128 = std::array<char16_t, 128>;

/// Mac OS Roman from 0x80, after Apple's table ROMAN.TXT at unicode.org (with the euro sign and the
/// Apple logo at U+F8FF).
constexpr Upper128 kMacRoman = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3,
    0x00E5, 0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3,
    0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3,
    0x00A7, 0x2022, 0x00B6, 0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8,
    0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA,
    0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF, 0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB,
    0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5, 0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D,
    0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044, 0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1, 0x00CB, 0x00C8, 0x00CD, 0x00CE,
    0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC,
    0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7};

/// Windows-1252 from 0x80 to 0x9F, after Microsoft's table cp1252.txt at unicode.org; 0 where it
/// defines nothing. Above, it is Latin-1.
constexpr std::array<char16_t, 32> kWindowsLatin1 = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

constexpr char16_t kReplacement = 0xFFFD;
constexpr char16_t kByteOrderMark = 0xFEFF;
constexpr bool kHostIsBigEndian = std::endian::native == std::endian::big;

/// One character of UTF-8 as the Unicode standard's table 3-7 allows it.
struct DecodedCharacter {
    char32_t character;
    /// Bytes taken up; for invalid ones, those to be replaced by one U+FFFD.
    size_t byteCount;
    bool isValid;
};

struct LeadByte {
    size_t trailCount;
    char32_t bits;
    UInt8 firstTrailMin;
    UInt8 firstTrailMax;
};

std::optional<LeadByte> ClassifyLead(UInt8 byte) {
    if (byte >= 0xC2 && byte <= 0xDF) return LeadByte{1, byte & 0x1FU, 0x80, 0xBF};
    if (byte == 0xE0) return LeadByte{2, 0, 0xA0, 0xBF};
    if (byte == 0xED) return LeadByte{2, 0x0D, 0x80, 0x9F};
    if (byte >= 0xE1 && byte <= 0xEF) return LeadByte{2, byte & 0x0FU, 0x80, 0xBF};
    if (byte == 0xF0) return LeadByte{3, 0, 0x90, 0xBF};
    if (byte == 0xF4) return LeadByte{3, 4, 0x80, 0x8F};
    if (byte >= 0xF1 && byte <= 0xF3) return LeadByte{3, byte & 0x07U, 0x80, 0xBF};
    return std::nullopt;
}

DecodedCharacter DecodeFirstUtf8(std::span<const UInt8> bytes) {
    if (bytes[0] < 0x80) return {bytes[0], 1, true};
    const std::optional<LeadByte> lead = ClassifyLead(bytes[0]);
    if (!lead) return {kReplacement, 1, false};
    char32_t character = lead->bits;
    for (size_t i = 1; i <= lead->trailCount; ++i) {
        const UInt8 min = i == 1 ? lead->firstTrailMin : 0x80;
        const UInt8 max = i == 1 ? lead->firstTrailMax : 0xBF;
        if (i >= bytes.size() || bytes[i] < min || bytes[i] > max) return {kReplacement, i, false};
        character = (character << 6) | (bytes[i] & 0x3FU);
    }
    return {character, lead->trailCount + 1, true};
}

void AppendCharacter(std::u16string& text, char32_t character) {
    if (character < 0x10000) {
        text.push_back(static_cast<char16_t>(character));
        return;
    }
    text.push_back(static_cast<char16_t>(U16_LEAD(character)));
    text.push_back(static_cast<char16_t>(U16_TRAIL(character)));
}

std::optional<std::u16string> DecodeUtf8(std::span<const UInt8> bytes, bool isLenient) {
    std::u16string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const DecodedCharacter decoded = DecodeFirstUtf8(bytes);
        if (!decoded.isValid && !isLenient) return std::nullopt;
        AppendCharacter(text, decoded.character);
        bytes = bytes.subspan(decoded.byteCount);
    }
    return text;
}

std::span<const UInt8> WithoutUtf8Mark(std::span<const UInt8> bytes) {
    constexpr std::array<UInt8, 3> kMark = {0xEF, 0xBB, 0xBF};
    const bool isMarked =
        bytes.size() >= 3 && std::equal(kMark.begin(), kMark.end(), bytes.begin());
    return isMarked ? bytes.subspan(3) : bytes;
}

char16_t UnitAt(std::span<const UInt8> bytes, size_t index, bool isBigEndian) {
    const UInt8 first = bytes[2 * index];
    const UInt8 second = bytes[2 * index + 1];
    return static_cast<char16_t>(isBigEndian ? first << 8 | second : second << 8 | first);
}

std::optional<std::u16string> DecodeUtf16(std::span<const UInt8> bytes, CFStringEncoding encoding,
                                          bool isExternal) {
    if (bytes.size() % 2 != 0) return std::nullopt;
    bool isBigEndian = encoding == kCFStringEncodingUTF16BE;
    if (encoding == kCFStringEncodingUTF16) {
        isBigEndian = isExternal || kHostIsBigEndian;
        const bool isMarkedBig = !bytes.empty() && UnitAt(bytes, 0, true) == kByteOrderMark;
        const bool isMarkedLittle = !bytes.empty() && UnitAt(bytes, 0, false) == kByteOrderMark;
        if (isMarkedBig || isMarkedLittle) {
            isBigEndian = isMarkedBig;
            bytes = bytes.subspan(2);
        }
    }
    std::u16string text(bytes.size() / 2, u'\0');
    for (size_t i = 0; i < text.size(); ++i)
        text[i] = UnitAt(bytes, i, isBigEndian);
    return text;
}

/// The unit of a byte in one of the 8-bit encodings, or none.
std::optional<char16_t> UnitOfByte(UInt8 byte, CFStringEncoding encoding) {
    if (byte < 0x80) return byte;
    switch (encoding) {
        case kCFStringEncodingMacRoman:
            return kMacRoman[byte - 0x80U];
        case kCFStringEncodingISOLatin1:
            return byte;
        case kCFStringEncodingWindowsLatin1:
            if (byte >= 0xA0) return byte;
            if (kWindowsLatin1[byte - 0x80U] != 0) return kWindowsLatin1[byte - 0x80U];
            return std::nullopt;
        default:
            return std::nullopt;
    }
}

std::optional<std::u16string> DecodeBytes(std::span<const UInt8> bytes, CFStringEncoding encoding) {
    std::u16string text;
    text.reserve(bytes.size());
    for (const UInt8 byte : bytes) {
        const std::optional<char16_t> unit = UnitOfByte(byte, encoding);
        if (!unit) return std::nullopt;
        text.push_back(*unit);
    }
    return text;
}

char32_t FirstCharacter(std::u16string_view units) {
    if (units.size() > 1 && U16_IS_LEAD(units[0]) && U16_IS_TRAIL(units[1]))
        return static_cast<char32_t>(U16_GET_SUPPLEMENTARY(units[0], units[1]));
    return units[0];
}

EncodedCharacter EncodeUtf8(char32_t character) {
    const auto trail = [character](int shift) {
        return static_cast<UInt8>(0x80 | ((character >> shift) & 0x3F));
    };
    const auto lead = [character](unsigned mark, int shift) {
        return static_cast<UInt8>(mark | (character >> shift));
    };
    if (character < 0x80) return {1, 1, {lead(0, 0)}};
    if (character < 0x800) return {1, 2, {lead(0xC0, 6), trail(0)}};
    if (U_IS_SURROGATE(character)) return {};
    if (character < 0x10000) return {1, 3, {lead(0xE0, 12), trail(6), trail(0)}};
    return {2, 4, {lead(0xF0, 18), trail(12), trail(6), trail(0)}};
}

EncodedCharacter EncodeUtf16(char16_t unit, bool isBigEndian) {
    const auto high = static_cast<UInt8>(unit >> 8);
    const auto low = static_cast<UInt8>(unit);
    if (isBigEndian) return {1, 2, {high, low}};
    return {1, 2, {low, high}};
}

template <size_t kSize>
EncodedCharacter EncodeByTable(char16_t unit, const std::array<char16_t, kSize>& table) {
    const auto place = std::find(table.begin(), table.end(), unit);
    if (unit == 0 || place == table.end()) return {};
    return {1, 1, {static_cast<UInt8>(0x80 + (place - table.begin()))}};
}

/// The single unit that the first character and the marks behind it compose to, with the number of
/// units taken up; none when they compose to more.
std::optional<std::pair<char16_t, size_t>> ComposeFirst(std::u16string_view units) {
    UErrorCode error = U_ZERO_ERROR;
    const UNormalizer2* composer = unorm2_getNFCInstance(&error);
    if (U_FAILURE(error)) return std::nullopt;
    size_t length = 1;
    constexpr size_t kLongestSequence = 4;
    while (length < units.size() && length < kLongestSequence &&
           unorm2_hasBoundaryBefore(composer, units[length]) == 0)
        ++length;
    std::array<char16_t, 3 * kLongestSequence> composed{};
    const int32_t composedLength =
        unorm2_normalize(composer, units.data(), static_cast<int32_t>(length), composed.data(),
                         composed.size(), &error);
    if (U_FAILURE(error) || composedLength != 1) return std::nullopt;
    return std::pair(composed[0], length);
}

/// The platform's converter composes first, so that letters in pieces and the Ohm sign succeed.
EncodedCharacter EncodeMacRoman(std::u16string_view units) {
    constexpr char16_t kFirstCombiningMark = 0x0300;
    const bool standsAlone = units.size() == 1 || units[1] < kFirstCombiningMark;
    if (units[0] < 0x80 && standsAlone) return {1, 1, {static_cast<UInt8>(units[0])}};
    if (const auto composed = ComposeFirst(units)) {
        EncodedCharacter encoded = EncodeByTable(composed->first, kMacRoman);
        if (encoded.unitCount != 0) {
            encoded.unitCount = composed->second;
            return encoded;
        }
    }
    if (units[0] < 0x80) return {1, 1, {static_cast<UInt8>(units[0])}};
    return EncodeByTable(units[0], kMacRoman);
}

EncodedCharacter EncodeByte(char16_t unit, char16_t limit) {
    if (unit >= limit) return {};
    return {1, 1, {static_cast<UInt8>(unit)}};
}

EncodedCharacter EncodeWindowsLatin1(char16_t unit) {
    if (unit < 0x80 || (unit >= 0xA0 && unit < 0x100)) return EncodeByte(unit, 0x100);
    return EncodeByTable(unit, kWindowsLatin1);
}

}  // namespace

bool IsKnownEncoding(CFStringEncoding encoding) {
    switch (encoding) {
        case kCFStringEncodingMacRoman:
        case kCFStringEncodingISOLatin1:
        case kCFStringEncodingWindowsLatin1:
        case kCFStringEncodingASCII:
        case kCFStringEncodingUTF8:
        case kCFStringEncodingUTF16:
        case kCFStringEncodingUTF16BE:
        case kCFStringEncodingUTF16LE:
            return true;
        default:
            return false;
    }
}

std::optional<std::u16string> DecodeText(std::span<const UInt8> bytes, CFStringEncoding encoding,
                                         bool isExternal) {
    if (!IsKnownEncoding(encoding)) return std::nullopt;
    switch (encoding) {
        case kCFStringEncodingUTF8:
            return DecodeUtf8(WithoutUtf8Mark(bytes), false);
        case kCFStringEncodingUTF16:
        case kCFStringEncodingUTF16BE:
        case kCFStringEncodingUTF16LE:
            return DecodeUtf16(bytes, encoding, isExternal);
        default:
            return DecodeBytes(bytes, encoding);
    }
}

std::u16string DecodeUtf8Leniently(std::string_view bytes) {
    const auto* first = reinterpret_cast<const UInt8*>(bytes.data());
    return *DecodeUtf8({first, bytes.size()}, true);
}

std::string EncodeUtf8Leniently(std::u16string_view units) {
    std::string bytes;
    bytes.reserve(units.size());
    while (!units.empty()) {
        EncodedCharacter encoded = EncodeUtf8(FirstCharacter(units));
        if (encoded.unitCount == 0) encoded = EncodeUtf8(kReplacement);
        bytes.append(encoded.bytes.begin(), encoded.bytes.begin() + encoded.byteCount);
        units.remove_prefix(encoded.unitCount);
    }
    return bytes;
}

EncodedCharacter EncodeFirst(std::u16string_view units, CFStringEncoding encoding) {
    switch (encoding) {
        case kCFStringEncodingUTF8:
            return EncodeUtf8(FirstCharacter(units));
        case kCFStringEncodingMacRoman:
            return EncodeMacRoman(units);
        case kCFStringEncodingASCII:
            return EncodeByte(units[0], 0x80);
        case kCFStringEncodingISOLatin1:
            return EncodeByte(units[0], 0x100);
        case kCFStringEncodingWindowsLatin1:
            return EncodeWindowsLatin1(units[0]);
        case kCFStringEncodingUTF16:
            return EncodeUtf16(units[0], kHostIsBigEndian);
        case kCFStringEncodingUTF16BE:
            return EncodeUtf16(units[0], true);
        case kCFStringEncodingUTF16LE:
            return EncodeUtf16(units[0], false);
        default:
            return {};
    }
}

}  // namespace kivo
