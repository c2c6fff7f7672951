#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/// The types and the reference counting that all of Core Foundation shares.

/// A number type with named values: in C++ an enumeration, which takes no plain number.
/// `typedef CF_ENUM(CFIndex, CFThing) { kCFThingOne = 1 };`
#ifdef __cplusplus
#define CF_ENUM(type, name)   \
    type __CFNumbersOf##name; \
    enum name : type
#else
#define CF_ENUM(type, name) \
    type name;              \
    enum
#endif

/// The same for values that are combined bit by bit, which stay plain numbers.
#ifdef __cplusplus
#define CF_OPTIONS(type, name) \
    type name;                 \
    enum : type
#else
#define CF_OPTIONS(type, name) \
    type name;                 \
    enum
#endif

typedef int32_t SInt32;
typedef int16_t SInt16;
typedef signed long long SInt64;
typedef uint8_t UInt8;
typedef uint16_t UInt16;
typedef uint32_t UInt32;
typedef unsigned long long UInt64;
typedef UInt8 Byte;
typedef unsigned char Boolean;
typedef UInt16 UniChar;
typedef unsigned long UniCharCount;
typedef unsigned long ItemCount;
typedef SInt32 OSStatus;
typedef SInt16 OSErr;
typedef UInt32 FourCharCode;
typedef FourCharCode OSType;
typedef float Float32;
typedef double Float64;

typedef unsigned long CFTypeID;
typedef unsigned long CFOptionFlags;
typedef unsigned long CFHashCode;
typedef long CFIndex;

typedef const void* CFTypeRef;
typedef const struct __CFString* CFStringRef;
typedef struct __CFString* CFMutableStringRef;
typedef const struct __CFAllocator* CFAllocatorRef;

typedef CF_ENUM(CFIndex, CFComparisonResult) {
    kCFCompareLessThan = -1L,
    kCFCompareEqualTo = 0,
    kCFCompareGreaterThan = 1
};
static const CFIndex kCFNotFound = -1;
enum { noErr = 0 };

typedef struct {
    CFIndex location;
    CFIndex length;
} CFRange;

static inline CFRange CFRangeMake(CFIndex location, CFIndex length) {
    CFRange range;
    range.location = location;
    range.length = length;
    return range;
}

#ifdef __cplusplus
extern "C" {
#endif

/// Allocators are names only: every object comes from the C++ heap whatever is passed.
extern const CFAllocatorRef kCFAllocatorDefault;

/// Adds a reference and returns the object. Null ends the process, in every build.
CFTypeRef CFRetain(CFTypeRef object);
/// Gives a reference back; the last one destroys the object. Null ends the process.
void CFRelease(CFTypeRef object);
CFIndex CFGetRetainCount(CFTypeRef object);
/// True for the same object, or for two of one type with equal values. Null ends the process.
Boolean CFEqual(CFTypeRef one, CFTypeRef other);
CFHashCode CFHash(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);
/// A text about the object, for logs. Create rule.
CFStringRef CFCopyDescription(CFTypeRef object);

#ifdef __cplusplus
}
#endif
