// The reader of old-style property lists and strings files, on text in UTF-8 or of any units.

#include <CoreFoundation/OpenStepReader.h>

#include <cstdlib>
#include <cstring>

namespace {

/// Either an object or a reason, never both.
void Check(std::u16string_view text) {
    std::string error;
    const kivo::CFRef<CFPropertyListRef> list = kivo::ReadOpenStep(text, error);
    if (static_cast<bool>(list) != error.empty()) std::abort();
    if (list) CFRelease(CFCopyDescription(list.Get()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto decoded = kivo::Adopt(CFStringCreateWithBytes(
        kCFAllocatorDefault, data, static_cast<CFIndex>(size), kCFStringEncodingISOLatin1, false));
    std::u16string units(size, u'\0');
    CFStringGetCharacters(decoded.Get(), CFRangeMake(0, static_cast<CFIndex>(size)),
                          reinterpret_cast<UniChar*>(units.data()));
    Check(units);

    std::u16string raw(size / 2, u'\0');
    if (!raw.empty()) std::memcpy(raw.data(), data, 2 * raw.size());
    Check(raw);
    return 0;
}
