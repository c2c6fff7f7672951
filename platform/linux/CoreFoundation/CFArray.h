#pragma once

#include <CoreFoundation/CFBase.h>

/// Ordered collections of pointers, most often of objects: Apple's names, the subset in use.
/// Immutable ones may be read from any thread. An index or range outside ends the process.

typedef const struct __CFArray* CFArrayRef;
typedef struct __CFArray* CFMutableArrayRef;

typedef const void* (*CFArrayRetainCallBack)(CFAllocatorRef allocator, const void* value);
typedef void (*CFArrayReleaseCallBack)(CFAllocatorRef allocator, const void* value);
typedef CFStringRef (*CFArrayCopyDescriptionCallBack)(const void* value);
typedef Boolean (*CFArrayEqualCallBack)(const void* value1, const void* value2);

/// What the collection does with its values; each may be null: no retaining, comparison by address.
typedef struct {
    CFIndex version;
    CFArrayRetainCallBack retain;
    CFArrayReleaseCallBack release;
    CFArrayCopyDescriptionCallBack copyDescription;
    CFArrayEqualCallBack equal;
} CFArrayCallBacks;

#ifdef __cplusplus
extern "C" {
#endif

/// For values that are objects: they are retained.
extern const CFArrayCallBacks kCFTypeArrayCallBacks;

CFTypeID CFArrayGetTypeID(void);

/// An array of the `numValues` values. Null callbacks: as if each were null. Create rule.
CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void** values, CFIndex numValues,
                         const CFArrayCallBacks* callBacks);
CFArrayRef CFArrayCreateCopy(CFAllocatorRef allocator, CFArrayRef theArray);
/// An empty array that can change. `capacity` is a hint.
CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                       const CFArrayCallBacks* callBacks);

CFIndex CFArrayGetCount(CFArrayRef theArray);
/// The value at an index, lent.
const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx);
/// Copies the values of a range, lent.
void CFArrayGetValues(CFArrayRef theArray, CFRange range, const void** values);
Boolean CFArrayContainsValue(CFArrayRef theArray, CFRange range, const void* value);
/// The index of the first equal value of a range, or kCFNotFound.
CFIndex CFArrayGetFirstIndexOfValue(CFArrayRef theArray, CFRange range, const void* value);

void CFArrayAppendValue(CFMutableArrayRef theArray, const void* value);
void CFArrayInsertValueAtIndex(CFMutableArrayRef theArray, CFIndex idx, const void* value);
void CFArrayRemoveValueAtIndex(CFMutableArrayRef theArray, CFIndex idx);
void CFArrayRemoveAllValues(CFMutableArrayRef theArray);

#ifdef __cplusplus
}
#endif
