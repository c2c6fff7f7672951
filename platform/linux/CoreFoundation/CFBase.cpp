#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFRuntime.h>
#include <CoreFoundation/CFStringSeams.h>

namespace {

/// A reference that may not be null: the platform ends the process rather than go on, and a
/// part of the daemon's behaviour rests on that, so it is a trap and no assertion.
const kivo::CFObject& Present(CFTypeRef object) {
    if (object == nullptr) __builtin_trap();
    return kivo::AsObject(object);
}

}  // namespace

const CFAllocatorRef kCFAllocatorDefault = nullptr;

CFTypeRef CFRetain(CFTypeRef object) {
    Present(object).Retain();
    return object;
}

void CFRelease(CFTypeRef object) {
    Present(object).Release();
}

CFIndex CFGetRetainCount(CFTypeRef object) {
    return Present(object).RetainCount();
}

CFTypeID CFGetTypeID(CFTypeRef object) {
    return Present(object).TypeID();
}

Boolean CFEqual(CFTypeRef one, CFTypeRef other) {
    const kivo::CFObject& first = Present(one);
    const kivo::CFObject& second = Present(other);
    if (&first == &second) return true;
    return first.TypeID() == second.TypeID() && first.Equal(second);
}

CFHashCode CFHash(CFTypeRef object) {
    return Present(object).Hash();
}

CFStringRef CFCopyDescription(CFTypeRef object) {
    if (object == nullptr) return CFSTR("(null)");
    return kivo::CreateStringFromUtf8(kivo::AsObject(object).Description());
}
