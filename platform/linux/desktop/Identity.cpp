#include "desktop/Identity.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

#include "desktop/Text.h"

namespace kivo::desktop {
namespace {

using Entry = DesktopFiles::Index::value_type;

std::string Lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

std::string FileName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

/// An id as some windows claim it: a whole path, or with the file's ending.
std::string PlainID(const std::string& claimed) {
    constexpr std::string_view kEnding = ".desktop";
    std::string id = FileName(claimed);
    if (id.ends_with(kEnding)) id.resize(id.size() - kEnding.size());
    return id;
}

const Entry* ByID(const DesktopFiles::Index& index, const std::string& id) {
    const auto found = index.find(id);
    return found == index.end() ? nullptr : &*found;
}

/// The best of the entries of which `matches` is true; null when there is none.
template <typename Matches>
const Entry* Best(const DesktopFiles::Index& index, Matches matches) {
    const Entry* best = nullptr;
    for (const Entry& entry : index) {
        if (!matches(entry.second)) continue;
        if (!entry.second.noDisplay) return &entry;
        if (best == nullptr) best = &entry;
    }
    return best;
}

const Entry* ByStartupWMClass(const DesktopFiles::Index& index, const std::string& name) {
    if (name.empty()) return nullptr;
    return Best(index, [&](const DesktopEntry& entry) { return entry.startupWMClass == name; });
}

/// The entry of a program that shows windows of its own. Entries for the terminal and those that
/// give the program something to run are most often about interpreters, whose windows are those of
/// any application written for them.
const Entry* ByProgram(const DesktopFiles::Index& index, const std::string& executable) {
    const std::string name = FileName(executable);
    if (name.empty()) return nullptr;
    return Best(index, [&](const DesktopEntry& entry) {
        return FileName(entry.program) == name && !entry.terminal && !entry.hasOperands;
    });
}

const Entry* Find(const DesktopFiles::Index& index, const Claims& claims) {
    if (const Entry* entry = ByID(index, PlainID(claims.applicationID))) return entry;
    for (const std::string* name : {&claims.className, &claims.instance}) {
        if (const Entry* entry = ByStartupWMClass(index, *name)) return entry;
    }
    // Many programs are called by their file's name with a capital: "Firefox", "Gimp".
    for (const std::string& name : {claims.className, Lowered(claims.className), claims.instance}) {
        if (const Entry* entry = ByID(index, name)) return entry;
    }
    return ByProgram(index, claims.executable);
}

}  // namespace

std::string ExecutableOf(pid_t processID) {
    if (processID <= 0) return {};
    std::error_code error;
    const auto link = "/proc/" + std::to_string(processID) + "/exe";
    return ValidUTF8(std::filesystem::read_symlink(link, error).native());
}

Application Identify(const DesktopFiles::Index& index, pid_t processID, const Claims& claims) {
    Application application;
    application.processID = processID;
    const Entry* entry = Find(index, claims);
    if (entry == nullptr) {
        application.bundleID = claims.className;
        return application;
    }
    application.bundleID = entry->first;
    application.hasBundle = true;
    const DesktopEntry& values = entry->second;
    if (values.signature) application.info["CFBundleSignature"] = *values.signature;
    if (values.shortVersion) application.info["CFBundleShortVersionString"] = *values.shortVersion;
    return application;
}

}  // namespace kivo::desktop
