#include "desktop/DesktopFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <set>

#include "desktop/Text.h"

namespace kivo::desktop {
namespace {

namespace fs = std::filesystem;

/// A desktop file has a few kilobytes; what is longer is cut here.
constexpr std::size_t kLongestFile = 1 << 20;

std::int64_t Nanoseconds(const timespec& time) {
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

std::string Contents(const fs::path& path) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return {};
    std::string contents;
    char piece[16384];
    ssize_t count = 0;
    while (contents.size() < kLongestFile && (count = read(descriptor, piece, sizeof piece)) > 0) {
        contents.append(piece, static_cast<std::size_t>(count));
    }
    close(descriptor);
    return contents;
}

/// The path below the "applications" folder, its separators replaced by '-', without ".desktop".
std::string IDOf(const fs::path& relative) {
    std::string id = ValidUTF8(fs::path(relative).replace_extension().native());
    std::replace(id.begin(), id.end(), '/', '-');
    return id;
}

std::string Variable(const char* name, const std::string& standard) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : standard;
}

}  // namespace

DesktopFiles::DesktopFiles(std::vector<fs::path> folders)
    : mFolders(std::move(folders)), mFiles(mFolders.size()) {}

std::vector<fs::path> DesktopFiles::StandardFolders() {
    const std::string home = Variable("HOME", "");
    std::string places = Variable("XDG_DATA_HOME", home.empty() ? "" : home + "/.local/share") +
                         ":" + Variable("XDG_DATA_DIRS", "/usr/local/share/:/usr/share/") + ":";
    std::vector<fs::path> folders;
    for (std::size_t end = 0; (end = places.find(':')) != std::string::npos;
         places.erase(0, end + 1)) {
        const fs::path place = places.substr(0, end);
        // The base directory specification has paths that are not absolute ignored.
        if (place.is_absolute()) folders.push_back(place / "applications");
    }
    return folders;
}

const DesktopFiles::Index& DesktopFiles::UpToDate() {
    bool changed = false;
    for (std::size_t i = 0; i < mFolders.size(); ++i) {
        Files present;
        const bool readAny = Collect(mFolders[i], mFiles[i], present);
        const bool lostAny = present.size() < mFiles[i].size();
        mFiles[i] = std::move(present);
        changed = changed || readAny || lostAny;
    }
    if (changed) Reindex();
    return mIndex;
}

std::optional<DesktopFiles::Stamp> DesktopFiles::StampOf(const fs::path& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return Stamp{status.st_dev, status.st_ino, status.st_size, Nanoseconds(status.st_mtim),
                 Nanoseconds(status.st_ctim)};
}

bool DesktopFiles::Collect(const fs::path& folder, const Files& known, Files& present) {
    bool readAny = false;
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied,
                                           error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        const fs::path& path = entry->path();
        if (path.extension() != ".desktop") continue;
        const auto stamp = StampOf(path);
        if (!stamp) continue;
        const auto before = known.find(path);
        if (before != known.end() && before->second.stamp == *stamp) {
            present.insert(*before);
            continue;
        }
        present[path] = {*stamp, IDOf(path.lexically_relative(folder)),
                         ParseDesktopEntry(Contents(path))};
        readAny = true;
    }
    return readAny;
}

void DesktopFiles::Reindex() {
    mIndex.clear();
    std::set<std::string_view> decided;
    for (const Files& files : mFiles) {
        for (const auto& [path, file] : files) {
            // The first file of an id decides, also when it says that there is no such application.
            if (!decided.insert(file.id).second) continue;
            if (file.entry && !file.entry->hidden) mIndex.emplace(file.id, *file.entry);
        }
    }
}

}  // namespace kivo::desktop
