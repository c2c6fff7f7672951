#pragma once

#include <CoreFoundation/CFBase.h>

/// Immutable byte sequences: Apple's names, the subset in use. From any thread.

typedef const struct __CFData* CFDataRef;

#ifdef __cplusplus
extern "C" {
#endif

CFTypeID CFDataGetTypeID(void);

/// A copy of `length` bytes; (null, 0) gives an empty object. Create rule.
CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length);
CFDataRef CFDataCreateCopy(CFAllocatorRef allocator, CFDataRef theData);

CFIndex CFDataGetLength(CFDataRef theData);
/// The bytes, as long as the object lives. May be null when the object is empty.
const UInt8* CFDataGetBytePtr(CFDataRef theData);
/// Copies the bytes of a range, which must be inside.
void CFDataGetBytes(CFDataRef theData, CFRange range, UInt8* buffer);

#ifdef __cplusplus
}
#endif
