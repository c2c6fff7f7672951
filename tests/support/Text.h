#pragma once

#include "platform/CFRef.h"

#include <string>
#include <string_view>

namespace kivo::test {

/// A string of UTF-16 units.
inline CFRef<CFStringRef> Text(std::u16string_view units) {
    return Adopt(CFStringCreateWithCharacters(kCFAllocatorDefault,
                                              reinterpret_cast<const UniChar*>(units.data()),
                                              static_cast<CFIndex>(units.size())));
}

inline std::u16string UnitsOf(CFStringRef string) {
    std::u16string units(static_cast<size_t>(CFStringGetLength(string)), u'\0');
    CFStringGetCharacters(string, CFRangeMake(0, CFStringGetLength(string)),
                          reinterpret_cast<UniChar*>(units.data()));
    return units;
}

/// The text as UTF-8; empty when it is not valid.
inline std::string Utf8Text(CFStringRef string) {
    const CFIndex size =
        1 + CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8);
    std::string bytes(static_cast<size_t>(size), '\0');
    CFStringGetCString(string, bytes.data(), size, kCFStringEncodingUTF8);
    bytes.resize(bytes.find('\0'));
    return bytes;
}

}  // namespace kivo::test
