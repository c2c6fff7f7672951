#include <CFRef.h>
#include <CoreServices/CoreServices.h>
#include <CoreServices/FileReference.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

namespace {

// Paths are plain text here: a target request comes by once for each window of the front
// application, and a path object costs more than the look at the folder.

bool IsFolder(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool Exists(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0;
}

bool HoldsMakersFolder(const std::string& folder) {
    return IsFolder(folder + "/Zynwerks");
}

/// The value of an environment variable that holds one path; empty when it is not set or relative,
/// which the XDG Base Directory Specification has ignored.
std::string EnvironmentPath(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value == '/' ? value : std::string();
}

/// $XDG_DATA_HOME or its default; empty without a home.
std::string UserDataFolder() {
    std::string folder = EnvironmentPath("XDG_DATA_HOME");
    if (!folder.empty()) return folder;
    const std::string home = EnvironmentPath("HOME");
    return home.empty() ? home : home + "/.local/share";
}

/// The first folder of $XDG_DATA_DIRS, or its default, with the maker's folder in it; empty when
/// there is none.
std::string SystemDataFolder() {
    const char* value = std::getenv("XDG_DATA_DIRS");
    const bool isSet = value != nullptr && *value != '\0';
    std::string_view list = isSet ? value : "/usr/local/share:/usr/share";
    while (!list.empty()) {
        std::string folder(list.substr(0, list.find(':')));
        if (folder.starts_with('/') && HoldsMakersFolder(folder)) return folder;
        list.remove_prefix(std::min(folder.size() + 1, list.size()));
    }
    return {};
}

/// The data folder with the maker's folder in it; the user's when there is none.
std::string ApplicationSupportFolder() {
    std::string userFolder = UserDataFolder();
    if (!userFolder.empty() && HoldsMakersFolder(userFolder)) return userFolder;
    const std::string systemFolder = SystemDataFolder();
    return systemFolder.empty() ? userFolder : systemFolder;
}

/// The name of a file in the bytes of a path; empty when it cannot be one.
std::string FileName(UniCharCount length, const UniChar* units) {
    const auto text = kivo::Adopt(
        CFStringCreateWithCharacters(kCFAllocatorDefault, units, static_cast<CFIndex>(length)));
    std::array<char, 3 * 255 + 1> bytes;
    if (CFStringGetCString(text.Get(), bytes.data(), bytes.size(), kCFStringEncodingUTF8) == 0)
        return {};
    const std::string name = bytes.data();
    const bool isName = name.find('/') == name.npos && name != "." && name != "..";
    return isName ? name : std::string();
}

}  // namespace

OSErr FSFindFolder(FSVolumeRefNum vRefNum, OSType folderType, Boolean, FSRef* foundRef) {
    if (foundRef == nullptr) return paramErr;
    if (vRefNum != kOnSystemDisk) return nsvErr;
    if (folderType != kApplicationSupportFolderType) return dirNFErr;
    const std::string folder = ApplicationSupportFolder();
    if (!IsFolder(folder)) return fnfErr;
    kivo::MakeReference(folder, *foundRef);
    return noErr;
}

OSErr FSMakeFSRefUnicode(const FSRef* parentRef, UniCharCount nameLength, const UniChar* name,
                         TextEncoding, FSRef* newRef) {
    constexpr UniCharCount kLongestName = 255;
    if (parentRef == nullptr || name == nullptr || newRef == nullptr) return paramErr;
    if (nameLength == 0 || nameLength > kLongestName) return bdNamErr;
    const std::string fileName = FileName(nameLength, name);
    if (fileName.empty()) return bdNamErr;
    const std::optional<std::string> parent = kivo::PathOfReference(*parentRef);
    if (!parent || !IsFolder(*parent)) return dirNFErr;
    const std::string path = *parent + '/' + fileName;
    if (!Exists(path)) return fnfErr;
    kivo::MakeReference(path, *newRef);
    return noErr;
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef* fsRef) {
    const std::optional<std::string> path = kivo::PathOfReference(*fsRef);
    if (!path) return nullptr;
    return CFURLCreateFromFileSystemRepresentation(
        allocator, reinterpret_cast<const UInt8*>(path->data()), static_cast<CFIndex>(path->size()),
        IsFolder(*path));
}

OSType UTGetOSTypeFromString(CFStringRef inString) {
    if (inString == nullptr) return 0;
    std::array<UInt8, 4> bytes{};
    CFIndex count = 0;
    const CFIndex length = CFStringGetLength(inString);
    const CFIndex converted =
        CFStringGetBytes(inString, CFRangeMake(0, length), kCFStringEncodingMacRoman, 0, false,
                         bytes.data(), bytes.size(), &count);
    // Stopping earlier than at the fourth byte means a character that MacRoman does not have.
    if (converted < length && count < static_cast<CFIndex>(bytes.size())) return 0;
    OSType code = 0;
    for (const UInt8 byte : bytes)
        code = code << 8 | byte;
    return code;
}
