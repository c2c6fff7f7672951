#pragma once

#include <CoreFoundation/CFBase.h>

/// Numbers and truth values as objects: Apple's names, the subset in use. From any thread.

typedef const struct __CFBoolean* CFBooleanRef;
typedef const struct __CFNumber* CFNumberRef;

typedef CF_ENUM(CFIndex, CFNumberType) {
    kCFNumberSInt8Type = 1,
    kCFNumberSInt16Type = 2,
    kCFNumberSInt32Type = 3,
    kCFNumberSInt64Type = 4,
    kCFNumberFloat32Type = 5,
    kCFNumberFloat64Type = 6,
    kCFNumberCharType = 7,
    kCFNumberShortType = 8,
    kCFNumberIntType = 9,
    kCFNumberLongType = 10,
    kCFNumberLongLongType = 11,
    kCFNumberFloatType = 12,
    kCFNumberDoubleType = 13,
    kCFNumberCFIndexType = 14,
    kCFNumberNSIntegerType = 15,
    kCFNumberCGFloatType = 16
};

#ifdef __cplusplus
extern "C" {
#endif

/// The two truth values; there are no others, so they may be compared by address.
extern const CFBooleanRef kCFBooleanTrue;
extern const CFBooleanRef kCFBooleanFalse;

CFTypeID CFBooleanGetTypeID(void);
Boolean CFBooleanGetValue(CFBooleanRef boolean);

CFTypeID CFNumberGetTypeID(void);
/// A number of the value of `theType` at `valuePtr`. Create rule; null for an unknown type.
CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType theType, const void* valuePtr);
/// The type that holds the number: SInt64 or Float64 here.
CFNumberType CFNumberGetType(CFNumberRef number);
Boolean CFNumberIsFloatType(CFNumberRef number);
/// Writes the value as `theType`. False when something was lost; the nearest value is written then.
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr);
/// The order of two numbers by value; `context` is not used.
CFComparisonResult CFNumberCompare(CFNumberRef number, CFNumberRef otherNumber, void* context);

#ifdef __cplusplus
}
#endif
