#pragma once

#include <CoreFoundation/CFBase.h>

/// Maps from keys to values, most often of objects: Apple's names, the subset in use. Immutable
/// ones may be read from any thread. The order of keys means nothing.

typedef const struct __CFDictionary* CFDictionaryRef;
typedef struct __CFDictionary* CFMutableDictionaryRef;

typedef const void* (*CFDictionaryRetainCallBack)(CFAllocatorRef allocator, const void* value);
typedef void (*CFDictionaryReleaseCallBack)(CFAllocatorRef allocator, const void* value);
typedef CFStringRef (*CFDictionaryCopyDescriptionCallBack)(const void* value);
typedef Boolean (*CFDictionaryEqualCallBack)(const void* value1, const void* value2);
typedef CFHashCode (*CFDictionaryHashCallBack)(const void* value);

/// What the collection does with its keys; each may be null: no retaining, equality by address.
typedef struct {
    CFIndex version;
    CFDictionaryRetainCallBack retain;
    CFDictionaryReleaseCallBack release;
    CFDictionaryCopyDescriptionCallBack copyDescription;
    CFDictionaryEqualCallBack equal;
    CFDictionaryHashCallBack hash;
} CFDictionaryKeyCallBacks;

/// The same for values.
typedef struct {
    CFIndex version;
    CFDictionaryRetainCallBack retain;
    CFDictionaryReleaseCallBack release;
    CFDictionaryCopyDescriptionCallBack copyDescription;
    CFDictionaryEqualCallBack equal;
} CFDictionaryValueCallBacks;

#ifdef __cplusplus
extern "C" {
#endif

/// For keys and values that are objects: retained, compared by CFEqual.
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

CFTypeID CFDictionaryGetTypeID(void);

/// A dictionary of `numValues` pairs; of equal keys the first stays. Null callbacks: as if each
/// were null. Create rule.
CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, const void** keys, const void** values,
                                   CFIndex numValues, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks);
CFDictionaryRef CFDictionaryCreateCopy(CFAllocatorRef allocator, CFDictionaryRef theDict);
/// An empty dictionary that can change. `capacity` is a hint.
CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks);

CFIndex CFDictionaryGetCount(CFDictionaryRef theDict);
Boolean CFDictionaryContainsKey(CFDictionaryRef theDict, const void* key);
/// The value for a key, lent; null when there is none.
const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key);
/// Whether the key is there; `value`, which may be null, is written when it is.
Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef theDict, const void* key, const void** value);
/// Copies keys and values, lent and in matching order, to arrays of `GetCount` places, of which
/// either may be null.
void CFDictionaryGetKeysAndValues(CFDictionaryRef theDict, const void** keys, const void** values);

/// Adds a pair unless the key is there.
void CFDictionaryAddValue(CFMutableDictionaryRef theDict, const void* key, const void* value);
/// Adds a pair or replaces the key's value.
void CFDictionarySetValue(CFMutableDictionaryRef theDict, const void* key, const void* value);
/// Replaces the key's value if the key is there.
void CFDictionaryReplaceValue(CFMutableDictionaryRef theDict, const void* key, const void* value);
void CFDictionaryRemoveValue(CFMutableDictionaryRef theDict, const void* key);
void CFDictionaryRemoveAllValues(CFMutableDictionaryRef theDict);

#ifdef __cplusplus
}
#endif
