#include <CFRef.h>
#include <CoreFoundation/BundleLanguages.h>
#include <CoreFoundation/CFBundleSeams.h>
#include <CoreFoundation/CFPropertyList.h>
#include <CoreFoundation/CFRuntime.h>
#include <CoreFoundation/CFStringSeams.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <vector>

using kivo::CFRef;
namespace fs = std::filesystem;

namespace {

CFRef<CFURLRef> DirectoryURL(const fs::path& path, CFURLRef base = nullptr) {
    const auto text = kivo::Adopt(kivo::CreateStringFromUtf8(path.native()));
    return kivo::Adopt(CFURLCreateWithFileSystemPathRelativeToBase(
        kCFAllocatorDefault, text.Get(), kCFURLPOSIXPathStyle, true, base));
}

/// The dictionary of a property list file, or an empty one.
CFRef<CFDictionaryRef> ReadDictionary(const fs::path& path) {
    const std::string& name = path.native();
    const auto url = kivo::Adopt(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(name.data()),
        static_cast<CFIndex>(name.size()), false));
    CFRef<CFDataRef> data;
    CFRef<CFPropertyListRef> list;
    if (CFURLCreateDataAndPropertiesFromResource(kCFAllocatorDefault, url.Get(), data.Receive(),
                                                 nullptr, nullptr, nullptr) != 0)
        list = kivo::Adopt(CFPropertyListCreateFromXMLData(kCFAllocatorDefault, data.Get(),
                                                           kCFPropertyListImmutable, nullptr));
    if (list && CFGetTypeID(list.Get()) == CFDictionaryGetTypeID())
        return kivo::Adopt(static_cast<CFDictionaryRef>(list.Release()));
    return kivo::Adopt(CFDictionaryCreate(kCFAllocatorDefault, nullptr, nullptr, 0,
                                          &kCFTypeDictionaryKeyCallBacks,
                                          &kCFTypeDictionaryValueCallBacks));
}

CFStringRef StringValue(CFDictionaryRef dictionary, CFStringRef key) {
    const CFTypeRef value = CFDictionaryGetValue(dictionary, key);
    const bool isString = value != nullptr && CFGetTypeID(value) == CFStringGetTypeID();
    return isString ? static_cast<CFStringRef>(value) : nullptr;
}

bool IsEmpty(CFStringRef string) {
    return string == nullptr || CFStringGetLength(string) == 0;
}

}  // namespace

/// A bundle. What is read from files is read once and kept; the lock guards that.
struct __CFBundle final : public kivo::CFObject {
  public:
    explicit __CFBundle(kivo::BundleLayout layout) : mLayout(std::move(layout)) {}

    CFTypeID TypeID() const override { return CFBundleGetTypeID(); }
    bool Equal(const CFObject& other) const override {
        return mLayout.root == static_cast<const __CFBundle&>(other).mLayout.root;
    }
    CFHashCode Hash() const override { return fs::hash_value(mLayout.root); }

    const kivo::BundleLayout& Layout() const { return mLayout; }
    CFDictionaryRef Info();
    /// The strings of a table, lent.
    CFDictionaryRef Table(const std::string& name);

  private:
    CFDictionaryRef LockedInfo();
    std::vector<std::string> Localisations() const;
    std::vector<std::string> FoldersInOrder();
    fs::path FindTable(const std::string& name);

    const kivo::BundleLayout mLayout;
    std::mutex mLock;
    CFRef<CFDictionaryRef> mInfo;
    std::map<std::string, CFRef<CFDictionaryRef>> mTables;
};

CFDictionaryRef __CFBundle::Info() {
    const std::lock_guard guard(mLock);
    return LockedInfo();
}

CFDictionaryRef __CFBundle::LockedInfo() {
    if (!mInfo) mInfo = ReadDictionary(mLayout.contents / "Info.plist");
    return mInfo.Get();
}

CFDictionaryRef __CFBundle::Table(const std::string& name) {
    const std::lock_guard guard(mLock);
    CFRef<CFDictionaryRef>& table = mTables[name];
    if (!table) table = ReadDictionary(FindTable(name));
    return table.Get();
}

/// The names of the .lproj folders, sorted so that the choice among them is always the same.
std::vector<std::string> __CFBundle::Localisations() const {
    std::vector<std::string> names;
    std::error_code error;
    fs::directory_iterator entry(mLayout.resources, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const fs::path name = entry->path().filename();
        if (name.extension() == ".lproj" && name.stem() != "Base")
            names.push_back(name.stem().native());
    }
    std::ranges::sort(names);
    return names;
}

/// The folders that may hold a table, in the platform's order: what is not localised, the user's
/// first language, Base, the user's other languages, the development region's.
std::vector<std::string> __CFBundle::FoldersInOrder() {
    const CFStringRef region = StringValue(LockedInfo(), CFSTR("CFBundleDevelopmentRegion"));
    const std::string regionName = region != nullptr ? kivo::Utf8Of(region) : std::string();
    const std::vector<std::string> localisations = Localisations();
    std::vector<std::string> languages = kivo::MatchLanguages(localisations, kivo::UserLanguages());
    const std::string fallback = kivo::FallbackLanguage(localisations, regionName);
    if (!fallback.empty()) languages.push_back(fallback);

    std::vector<std::string> folders = {""};
    for (const std::string& language : languages) {
        folders.push_back(language + ".lproj");
        if (folders.size() == 2) folders.emplace_back("Base.lproj");
    }
    return folders;
}

fs::path __CFBundle::FindTable(const std::string& name) {
    std::error_code error;
    for (const std::string& folder : FoldersInOrder()) {
        fs::path file = mLayout.resources / folder / (name + ".strings");
        if (fs::is_regular_file(file, error)) return file;
    }
    return mLayout.resources / "Base.lproj" / (name + ".strings");
}

namespace {

fs::path& MainExecutable() {
    static auto& path = *new fs::path;
    return path;
}

CFBundleRef MakeMainBundle() {
    std::error_code error;
    fs::path executable = MainExecutable();
    if (executable.empty()) executable = fs::read_symlink("/proc/self/exe", error);
    auto* bundle = new __CFBundle(kivo::LayoutOfExecutable(executable));
    bundle->MakeImmortal();
    return bundle;
}

kivo::BundleLayout LayoutOfFolder(const fs::path& folder) {
    std::error_code error;
    const fs::path contents = folder / "Contents";
    if (fs::is_directory(contents, error)) return {folder, contents, contents / "Resources"};
    return {folder, folder, folder};
}

bool IsOneOf(const fs::path& name, std::initializer_list<const char*> names) {
    return std::ranges::find(names, name) != names.end();
}

}  // namespace

namespace kivo {

BundleLayout LayoutOfExecutable(const fs::path& executable) {
    const fs::path folder = executable.parent_path();
    const fs::path parent = folder.parent_path();
    const fs::path grandparent = parent.parent_path();
    if (parent.filename() == "Contents" && grandparent.extension() == ".app")
        return {grandparent, parent, parent / "Resources"};

    fs::path prefix;
    if (IsOneOf(folder.filename(), {"bin", "sbin", "libexec"})) prefix = parent;
    if (IsOneOf(parent.filename(), {"lib", "libexec"})) prefix = grandparent;
    fs::path resources = prefix / "share" / executable.filename();
    resources += ".resources";
    std::error_code error;
    if (!prefix.empty() && fs::is_directory(resources, error))
        return {resources, resources, resources};
    return {folder, folder, folder};
}

void UseMainExecutable(const fs::path& executable) {
    MainExecutable() = executable;
}

}  // namespace kivo

CFTypeID CFBundleGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("CFBundle");
    return id;
}

CFBundleRef CFBundleGetMainBundle() {
    static auto* bundle = MakeMainBundle();
    return bundle;
}

CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef bundleURL) {
    UInt8 path[PATH_MAX];
    std::error_code error;
    if (CFURLGetFileSystemRepresentation(bundleURL, true, path, sizeof path) == 0) return nullptr;
    const fs::path folder = reinterpret_cast<const char*>(path);
    if (!fs::is_directory(folder, error)) return nullptr;
    auto* main = CFBundleGetMainBundle();
    if (fs::equivalent(folder, main->Layout().root, error)) {
        CFRetain(main);
        return main;
    }
    return new __CFBundle(LayoutOfFolder(folder));
}

CFDictionaryRef CFBundleGetInfoDictionary(CFBundleRef bundle) {
    return bundle->Info();
}

CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, CFStringRef key) {
    return CFDictionaryGetValue(bundle->Info(), key);
}

CFStringRef CFBundleGetIdentifier(CFBundleRef bundle) {
    return StringValue(bundle->Info(), CFSTR("CFBundleIdentifier"));
}

CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle) {
    return DirectoryURL(bundle->Layout().root).Release();
}

CFURLRef CFBundleCopyResourcesDirectoryURL(CFBundleRef bundle) {
    const kivo::BundleLayout& layout = bundle->Layout();
    const auto root = DirectoryURL(layout.root);
    if (layout.resources == layout.root) return CFURLCopyAbsoluteURL(root.Get());
    return DirectoryURL(layout.resources.lexically_relative(layout.root), root.Get()).Release();
}

CFStringRef CFBundleCopyLocalizedString(CFBundleRef bundle, CFStringRef key, CFStringRef value,
                                        CFStringRef tableName) {
    const std::string table = IsEmpty(tableName) ? "Localizable" : kivo::Utf8Of(tableName);
    CFStringRef result = key != nullptr ? StringValue(bundle->Table(table), key) : nullptr;
    if (result == nullptr) result = !IsEmpty(value) || key == nullptr ? value : key;
    if (result == nullptr) result = CFSTR("");
    CFRetain(result);
    return result;
}
