#pragma once

#include <CoreFoundation/CFArray.h>
#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFData.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFString.h>

/// File URLs: Apple's names, the subset in use. Other schemes are not supported. A URL of a
/// directory ends in "/". From any thread.

typedef const struct __CFURL* CFURLRef;
struct FSRef;

typedef CF_ENUM(CFIndex, CFURLPathStyle) { kCFURLPOSIXPathStyle = 0 };

typedef CF_ENUM(CFIndex, CFURLError) {
    kCFURLUnknownError = -10L,
    kCFURLUnknownSchemeError = -11L,
    kCFURLResourceNotFoundError = -12L,
    kCFURLResourceAccessViolationError = -13L,
    kCFURLImproperArgumentsError = -15L
};

#ifdef __cplusplus
extern "C" {
#endif

CFTypeID CFURLGetTypeID(void);

// Creating. Each result follows the Create rule; null when the path is empty or not text.

/// The URL of a path; one that does not begin with "/" is relative to the present directory.
CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef filePath,
                                       CFURLPathStyle pathStyle, Boolean isDirectory);
/// The same of a path below `baseURL`, which may be null.
CFURLRef CFURLCreateWithFileSystemPathRelativeToBase(CFAllocatorRef allocator, CFStringRef filePath,
                                                     CFURLPathStyle pathStyle, Boolean isDirectory,
                                                     CFURLRef baseURL);
/// The same of the bytes of a path.
CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8* buffer,
                                                 CFIndex bufLen, Boolean isDirectory);
CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef allocator, CFURLRef url,
                                               CFStringRef pathComponent, Boolean isDirectory);
/// The URL of a file reference; null when the reference is stale. Part of Core Services here.
CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const struct FSRef* fsRef);

// Reading.

/// The URL's own text, percent-escaped and without its base. Lent.
CFStringRef CFURLGetString(CFURLRef anURL);
/// The URL that this one is relative to, lent, or null.
CFURLRef CFURLGetBaseURL(CFURLRef anURL);
/// The URL without a base. Create rule.
CFURLRef CFURLCopyAbsoluteURL(CFURLRef relativeURL);
/// The URL's own path, not that of its base, without a "/" at the end. Create rule.
CFStringRef CFURLCopyFileSystemPath(CFURLRef anURL, CFURLPathStyle pathStyle);
/// Writes the path as a C string; false when `maxBufLen` bytes are too few.
Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer,
                                         CFIndex maxBufLen);

/// Reads a whole file; blocks as reading a file does. True with the file's data, under the Create
/// rule, in `resourceData`. False otherwise, with null there. Properties are not supported: an
/// empty dictionary comes where one is asked for. Each of the last four places may be null.
Boolean CFURLCreateDataAndPropertiesFromResource(CFAllocatorRef alloc, CFURLRef url,
                                                 CFDataRef* resourceData,
                                                 CFDictionaryRef* properties,
                                                 CFArrayRef desiredProperties, SInt32* errorCode);

#ifdef __cplusplus
}
#endif
