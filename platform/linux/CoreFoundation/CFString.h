#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>
#include <stdarg.h>

/// Strings: immutable sequences of UTF-16 units. Apple's names, the subset in use.
///
/// All calls may be made from any thread and none blocks. Nothing here depends on the locale.

typedef UInt32 CFStringEncoding;
#define kCFStringEncodingInvalidId (0xffffffffU)
typedef CF_ENUM(CFStringEncoding, CFStringBuiltInEncodings) {
    kCFStringEncodingMacRoman = 0,
    kCFStringEncodingUnicode = 0x0100,
    kCFStringEncodingISOLatin1 = 0x0201,
    kCFStringEncodingWindowsLatin1 = 0x0500,
    kCFStringEncodingASCII = 0x0600,
    kCFStringEncodingUTF8 = 0x08000100,
    kCFStringEncodingUTF16 = 0x0100,
    kCFStringEncodingUTF16BE = 0x10000100,
    kCFStringEncodingUTF16LE = 0x14000100
};

/// Without `kCFCompareNonliteral` strings are taken unit by unit; with it canonically equivalent
/// sequences are equal, as in the Foundation's plain comparison and search.
typedef CF_OPTIONS(CFOptionFlags, CFStringCompareFlags) {
    kCFCompareCaseInsensitive = 1,
    /// For searches: the last match instead of the first.
    kCFCompareBackwards = 4,
    /// For searches: only at the start, or at the end when backwards.
    kCFCompareAnchored = 8,
    kCFCompareNonliteral = 16
};

/// A constant string of a literal of ASCII characters. Never released; equal literals give one
/// object.
#define CFSTR(cStr) __CFStringMakeConstantString("" cStr "")

#ifdef __cplusplus
extern "C" {
#endif

CFStringRef __CFStringMakeConstantString(const char* cStr);

CFTypeID CFStringGetTypeID(void);

// Creating. Each result follows the Create rule; null when the bytes are not valid in the encoding
// or the encoding is not one of those above. Nothing is normalised.

/// A string of a C string, which must not be null. A byte order mark in front is dropped.
CFStringRef CFStringCreateWithCString(CFAllocatorRef alloc, const char* cStr,
                                      CFStringEncoding encoding);
/// A string of `numBytes` bytes. A byte order mark in front is dropped; UTF-16 that stands in a
/// file or a message (`isExternalRepresentation`) without one is big-endian, else of this machine.
CFStringRef CFStringCreateWithBytes(CFAllocatorRef alloc, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
/// A string of UTF-16 units, unpaired surrogates included.
CFStringRef CFStringCreateWithCharacters(CFAllocatorRef alloc, const UniChar* chars,
                                         CFIndex numChars);
CFStringRef CFStringCreateCopy(CFAllocatorRef alloc, CFStringRef theString);
CFStringRef CFStringCreateWithSubstring(CFAllocatorRef alloc, CFStringRef str, CFRange range);

/// A string after a format with the conversions of printf, and %@ for an object's description or
/// "(null)". C strings are taken in the system encoding. `formatOptions` is not used.
CFStringRef CFStringCreateWithFormat(CFAllocatorRef alloc, CFDictionaryRef formatOptions,
                                     CFStringRef format, ...);
CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef alloc,
                                                 CFDictionaryRef formatOptions, CFStringRef format,
                                                 va_list arguments);

// Reading.

/// Length in UTF-16 units.
CFIndex CFStringGetLength(CFStringRef theString);
/// The unit at an index, which must be inside.
UniChar CFStringGetCharacterAtIndex(CFStringRef theString, CFIndex idx);
/// Copies the units of a range, which must be inside.
void CFStringGetCharacters(CFStringRef theString, CFRange range, UniChar* buffer);
/// Writes the whole text with its terminating NUL. False, with an empty C string in the buffer,
/// when a character has no place in the encoding or `bufferSize` bytes are too few.
Boolean CFStringGetCString(CFStringRef theString, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding);
/// The text without a copy, where the object happens to hold it so; else null, which is no error.
const char* CFStringGetCStringPtr(CFStringRef theString, CFStringEncoding encoding);
/// Converts the units of a range until the buffer is full or a character has no place in the
/// encoding and `lossByte` is 0 (else that byte stands for it). Returns the number of units
/// converted and writes the number of bytes. A null buffer counts only; `maxBufLen` is then unused.
CFIndex CFStringGetBytes(CFStringRef theString, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex maxBufLen, CFIndex* usedBufLen);
/// The most bytes that `length` units can need, without a terminating NUL.
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);
/// UTF-8 on this system.
CFStringEncoding CFStringGetSystemEncoding(void);

// Comparing and searching.

/// The order of two strings: by units, or by code points of the canonical decompositions.
CFComparisonResult CFStringCompare(CFStringRef theString1, CFStringRef theString2,
                                   CFStringCompareFlags compareOptions);
/// The same with a part of the first string, which must be inside it.
CFComparisonResult CFStringCompareWithOptions(CFStringRef theString1, CFStringRef theString2,
                                              CFRange rangeToCompare,
                                              CFStringCompareFlags compareOptions);
/// Where a string is found, in units of the searched one; {kCFNotFound, 0} when it is not. The
/// empty string is never found. A match that is not literal must not be followed by a combining
/// mark of its last character.
CFRange CFStringFind(CFStringRef theString, CFStringRef stringToFind,
                     CFStringCompareFlags compareOptions);
/// The same within a part of the string; `result`, which may be null, is written on success only.
Boolean CFStringFindWithOptions(CFStringRef theString, CFStringRef stringToFind,
                                CFRange rangeToSearch, CFStringCompareFlags searchOptions,
                                CFRange* result);

#ifdef __cplusplus
}
#endif
