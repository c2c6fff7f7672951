#include <CFRef.h>
#include <CoreFoundation/CFDataSeams.h>
#include <CoreFoundation/CFRuntime.h>
#include <CoreFoundation/CFStringSeams.h>
#include <CoreFoundation/CFURL.h>
#include <CoreFoundation/FileDescriptor.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>

using kivo::CFRef;

/// The URL of a file or directory: a path in bytes, perhaps below the directory of another URL.
struct __CFURL final : public kivo::CFObject {
  public:
    __CFURL(std::string path, bool isDirectory, CFRef<CFURLRef> base);

    CFTypeID TypeID() const override { return CFURLGetTypeID(); }
    bool Equal(const CFObject& other) const override;
    CFHashCode Hash() const override { return std::hash<std::string>()(mPath); }
    std::string Description() const override;

    /// Without a "/" at the end, unless it is the root.
    const std::string& Path() const { return mPath; }
    std::string AbsolutePath() const;
    bool IsDirectory() const { return mIsDirectory; }
    CFURLRef Base() const { return mBase.Get(); }
    CFStringRef String() const { return mString.Get(); }

  private:
    std::string mPath;
    bool mIsDirectory;
    CFRef<CFURLRef> mBase;
    CFRef<CFStringRef> mString;
};

namespace {

bool IsAbsolute(std::string_view path) {
    return path.starts_with('/');
}

std::string WithoutSlashAtEnd(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

std::string Join(const std::string& folder, const std::string& name) {
    return folder.ends_with('/') ? folder + name : folder + '/' + name;
}

/// The characters that may stand for themselves in a URL's path, after RFC 3986, but for ";".
bool StandsForItself(char character) {
    constexpr std::string_view kPunctuation = "/-._~!$&'()*+,=:@";
    const bool isLetter =
        (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
    const bool isDigit = character >= '0' && character <= '9';
    return isLetter || isDigit || kPunctuation.find(character) != kPunctuation.npos;
}

std::string EscapePath(std::string_view path) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string escaped;
    for (const char character : path) {
        if (StandsForItself(character)) {
            escaped += character;
            continue;
        }
        const auto byte = static_cast<unsigned char>(character);
        escaped += '%';
        escaped += kDigits[byte >> 4];
        escaped += kDigits[byte & 15];
    }
    return escaped;
}

/// The bytes of a path; none when it is empty, holds a NUL or is not text.
std::optional<std::string> PathOf(CFStringRef string) {
    const CFIndex size =
        1 + CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8);
    std::string path(static_cast<size_t>(size), '\0');
    if (CFStringGetCString(string, path.data(), size, kCFStringEncodingUTF8) == 0)
        return std::nullopt;
    path.resize(std::strlen(path.c_str()));
    const bool hasNul = string->Units().find(u'\0') != std::u16string_view::npos;
    if (path.empty() || hasNul) return std::nullopt;
    return path;
}

CFURLRef CurrentDirectory() {
    char path[PATH_MAX];
    if (getcwd(path, sizeof path) == nullptr) return nullptr;
    return new __CFURL(path, true, {});
}

CFURLRef CreateURL(std::string path, bool isDirectory, CFURLRef base) {
    CFRef<CFURLRef> owner;
    if (!IsAbsolute(path))
        owner = base != nullptr ? kivo::Retain(base) : kivo::Adopt(CurrentDirectory());
    return new __CFURL(WithoutSlashAtEnd(std::move(path)), isDirectory, std::move(owner));
}

SInt32 ErrorOf(int systemError) {
    switch (systemError) {
        case ENOENT:
        case ENOTDIR:
            return kCFURLResourceNotFoundError;
        case EACCES:
        case EPERM:
            return kCFURLResourceAccessViolationError;
        default:
            return kCFURLUnknownError;
    }
}

/// Reads until `size` bytes or the end of the file; the number read, or none on an error.
std::optional<size_t> ReadFully(int descriptor, UInt8* bytes, size_t size) {
    size_t count = 0;
    while (count < size) {
        const ssize_t step = read(descriptor, bytes + count, size - count);
        if (step < 0 && errno == EINTR) continue;
        if (step < 0) return std::nullopt;
        if (step == 0) break;
        count += static_cast<size_t>(step);
    }
    return count;
}

/// What came of reading a file: its data, or none and why.
struct FileReading {
    CFRef<CFDataRef> data;
    SInt32 error;
};

/// Reads a regular file. Nothing else is opened for reading: a pipe could keep the reader waiting.
FileReading ReadFile(const std::string& path) {
    constexpr off_t kLargestFile = off_t{256} << 20;
    const kivo::FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file || fstat(file.Get(), &status) != 0) return {{}, ErrorOf(errno)};
    if (!S_ISREG(status.st_mode) || status.st_size > kLargestFile) return {{}, kCFURLUnknownError};
    const auto size = static_cast<size_t>(status.st_size);
    const std::shared_ptr<UInt8[]> bytes = std::make_shared_for_overwrite<UInt8[]>(size);
    const std::optional<size_t> count = ReadFully(file.Get(), bytes.get(), size);
    if (!count) return {{}, kCFURLUnknownError};
    return {kivo::Adopt(kivo::CreateDataWithoutCopy({bytes.get(), *count}, bytes)), noErr};
}

CFDictionaryRef CreateEmptyDictionary() {
    return CFDictionaryCreate(kCFAllocatorDefault, nullptr, nullptr, 0,
                              &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
}

}  // namespace

__CFURL::__CFURL(std::string path, bool isDirectory, CFRef<CFURLRef> base)
    : mPath(std::move(path)), mIsDirectory(isDirectory), mBase(std::move(base)) {
    std::string text = (IsAbsolute(mPath) ? "file://" : "") + EscapePath(mPath);
    if (mIsDirectory && !text.ends_with('/')) text += '/';
    mString = kivo::Adopt(kivo::CreateStringFromUtf8(text));
}

bool __CFURL::Equal(const CFObject& other) const {
    const auto& url = static_cast<const __CFURL&>(other);
    if (mPath != url.mPath || mIsDirectory != url.mIsDirectory) return false;
    if (!mBase || !url.mBase) return !mBase && !url.mBase;
    return mBase.Get()->Equal(*url.mBase.Get());
}

std::string __CFURL::Description() const {
    const std::string own = kivo::Utf8Of(mString.Get());
    return mBase ? own + " -- " + mBase.Get()->Description() : own;
}

std::string __CFURL::AbsolutePath() const {
    if (!mBase) return mPath;
    std::string folder = mBase.Get()->AbsolutePath();
    if (!mBase.Get()->IsDirectory()) folder.erase(folder.rfind('/') + 1);
    return Join(folder, mPath);
}

CFTypeID CFURLGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("CFURL");
    return id;
}

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef filePath,
                                       CFURLPathStyle pathStyle, Boolean isDirectory) {
    return CFURLCreateWithFileSystemPathRelativeToBase(allocator, filePath, pathStyle, isDirectory,
                                                       nullptr);
}

CFURLRef CFURLCreateWithFileSystemPathRelativeToBase(CFAllocatorRef, CFStringRef filePath,
                                                     CFURLPathStyle pathStyle, Boolean isDirectory,
                                                     CFURLRef baseURL) {
    std::optional<std::string> path = PathOf(filePath);
    if (!path || pathStyle != kCFURLPOSIXPathStyle) return nullptr;
    return CreateURL(std::move(*path), isDirectory != 0, baseURL);
}

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, const UInt8* buffer,
                                                 CFIndex bufLen, Boolean isDirectory) {
    if (bufLen <= 0) return nullptr;
    std::string path(reinterpret_cast<const char*>(buffer), static_cast<size_t>(bufLen));
    if (path.find('\0') != path.npos) return nullptr;
    return CreateURL(std::move(path), isDirectory != 0, nullptr);
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef, CFURLRef url,
                                               CFStringRef pathComponent, Boolean isDirectory) {
    const std::optional<std::string> component = PathOf(pathComponent);
    if (!component) return nullptr;
    return CreateURL(Join(url->Path(), *component), isDirectory != 0, url->Base());
}

CFStringRef CFURLGetString(CFURLRef anURL) {
    return anURL->String();
}

CFURLRef CFURLGetBaseURL(CFURLRef anURL) {
    return anURL->Base();
}

CFURLRef CFURLCopyAbsoluteURL(CFURLRef relativeURL) {
    return CreateURL(relativeURL->AbsolutePath(), relativeURL->IsDirectory(), nullptr);
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef anURL, CFURLPathStyle pathStyle) {
    if (pathStyle != kCFURLPOSIXPathStyle) return nullptr;
    return kivo::CreateStringFromUtf8(anURL->Path());
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer,
                                         CFIndex maxBufLen) {
    const std::string path = resolveAgainstBase != 0 ? url->AbsolutePath() : url->Path();
    if (maxBufLen <= static_cast<CFIndex>(path.size())) return false;
    std::memcpy(buffer, path.c_str(), path.size() + 1);
    return true;
}

Boolean CFURLCreateDataAndPropertiesFromResource(CFAllocatorRef, CFURLRef url,
                                                 CFDataRef* resourceData,
                                                 CFDictionaryRef* properties, CFArrayRef,
                                                 SInt32* errorCode) {
    FileReading reading = ReadFile(url->AbsolutePath());
    const bool isRead = static_cast<bool>(reading.data);
    if (errorCode != nullptr) *errorCode = reading.error;
    if (properties != nullptr) *properties = isRead ? CreateEmptyDictionary() : nullptr;
    if (resourceData != nullptr) *resourceData = reading.data.Release();
    return isRead;
}
