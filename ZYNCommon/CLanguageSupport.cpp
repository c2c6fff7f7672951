#include "ZYNCommon/CLanguageSupport.h"

#include <CoreServices/CoreServices.h>

#include <string>

#include "platform/CFRef.h"

using kivo::Adopt;
using kivo::CFRef;

namespace {

/// Makes a reference to the folder "Zynwerks" inside Application Support; false when it is missing.
bool FindLanguageFolder(FSRef* folder) {
    FSRef support;
    if (FSFindFolder(kOnSystemDisk, kApplicationSupportFolderType, false, &support) != noErr) {
        return false;
    }
    const CFStringRef folderName = CFSTR("Zynwerks");
    HFSUniStr255 name = {};
    name.length = static_cast<UInt16>(CFStringGetBytes(
        folderName, CFRangeMake(0, CFStringGetLength(folderName)), kCFStringEncodingUnicode, 0,
        false, reinterpret_cast<UInt8*>(name.unicode), sizeof name.unicode, nullptr));
    return FSMakeFSRefUnicode(&support, name.length, name.unicode, kTextEncodingUnicodeDefault,
                              folder) == noErr;
}

/// The URL of a language's file; null when there can be none.
CFRef<CFURLRef> LocateLanguageFile(const char* languageName) {
    FSRef folder;
    if (!FindLanguageFolder(&folder)) return {};
    const auto folderURL = Adopt(CFURLCreateFromFSRef(kCFAllocatorDefault, &folder));
    const std::string fileText = std::string(languageName) + ".plist";
    const auto fileName = Adopt(CFStringCreateWithCString(kCFAllocatorDefault, fileText.c_str(),
                                                          CFStringGetSystemEncoding()));
    if (!folderURL || !fileName) return {};
    return Adopt(CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, folderURL.Get(),
                                                       fileName.Get(), false));
}

/// The file's property list, whatever its root is; null when it cannot be read or parsed.
CFRef<CFPropertyListRef> ReadPropertyList(CFURLRef url) {
    CFRef<CFDataRef> data;
    if (!CFURLCreateDataAndPropertiesFromResource(kCFAllocatorDefault, url, data.Receive(), nullptr,
                                                  nullptr, nullptr)) {
        return {};
    }
    CFRef<CFStringRef> error;
    return Adopt(CFPropertyListCreateFromXMLData(kCFAllocatorDefault, data.Get(),
                                                 kCFPropertyListImmutable, error.Receive()));
}

}  // namespace

CLanguageSupport* CLanguageSupport::sSelf = nullptr;

CLanguageSupport::CLanguageSupport(const char* languageName) {
    sSelf = this;
    const CFRef<CFURLRef> url = LocateLanguageFile(languageName);
    if (!url) return;
    mTable = static_cast<CFDictionaryRef>(ReadPropertyList(url.Get()).Release());
}

CLanguageSupport::~CLanguageSupport() {
    if (mTable != nullptr) CFRelease(mTable);
    sSelf = nullptr;
}

CFStringRef CLanguageSupport::CopyStringForKey(CFStringRef key) {
    if (mTable == nullptr) return CFStringCreateCopy(kCFAllocatorDefault, key);
    if (CFGetTypeID(mTable) != CFDictionaryGetTypeID()) return nullptr;
    const CFTypeRef value = CFDictionaryGetValue(mTable, key);
    const bool isString = value != nullptr && CFGetTypeID(value) == CFStringGetTypeID();
    return isString ? static_cast<CFStringRef>(value) : nullptr;
}
