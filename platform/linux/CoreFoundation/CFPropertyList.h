#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFData.h>
#include <CoreFoundation/CFString.h>

/// Property lists: dictionaries, arrays, strings, data, numbers, dates and truth values as bytes.
/// Apple's names, the subset in use: reading. From any thread.

typedef CFTypeRef CFPropertyListRef;
typedef struct __CFError* CFErrorRef;

typedef CF_OPTIONS(CFOptionFlags, CFPropertyListMutabilityOptions) {
    kCFPropertyListImmutable = 0,
    kCFPropertyListMutableContainers = 1 << 0
};

typedef CF_ENUM(CFIndex, CFPropertyListFormat) {
    kCFPropertyListOpenStepFormat = 1,
    kCFPropertyListXMLFormat_v1_0 = 100,
    kCFPropertyListBinaryFormat_v1_0 = 200
};

#ifdef __cplusplus
extern "C" {
#endif

/// Reads a property list in any of its forms: binary, XML, or the old style with that of strings
/// files. Create rule; its type may be any of a property list's, also a lone string. Null on
/// failure, with the reason as an owned string in `errorString`, where success writes null;
/// `errorString` itself may be null.
CFPropertyListRef CFPropertyListCreateFromXMLData(CFAllocatorRef allocator, CFDataRef xmlData,
                                                  CFOptionFlags mutabilityOption,
                                                  CFStringRef* errorString);
/// The same with the form found in `format`, which may be null. There are no error objects: null is
/// written to `error`, unless that is null.
CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef allocator, CFDataRef data,
                                               CFOptionFlags options, CFPropertyListFormat* format,
                                               CFErrorRef* error);

#ifdef __cplusplus
}
#endif
