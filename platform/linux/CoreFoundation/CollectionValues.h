#pragma once

// Inside of the layer only, never installed: how collections treat their values. `CallBacks` is any
// of the structures that arrays and dictionaries are made with; each function in one may be null.

#include <CoreFoundation/CFRuntime.h>
#include <CoreFoundation/CFStringSeams.h>

namespace kivo {

template <typename CallBacks>
const void* RetainValue(const CallBacks& callBacks, const void* value) {
    return callBacks.retain != nullptr ? callBacks.retain(kCFAllocatorDefault, value) : value;
}

template <typename CallBacks>
void ReleaseValue(const CallBacks& callBacks, const void* value) {
    if (callBacks.release != nullptr) callBacks.release(kCFAllocatorDefault, value);
}

template <typename CallBacks>
bool AreEqual(const CallBacks& callBacks, const void* one, const void* other) {
    return one == other || (callBacks.equal != nullptr && callBacks.equal(one, other) != 0);
}

template <typename CallBacks>
std::string DescribeValue(const CallBacks& callBacks, const void* value) {
    if (callBacks.copyDescription == nullptr) return "<?>";
    // Objects need no detour by a string object, which would be made anew at each level.
    if (callBacks.copyDescription == CFCopyDescription) return AsObject(value).Description();
    const CFStringRef description = callBacks.copyDescription(value);
    const std::string text = Utf8Of(description);
    CFRelease(description);
    return text;
}

inline const void* RetainObject(CFAllocatorRef, const void* value) {
    return CFRetain(value);
}

inline void ReleaseObject(CFAllocatorRef, const void* value) {
    CFRelease(value);
}

}  // namespace kivo
