// Core Foundation as Apple documents it, a section a header: everything of it that the daemon and
// platform/linux/CoreFoundation know. tests/native/names sees to it that no name is missing.

#include <CoreFoundation/CFCGTypes.h>
#include <CoreFoundation/CoreFoundation.h>

#include "tests/native/signatures/Signature.h"

// MacTypes
TYPE(UInt8, unsigned char);
TYPE(UInt16, unsigned short);
TYPE(SInt16, short);
TYPE(UInt32, unsigned int);
TYPE(SInt32, int);
TYPE(UInt64, unsigned long long);
TYPE(SInt64, long long);
TYPE(Float32, float);
TYPE(Float64, double);
TYPE(Byte, UInt8);
TYPE(Boolean, unsigned char);
TYPE(UniChar, UInt16);
TYPE(UniCharCount, unsigned long);
TYPE(ItemCount, unsigned long);
TYPE(OSErr, SInt16);
TYPE(OSStatus, SInt32);
TYPE(FourCharCode, UInt32);
TYPE(OSType, FourCharCode);
CONSTANT(noErr, 0);

// CFBase
TYPE(CFTypeID, unsigned long);
TYPE(CFOptionFlags, unsigned long);
TYPE(CFHashCode, unsigned long);
TYPE(CFIndex, long);
TYPE(CFTypeRef, const void*);
TYPE(CFAllocatorRef, const struct __CFAllocator*);
TYPE(CFStringRef, const struct __CFString*);
TYPE(CFMutableStringRef, struct __CFString*);
ENUMERATION(CFComparisonResult, CFIndex);
CONSTANT(kCFCompareLessThan, -1);
CONSTANT(kCFCompareEqualTo, 0);
CONSTANT(kCFCompareGreaterThan, 1);
CONSTANT(kCFNotFound, -1);
STRUCTURE(CFRange, 16);
FIELD(CFRange, location, 0, CFIndex);
FIELD(CFRange, length, 8, CFIndex);
FUNCTION(CFRangeMake, CFRange(CFIndex, CFIndex));
VARIABLE(kCFAllocatorDefault, const CFAllocatorRef);
FUNCTION(CFRetain, CFTypeRef(CFTypeRef));
FUNCTION(CFRelease, void(CFTypeRef));
FUNCTION(CFGetRetainCount, CFIndex(CFTypeRef));
FUNCTION(CFEqual, Boolean(CFTypeRef, CFTypeRef));
FUNCTION(CFHash, CFHashCode(CFTypeRef));
FUNCTION(CFGetTypeID, CFTypeID(CFTypeRef));
FUNCTION(CFCopyDescription, CFStringRef(CFTypeRef));

// CFAvailability: the two macros, by what they make.
typedef CF_ENUM(SInt16, SignatureNumbers) { kSignatureNumber = -2 };
ENUMERATION(SignatureNumbers, SInt16);
CONSTANT(kSignatureNumber, -2);
typedef CF_OPTIONS(UInt32, SignatureBits) { kSignatureBit = 1U << 31 };
TYPE(SignatureBits, UInt32);
CONSTANT(kSignatureBit, 0x80000000U);

// CFCGTypes
TYPE(CGFloat, double);
STRUCTURE(CGPoint, 16);
FIELD(CGPoint, x, 0, CGFloat);
FIELD(CGPoint, y, 8, CGFloat);
STRUCTURE(CGSize, 16);
FIELD(CGSize, width, 0, CGFloat);
FIELD(CGSize, height, 8, CGFloat);
STRUCTURE(CGRect, 32);
FIELD(CGRect, origin, 0, CGPoint);
FIELD(CGRect, size, 16, CGSize);

// CFArray
TYPE(CFArrayRef, const struct __CFArray*);
TYPE(CFMutableArrayRef, struct __CFArray*);
TYPE(CFArrayRetainCallBack, const void* (*)(CFAllocatorRef, const void*));
TYPE(CFArrayReleaseCallBack, void (*)(CFAllocatorRef, const void*));
TYPE(CFArrayCopyDescriptionCallBack, CFStringRef (*)(const void*));
TYPE(CFArrayEqualCallBack, Boolean (*)(const void*, const void*));
STRUCTURE(CFArrayCallBacks, 40);
FIELD(CFArrayCallBacks, version, 0, CFIndex);
FIELD(CFArrayCallBacks, retain, 8, CFArrayRetainCallBack);
FIELD(CFArrayCallBacks, release, 16, CFArrayReleaseCallBack);
FIELD(CFArrayCallBacks, copyDescription, 24, CFArrayCopyDescriptionCallBack);
FIELD(CFArrayCallBacks, equal, 32, CFArrayEqualCallBack);
VARIABLE(kCFTypeArrayCallBacks, const CFArrayCallBacks);
FUNCTION(CFArrayGetTypeID, CFTypeID());
FUNCTION(CFArrayCreate, CFArrayRef(CFAllocatorRef, const void**, CFIndex, const CFArrayCallBacks*));
FUNCTION(CFArrayCreateCopy, CFArrayRef(CFAllocatorRef, CFArrayRef));
FUNCTION(CFArrayCreateMutable, CFMutableArrayRef(CFAllocatorRef, CFIndex, const CFArrayCallBacks*));
FUNCTION(CFArrayGetCount, CFIndex(CFArrayRef));
FUNCTION(CFArrayGetValueAtIndex, const void*(CFArrayRef, CFIndex));
FUNCTION(CFArrayGetValues, void(CFArrayRef, CFRange, const void**));
FUNCTION(CFArrayContainsValue, Boolean(CFArrayRef, CFRange, const void*));
FUNCTION(CFArrayGetFirstIndexOfValue, CFIndex(CFArrayRef, CFRange, const void*));
FUNCTION(CFArrayAppendValue, void(CFMutableArrayRef, const void*));
FUNCTION(CFArrayInsertValueAtIndex, void(CFMutableArrayRef, CFIndex, const void*));
FUNCTION(CFArrayRemoveValueAtIndex, void(CFMutableArrayRef, CFIndex));
FUNCTION(CFArrayRemoveAllValues, void(CFMutableArrayRef));

// CFBundle
TYPE(CFBundleRef, struct __CFBundle*);
FUNCTION(CFBundleGetTypeID, CFTypeID());
FUNCTION(CFBundleGetMainBundle, CFBundleRef());
FUNCTION(CFBundleCreate, CFBundleRef(CFAllocatorRef, CFURLRef));
FUNCTION(CFBundleGetInfoDictionary, CFDictionaryRef(CFBundleRef));
FUNCTION(CFBundleGetValueForInfoDictionaryKey, CFTypeRef(CFBundleRef, CFStringRef));
FUNCTION(CFBundleGetIdentifier, CFStringRef(CFBundleRef));
FUNCTION(CFBundleCopyBundleURL, CFURLRef(CFBundleRef));
FUNCTION(CFBundleCopyResourcesDirectoryURL, CFURLRef(CFBundleRef));
FUNCTION(CFBundleCopyLocalizedString,
         CFStringRef(CFBundleRef, CFStringRef, CFStringRef, CFStringRef));

// CFData
TYPE(CFDataRef, const struct __CFData*);
FUNCTION(CFDataGetTypeID, CFTypeID());
FUNCTION(CFDataCreate, CFDataRef(CFAllocatorRef, const UInt8*, CFIndex));
FUNCTION(CFDataCreateCopy, CFDataRef(CFAllocatorRef, CFDataRef));
FUNCTION(CFDataGetLength, CFIndex(CFDataRef));
FUNCTION(CFDataGetBytePtr, const UInt8*(CFDataRef));
FUNCTION(CFDataGetBytes, void(CFDataRef, CFRange, UInt8*));

// CFDate
TYPE(CFTimeInterval, double);
TYPE(CFAbsoluteTime, CFTimeInterval);
TYPE(CFDateRef, const struct __CFDate*);
VARIABLE(kCFAbsoluteTimeIntervalSince1970, const CFTimeInterval);
FUNCTION(CFAbsoluteTimeGetCurrent, CFAbsoluteTime());
FUNCTION(CFDateGetTypeID, CFTypeID());
FUNCTION(CFDateCreate, CFDateRef(CFAllocatorRef, CFAbsoluteTime));
FUNCTION(CFDateGetAbsoluteTime, CFAbsoluteTime(CFDateRef));

// CFDictionary
TYPE(CFDictionaryRef, const struct __CFDictionary*);
TYPE(CFMutableDictionaryRef, struct __CFDictionary*);
TYPE(CFDictionaryRetainCallBack, const void* (*)(CFAllocatorRef, const void*));
TYPE(CFDictionaryReleaseCallBack, void (*)(CFAllocatorRef, const void*));
TYPE(CFDictionaryCopyDescriptionCallBack, CFStringRef (*)(const void*));
TYPE(CFDictionaryEqualCallBack, Boolean (*)(const void*, const void*));
TYPE(CFDictionaryHashCallBack, CFHashCode (*)(const void*));
STRUCTURE(CFDictionaryKeyCallBacks, 48);
FIELD(CFDictionaryKeyCallBacks, version, 0, CFIndex);
FIELD(CFDictionaryKeyCallBacks, retain, 8, CFDictionaryRetainCallBack);
FIELD(CFDictionaryKeyCallBacks, release, 16, CFDictionaryReleaseCallBack);
FIELD(CFDictionaryKeyCallBacks, copyDescription, 24, CFDictionaryCopyDescriptionCallBack);
FIELD(CFDictionaryKeyCallBacks, equal, 32, CFDictionaryEqualCallBack);
FIELD(CFDictionaryKeyCallBacks, hash, 40, CFDictionaryHashCallBack);
STRUCTURE(CFDictionaryValueCallBacks, 40);
FIELD(CFDictionaryValueCallBacks, version, 0, CFIndex);
FIELD(CFDictionaryValueCallBacks, retain, 8, CFDictionaryRetainCallBack);
FIELD(CFDictionaryValueCallBacks, release, 16, CFDictionaryReleaseCallBack);
FIELD(CFDictionaryValueCallBacks, copyDescription, 24, CFDictionaryCopyDescriptionCallBack);
FIELD(CFDictionaryValueCallBacks, equal, 32, CFDictionaryEqualCallBack);
VARIABLE(kCFTypeDictionaryKeyCallBacks, const CFDictionaryKeyCallBacks);
VARIABLE(kCFTypeDictionaryValueCallBacks, const CFDictionaryValueCallBacks);
FUNCTION(CFDictionaryGetTypeID, CFTypeID());
FUNCTION(CFDictionaryCreate,
         CFDictionaryRef(CFAllocatorRef, const void**, const void**, CFIndex,
                         const CFDictionaryKeyCallBacks*, const CFDictionaryValueCallBacks*));
FUNCTION(CFDictionaryCreateCopy, CFDictionaryRef(CFAllocatorRef, CFDictionaryRef));
FUNCTION(CFDictionaryCreateMutable,
         CFMutableDictionaryRef(CFAllocatorRef, CFIndex, const CFDictionaryKeyCallBacks*,
                                const CFDictionaryValueCallBacks*));
FUNCTION(CFDictionaryGetCount, CFIndex(CFDictionaryRef));
FUNCTION(CFDictionaryContainsKey, Boolean(CFDictionaryRef, const void*));
FUNCTION(CFDictionaryGetValue, const void*(CFDictionaryRef, const void*));
FUNCTION(CFDictionaryGetValueIfPresent, Boolean(CFDictionaryRef, const void*, const void**));
FUNCTION(CFDictionaryGetKeysAndValues, void(CFDictionaryRef, const void**, const void**));
FUNCTION(CFDictionaryAddValue, void(CFMutableDictionaryRef, const void*, const void*));
FUNCTION(CFDictionarySetValue, void(CFMutableDictionaryRef, const void*, const void*));
FUNCTION(CFDictionaryReplaceValue, void(CFMutableDictionaryRef, const void*, const void*));
FUNCTION(CFDictionaryRemoveValue, void(CFMutableDictionaryRef, const void*));
FUNCTION(CFDictionaryRemoveAllValues, void(CFMutableDictionaryRef));

// CFMachPort
TYPE(CFMachPortRef, struct __CFMachPort*);
FUNCTION(CFMachPortGetTypeID, CFTypeID());
FUNCTION(CFMachPortCreateRunLoopSource, CFRunLoopSourceRef(CFAllocatorRef, CFMachPortRef, CFIndex));
FUNCTION(CFMachPortInvalidate, void(CFMachPortRef));
FUNCTION(CFMachPortIsValid, Boolean(CFMachPortRef));

// CFMessagePort
TYPE(CFMessagePortRef, struct __CFMessagePort*);
CONSTANT(kCFMessagePortSuccess, 0);
CONSTANT(kCFMessagePortSendTimeout, -1);
CONSTANT(kCFMessagePortReceiveTimeout, -2);
CONSTANT(kCFMessagePortIsInvalid, -3);
CONSTANT(kCFMessagePortTransportError, -4);
CONSTANT(kCFMessagePortBecameInvalidError, -5);
STRUCTURE(CFMessagePortContext, 40);
FIELD(CFMessagePortContext, version, 0, CFIndex);
FIELD(CFMessagePortContext, info, 8, void*);
FIELD(CFMessagePortContext, retain, 16, const void* (*)(const void*));
FIELD(CFMessagePortContext, release, 24, void (*)(const void*));
FIELD(CFMessagePortContext, copyDescription, 32, CFStringRef (*)(const void*));
TYPE(CFMessagePortCallBack, CFDataRef (*)(CFMessagePortRef, SInt32, CFDataRef, void*));
TYPE(CFMessagePortInvalidationCallBack, void (*)(CFMessagePortRef, void*));
FUNCTION(CFMessagePortGetTypeID, CFTypeID());
FUNCTION(CFMessagePortCreateLocal,
         CFMessagePortRef(CFAllocatorRef, CFStringRef, CFMessagePortCallBack, CFMessagePortContext*,
                          Boolean*));
FUNCTION(CFMessagePortCreateRemote, CFMessagePortRef(CFAllocatorRef, CFStringRef));
FUNCTION(CFMessagePortIsRemote, Boolean(CFMessagePortRef));
FUNCTION(CFMessagePortGetName, CFStringRef(CFMessagePortRef));
FUNCTION(CFMessagePortSetName, Boolean(CFMessagePortRef, CFStringRef));
FUNCTION(CFMessagePortGetContext, void(CFMessagePortRef, CFMessagePortContext*));
FUNCTION(CFMessagePortInvalidate, void(CFMessagePortRef));
FUNCTION(CFMessagePortIsValid, Boolean(CFMessagePortRef));
FUNCTION(CFMessagePortGetInvalidationCallBack, CFMessagePortInvalidationCallBack(CFMessagePortRef));
FUNCTION(CFMessagePortSetInvalidationCallBack,
         void(CFMessagePortRef, CFMessagePortInvalidationCallBack));
FUNCTION(CFMessagePortSendRequest, SInt32(CFMessagePortRef, SInt32, CFDataRef, CFTimeInterval,
                                          CFTimeInterval, CFStringRef, CFDataRef*));
FUNCTION(CFMessagePortCreateRunLoopSource,
         CFRunLoopSourceRef(CFAllocatorRef, CFMessagePortRef, CFIndex));

// CFNumber
TYPE(CFBooleanRef, const struct __CFBoolean*);
TYPE(CFNumberRef, const struct __CFNumber*);
VARIABLE(kCFBooleanTrue, const CFBooleanRef);
VARIABLE(kCFBooleanFalse, const CFBooleanRef);
FUNCTION(CFBooleanGetTypeID, CFTypeID());
FUNCTION(CFBooleanGetValue, Boolean(CFBooleanRef));
ENUMERATION(CFNumberType, CFIndex);
CONSTANT(kCFNumberSInt8Type, 1);
CONSTANT(kCFNumberSInt16Type, 2);
CONSTANT(kCFNumberSInt32Type, 3);
CONSTANT(kCFNumberSInt64Type, 4);
CONSTANT(kCFNumberFloat32Type, 5);
CONSTANT(kCFNumberFloat64Type, 6);
CONSTANT(kCFNumberCharType, 7);
CONSTANT(kCFNumberShortType, 8);
CONSTANT(kCFNumberIntType, 9);
CONSTANT(kCFNumberLongType, 10);
CONSTANT(kCFNumberLongLongType, 11);
CONSTANT(kCFNumberFloatType, 12);
CONSTANT(kCFNumberDoubleType, 13);
CONSTANT(kCFNumberCFIndexType, 14);
CONSTANT(kCFNumberNSIntegerType, 15);
CONSTANT(kCFNumberCGFloatType, 16);
FUNCTION(CFNumberGetTypeID, CFTypeID());
FUNCTION(CFNumberCreate, CFNumberRef(CFAllocatorRef, CFNumberType, const void*));
FUNCTION(CFNumberGetType, CFNumberType(CFNumberRef));
FUNCTION(CFNumberIsFloatType, Boolean(CFNumberRef));
FUNCTION(CFNumberGetValue, Boolean(CFNumberRef, CFNumberType, void*));
FUNCTION(CFNumberCompare, CFComparisonResult(CFNumberRef, CFNumberRef, void*));

// CFPropertyList
TYPE(CFPropertyListRef, CFTypeRef);
TYPE(CFErrorRef, struct __CFError*);
TYPE(CFPropertyListMutabilityOptions, CFOptionFlags);
CONSTANT(kCFPropertyListImmutable, 0);
CONSTANT(kCFPropertyListMutableContainers, 1);
ENUMERATION(CFPropertyListFormat, CFIndex);
CONSTANT(kCFPropertyListOpenStepFormat, 1);
CONSTANT(kCFPropertyListXMLFormat_v1_0, 100);
CONSTANT(kCFPropertyListBinaryFormat_v1_0, 200);
FUNCTION(CFPropertyListCreateFromXMLData,
         CFPropertyListRef(CFAllocatorRef, CFDataRef, CFOptionFlags, CFStringRef*));
FUNCTION(CFPropertyListCreateWithData, CFPropertyListRef(CFAllocatorRef, CFDataRef, CFOptionFlags,
                                                         CFPropertyListFormat*, CFErrorRef*));

// CFRunLoop
TYPE(CFRunLoopRef, struct __CFRunLoop*);
TYPE(CFRunLoopSourceRef, struct __CFRunLoopSource*);
TYPE(CFRunLoopTimerRef, struct __CFRunLoopTimer*);
TYPE(CFRunLoopMode, CFStringRef);
ENUMERATION(CFRunLoopRunResult, SInt32);
CONSTANT(kCFRunLoopRunFinished, 1);
CONSTANT(kCFRunLoopRunStopped, 2);
CONSTANT(kCFRunLoopRunTimedOut, 3);
CONSTANT(kCFRunLoopRunHandledSource, 4);
VARIABLE(kCFRunLoopDefaultMode, const CFRunLoopMode);
VARIABLE(kCFRunLoopCommonModes, const CFRunLoopMode);
FUNCTION(CFRunLoopGetTypeID, CFTypeID());
FUNCTION(CFRunLoopGetCurrent, CFRunLoopRef());
FUNCTION(CFRunLoopGetMain, CFRunLoopRef());
FUNCTION(CFRunLoopCopyCurrentMode, CFRunLoopMode(CFRunLoopRef));
FUNCTION(CFRunLoopAddCommonMode, void(CFRunLoopRef, CFRunLoopMode));
FUNCTION(CFRunLoopRun, void());
FUNCTION(CFRunLoopRunInMode, CFRunLoopRunResult(CFRunLoopMode, CFTimeInterval, Boolean));
FUNCTION(CFRunLoopIsWaiting, Boolean(CFRunLoopRef));
FUNCTION(CFRunLoopWakeUp, void(CFRunLoopRef));
FUNCTION(CFRunLoopStop, void(CFRunLoopRef));
FUNCTION(CFRunLoopContainsSource, Boolean(CFRunLoopRef, CFRunLoopSourceRef, CFRunLoopMode));
FUNCTION(CFRunLoopAddSource, void(CFRunLoopRef, CFRunLoopSourceRef, CFRunLoopMode));
FUNCTION(CFRunLoopRemoveSource, void(CFRunLoopRef, CFRunLoopSourceRef, CFRunLoopMode));
FUNCTION(CFRunLoopContainsTimer, Boolean(CFRunLoopRef, CFRunLoopTimerRef, CFRunLoopMode));
FUNCTION(CFRunLoopAddTimer, void(CFRunLoopRef, CFRunLoopTimerRef, CFRunLoopMode));
FUNCTION(CFRunLoopRemoveTimer, void(CFRunLoopRef, CFRunLoopTimerRef, CFRunLoopMode));
STRUCTURE(CFRunLoopSourceContext, 80);
FIELD(CFRunLoopSourceContext, version, 0, CFIndex);
FIELD(CFRunLoopSourceContext, info, 8, void*);
FIELD(CFRunLoopSourceContext, retain, 16, const void* (*)(const void*));
FIELD(CFRunLoopSourceContext, release, 24, void (*)(const void*));
FIELD(CFRunLoopSourceContext, copyDescription, 32, CFStringRef (*)(const void*));
FIELD(CFRunLoopSourceContext, equal, 40, Boolean (*)(const void*, const void*));
FIELD(CFRunLoopSourceContext, hash, 48, CFHashCode (*)(const void*));
FIELD(CFRunLoopSourceContext, schedule, 56, void (*)(void*, CFRunLoopRef, CFRunLoopMode));
FIELD(CFRunLoopSourceContext, cancel, 64, void (*)(void*, CFRunLoopRef, CFRunLoopMode));
FIELD(CFRunLoopSourceContext, perform, 72, void (*)(void*));
FUNCTION(CFRunLoopSourceGetTypeID, CFTypeID());
FUNCTION(CFRunLoopSourceCreate,
         CFRunLoopSourceRef(CFAllocatorRef, CFIndex, CFRunLoopSourceContext*));
FUNCTION(CFRunLoopSourceGetOrder, CFIndex(CFRunLoopSourceRef));
FUNCTION(CFRunLoopSourceInvalidate, void(CFRunLoopSourceRef));
FUNCTION(CFRunLoopSourceIsValid, Boolean(CFRunLoopSourceRef));
FUNCTION(CFRunLoopSourceGetContext, void(CFRunLoopSourceRef, CFRunLoopSourceContext*));
FUNCTION(CFRunLoopSourceSignal, void(CFRunLoopSourceRef));
STRUCTURE(CFRunLoopTimerContext, 40);
FIELD(CFRunLoopTimerContext, version, 0, CFIndex);
FIELD(CFRunLoopTimerContext, info, 8, void*);
FIELD(CFRunLoopTimerContext, retain, 16, const void* (*)(const void*));
FIELD(CFRunLoopTimerContext, release, 24, void (*)(const void*));
FIELD(CFRunLoopTimerContext, copyDescription, 32, CFStringRef (*)(const void*));
TYPE(CFRunLoopTimerCallBack, void (*)(CFRunLoopTimerRef, void*));
FUNCTION(CFRunLoopTimerGetTypeID, CFTypeID());
FUNCTION(CFRunLoopTimerCreate,
         CFRunLoopTimerRef(CFAllocatorRef, CFAbsoluteTime, CFTimeInterval, CFOptionFlags, CFIndex,
                           CFRunLoopTimerCallBack, CFRunLoopTimerContext*));
FUNCTION(CFRunLoopTimerGetNextFireDate, CFAbsoluteTime(CFRunLoopTimerRef));
FUNCTION(CFRunLoopTimerSetNextFireDate, void(CFRunLoopTimerRef, CFAbsoluteTime));
FUNCTION(CFRunLoopTimerGetInterval, CFTimeInterval(CFRunLoopTimerRef));
FUNCTION(CFRunLoopTimerDoesRepeat, Boolean(CFRunLoopTimerRef));
FUNCTION(CFRunLoopTimerGetOrder, CFIndex(CFRunLoopTimerRef));
FUNCTION(CFRunLoopTimerInvalidate, void(CFRunLoopTimerRef));
FUNCTION(CFRunLoopTimerIsValid, Boolean(CFRunLoopTimerRef));
FUNCTION(CFRunLoopTimerGetContext, void(CFRunLoopTimerRef, CFRunLoopTimerContext*));

// CFString
EXPRESSION(CFSTR("text"), CFStringRef);
TYPE(CFStringEncoding, UInt32);
CONSTANT(kCFStringEncodingInvalidId, 0xFFFFFFFFU);
ENUMERATION(CFStringBuiltInEncodings, CFStringEncoding);
CONSTANT(kCFStringEncodingMacRoman, 0U);
CONSTANT(kCFStringEncodingWindowsLatin1, 0x0500U);
CONSTANT(kCFStringEncodingISOLatin1, 0x0201U);
CONSTANT(kCFStringEncodingASCII, 0x0600U);
CONSTANT(kCFStringEncodingUnicode, 0x0100U);
CONSTANT(kCFStringEncodingUTF8, 0x08000100U);
CONSTANT(kCFStringEncodingUTF16, 0x0100U);
CONSTANT(kCFStringEncodingUTF16BE, 0x10000100U);
CONSTANT(kCFStringEncodingUTF16LE, 0x14000100U);
TYPE(CFStringCompareFlags, CFOptionFlags);
CONSTANT(kCFCompareCaseInsensitive, 1U);
CONSTANT(kCFCompareBackwards, 4U);
CONSTANT(kCFCompareAnchored, 8U);
CONSTANT(kCFCompareNonliteral, 16U);
FUNCTION(CFStringGetTypeID, CFTypeID());
FUNCTION(CFStringCreateWithCString, CFStringRef(CFAllocatorRef, const char*, CFStringEncoding));
FUNCTION(CFStringCreateWithBytes,
         CFStringRef(CFAllocatorRef, const UInt8*, CFIndex, CFStringEncoding, Boolean));
FUNCTION(CFStringCreateWithCharacters, CFStringRef(CFAllocatorRef, const UniChar*, CFIndex));
FUNCTION(CFStringCreateCopy, CFStringRef(CFAllocatorRef, CFStringRef));
FUNCTION(CFStringCreateWithSubstring, CFStringRef(CFAllocatorRef, CFStringRef, CFRange));
FUNCTION(CFStringCreateWithFormat, CFStringRef(CFAllocatorRef, CFDictionaryRef, CFStringRef, ...));
FUNCTION(CFStringCreateWithFormatAndArguments,
         CFStringRef(CFAllocatorRef, CFDictionaryRef, CFStringRef, va_list));
FUNCTION(CFStringGetLength, CFIndex(CFStringRef));
FUNCTION(CFStringGetCharacterAtIndex, UniChar(CFStringRef, CFIndex));
FUNCTION(CFStringGetCharacters, void(CFStringRef, CFRange, UniChar*));
FUNCTION(CFStringGetCString, Boolean(CFStringRef, char*, CFIndex, CFStringEncoding));
FUNCTION(CFStringGetCStringPtr, const char*(CFStringRef, CFStringEncoding));
FUNCTION(CFStringGetBytes, CFIndex(CFStringRef, CFRange, CFStringEncoding, UInt8, Boolean, UInt8*,
                                   CFIndex, CFIndex*));
FUNCTION(CFStringGetMaximumSizeForEncoding, CFIndex(CFIndex, CFStringEncoding));
FUNCTION(CFStringGetSystemEncoding, CFStringEncoding());
FUNCTION(CFStringCompare, CFComparisonResult(CFStringRef, CFStringRef, CFStringCompareFlags));
FUNCTION(CFStringCompareWithOptions,
         CFComparisonResult(CFStringRef, CFStringRef, CFRange, CFStringCompareFlags));
FUNCTION(CFStringFind, CFRange(CFStringRef, CFStringRef, CFStringCompareFlags));
FUNCTION(CFStringFindWithOptions,
         Boolean(CFStringRef, CFStringRef, CFRange, CFStringCompareFlags, CFRange*));

// CFURL and CFURLAccess
TYPE(CFURLRef, const struct __CFURL*);
ENUMERATION(CFURLPathStyle, CFIndex);
CONSTANT(kCFURLPOSIXPathStyle, 0);
ENUMERATION(CFURLError, CFIndex);
CONSTANT(kCFURLUnknownError, -10);
CONSTANT(kCFURLUnknownSchemeError, -11);
CONSTANT(kCFURLResourceNotFoundError, -12);
CONSTANT(kCFURLResourceAccessViolationError, -13);
CONSTANT(kCFURLImproperArgumentsError, -15);
FUNCTION(CFURLGetTypeID, CFTypeID());
FUNCTION(CFURLCreateWithFileSystemPath,
         CFURLRef(CFAllocatorRef, CFStringRef, CFURLPathStyle, Boolean));
FUNCTION(CFURLCreateWithFileSystemPathRelativeToBase,
         CFURLRef(CFAllocatorRef, CFStringRef, CFURLPathStyle, Boolean, CFURLRef));
FUNCTION(CFURLCreateFromFileSystemRepresentation,
         CFURLRef(CFAllocatorRef, const UInt8*, CFIndex, Boolean));
FUNCTION(CFURLCreateCopyAppendingPathComponent,
         CFURLRef(CFAllocatorRef, CFURLRef, CFStringRef, Boolean));
FUNCTION(CFURLCreateFromFSRef, CFURLRef(CFAllocatorRef, const struct FSRef*));
FUNCTION(CFURLGetString, CFStringRef(CFURLRef));
FUNCTION(CFURLGetBaseURL, CFURLRef(CFURLRef));
FUNCTION(CFURLCopyAbsoluteURL, CFURLRef(CFURLRef));
FUNCTION(CFURLCopyFileSystemPath, CFStringRef(CFURLRef, CFURLPathStyle));
FUNCTION(CFURLGetFileSystemRepresentation, Boolean(CFURLRef, Boolean, UInt8*, CFIndex));
FUNCTION(CFURLCreateDataAndPropertiesFromResource,
         Boolean(CFAllocatorRef, CFURLRef, CFDataRef*, CFDictionaryRef*, CFArrayRef, SInt32*));
