#include <CFRef.h>
#include <CoreServices/CoreServices.h>
#include <CoreServices/FileReference.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <vector>

namespace {

namespace fs = std::filesystem;

fs::path EnvironmentPath(const char* name) {
    const char* value = std::getenv(name);
    const fs::path path = value != nullptr ? value : "";
    // The XDG Base Directory Specification has relative paths ignored.
    return path.is_absolute() ? path : fs::path();
}

/// $XDG_DATA_HOME or its default; empty without a home.
fs::path UserDataFolder() {
    const fs::path folder = EnvironmentPath("XDG_DATA_HOME");
    if (!folder.empty()) return folder;
    const fs::path home = EnvironmentPath("HOME");
    return home.empty() ? home : home / ".local/share";
}

/// $XDG_DATA_DIRS or its default.
std::vector<fs::path> SystemDataFolders() {
    const char* value = std::getenv("XDG_DATA_DIRS");
    const bool isSet = value != nullptr && *value != '\0';
    std::string_view list = isSet ? value : "/usr/local/share:/usr/share";
    std::vector<fs::path> folders;
    while (!list.empty()) {
        const std::string_view entry = list.substr(0, list.find(':'));
        const fs::path folder = entry;
        if (folder.is_absolute()) folders.push_back(folder);
        list.remove_prefix(std::min(entry.size() + 1, list.size()));
    }
    return folders;
}

/// The data folder with the maker's folder in it; the user's when there is none.
fs::path ApplicationSupportFolder() {
    const fs::path userFolder = UserDataFolder();
    std::vector<fs::path> folders = SystemDataFolders();
    if (!userFolder.empty()) folders.insert(folders.begin(), userFolder);
    std::error_code error;
    for (const fs::path& folder : folders)
        if (fs::is_directory(folder / "Zynwerks", error)) return folder;
    return userFolder;
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
    const fs::path folder = ApplicationSupportFolder();
    std::error_code error;
    if (!fs::is_directory(folder, error)) return fnfErr;
    kivo::MakeReference(folder.native(), *foundRef);
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
    std::error_code error;
    if (!parent || !fs::is_directory(*parent, error)) return dirNFErr;
    const fs::path path = fs::path(*parent) / fileName;
    if (!fs::exists(path, error)) return fnfErr;
    kivo::MakeReference(path.native(), *newRef);
    return noErr;
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef* fsRef) {
    const std::optional<std::string> path = kivo::PathOfReference(*fsRef);
    if (!path) return nullptr;
    std::error_code error;
    const bool isDirectory = fs::is_directory(*path, error);
    return CFURLCreateFromFileSystemRepresentation(allocator,
                                                   reinterpret_cast<const UInt8*>(path->data()),
                                                   static_cast<CFIndex>(path->size()), isDirectory);
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
