#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFString.h>
#include <CoreFoundation/CFURL.h>

/// Bundles: an Info dictionary and localised resources in a folder. Apple's names, the subset in
/// use. From any thread; the first call that needs a file reads it and blocks so long.

typedef struct __CFBundle* CFBundleRef;

#ifdef __cplusplus
extern "C" {
#endif

CFTypeID CFBundleGetTypeID(void);

/// The bundle that the executable belongs to; lent, always the same and never null. An executable
/// outside of any bundle has its own directory for one.
CFBundleRef CFBundleGetMainBundle(void);
/// The bundle in a directory; the main bundle for its own. Create rule; null when there is no such
/// directory.
CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef bundleURL);

/// The Info dictionary, lent; empty when the bundle has none.
CFDictionaryRef CFBundleGetInfoDictionary(CFBundleRef bundle);
/// A value of the Info dictionary, lent, or null.
CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, CFStringRef key);
/// The bundle identifier, lent, or null.
CFStringRef CFBundleGetIdentifier(CFBundleRef bundle);
/// The bundle's directory. Create rule.
CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle);
/// The directory of the resources, relative to the bundle's. Create rule.
CFURLRef CFBundleCopyResourcesDirectoryURL(CFBundleRef bundle);

/// The text for `key` in the user's language, from "<tableName>.strings" ("Localizable" when null
/// or empty). Without one: `value`, or the key when that is null or empty. Create rule.
CFStringRef CFBundleCopyLocalizedString(CFBundleRef bundle, CFStringRef key, CFStringRef value,
                                        CFStringRef tableName);

#ifdef __cplusplus
}
#endif
