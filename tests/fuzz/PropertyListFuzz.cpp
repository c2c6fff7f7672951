// Property lists in any form, as a language file or an Info.plist would be read.

#include <CFRef.h>

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto bytes =
        kivo::Adopt(CFDataCreate(kCFAllocatorDefault, data, static_cast<CFIndex>(size)));
    kivo::CFRef<CFStringRef> error;
    const auto list = kivo::Adopt(CFPropertyListCreateFromXMLData(
        kCFAllocatorDefault, bytes.Get(), kCFPropertyListImmutable, error.Receive()));
    if (static_cast<bool>(list) == static_cast<bool>(error)) std::abort();
    if (!list) return 0;
    CFRelease(CFCopyDescription(list.Get()));
    if (!CFEqual(list.Get(), list.Get())) std::abort();
    return 0;
}
