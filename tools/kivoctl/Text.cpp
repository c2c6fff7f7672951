#include "tools/kivoctl/Text.h"

#include <array>
#include <cstdio>

#include "tools/kivoctl/Failure.h"

namespace kivo::ctl {

namespace {

CFRef<CFStringRef> StringOfBytes(std::string_view bytes, CFStringEncoding encoding) {
    return Adopt(CFStringCreateWithBytes(kCFAllocatorDefault,
                                         reinterpret_cast<const UInt8*>(bytes.data()),
                                         static_cast<CFIndex>(bytes.size()), encoding, false));
}

/// Nothing when the string cannot be expressed in the encoding.
std::optional<std::string> BytesOfString(CFStringRef string, CFStringEncoding encoding) {
    const CFIndex room = CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), encoding) + 1;
    std::string bytes(static_cast<size_t>(room), '\0');
    if (!CFStringGetCString(string, bytes.data(), room, encoding)) return std::nullopt;
    bytes.resize(bytes.find('\0'));
    return bytes;
}

bool IsPrintableAscii(unsigned char character) {
    return character >= 0x20 && character < 0x7F;
}

std::string Escape(unsigned char byte) {
    std::array<char, 5> text{};
    std::snprintf(text.data(), text.size(), "\\x%02x", byte);
    return text.data();
}

/// Whether a character of two bytes, U+0080 to U+009F, which terminals obey too, begins at `at`.
bool IsLateControl(std::string_view text, size_t at) {
    return at + 1 < text.size() && text[at] == '\xC2' && (text[at + 1] & '\xE0') == '\x80';
}

}  // namespace

CFRef<CFStringRef> MakeString(std::string_view text, std::string_view what) {
    if (text.find('\0') != std::string_view::npos) {
        throw UsageFailure(std::string(what) + " holds a zero character, which cannot be sent");
    }
    CFRef<CFStringRef> string = StringOfBytes(text, kCFStringEncodingUTF8);
    if (!string) throw UsageFailure(std::string(what) + " is not valid UTF-8");
    return string;
}

std::string Utf8Of(CFStringRef string) {
    return BytesOfString(string, kCFStringEncodingUTF8).value_or("");
}

std::vector<UniChar> UnitsOf(CFStringRef string) {
    const CFIndex length = CFStringGetLength(string);
    std::vector<UniChar> units(static_cast<size_t>(length));
    CFStringGetCharacters(string, CFRangeMake(0, length), units.data());
    return units;
}

std::string ToSystemEncoding(std::string_view text, std::string_view what) {
    const CFRef<CFStringRef> string = MakeString(text, what);
    const auto bytes = BytesOfString(string.Get(), CFStringGetSystemEncoding());
    if (!bytes) {
        throw UsageFailure(std::string(what) + " has a character that the system encoding lacks");
    }
    return *bytes;
}

std::optional<std::string> FromSystemEncoding(std::string_view bytes) {
    const CFRef<CFStringRef> string = StringOfBytes(bytes, CFStringGetSystemEncoding());
    if (!string) return std::nullopt;
    return BytesOfString(string.Get(), kCFStringEncodingUTF8);
}

std::string Printable(std::string_view text) {
    std::string shown;
    for (size_t at = 0; at < text.size(); ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if (byte < 0x20 || byte == 0x7F) {
            shown += Escape(byte);
        } else if (IsLateControl(text, at)) {
            shown += Escape(static_cast<unsigned char>(text[++at]));
        } else {
            shown += text[at];
        }
    }
    return shown;
}

SInt32 ParseCode(std::string_view text) {
    UInt32 code = 0;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (text.size() != 4 || !IsPrintableAscii(byte)) break;
        code = code << 8 | byte;
    }
    if (code <= 0xFFFFFF) {
        throw UsageFailure("a message code has four characters, such as KiFI, unlike \"" +
                           std::string(text) + '"');
    }
    return static_cast<SInt32>(code);
}

std::string Hex(std::span<const UInt8> bytes, std::string_view separator) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const UInt8 byte : bytes) {
        if (!text.empty()) text += separator;
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

std::span<const UInt8> BytesOf(CFDataRef data) {
    return {CFDataGetBytePtr(data), static_cast<size_t>(CFDataGetLength(data))};
}

}  // namespace kivo::ctl
