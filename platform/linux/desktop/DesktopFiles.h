#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desktop/DesktopEntry.h"

namespace kivo::desktop {

/// The index of the applications that the session's desktop files describe, by desktop-file id
/// without ".desktop". It is kept in memory and never looks at the disk by itself.
class DesktopFiles {
  public:
    using Index = std::map<std::string, DesktopEntry, std::less<>>;

    /// `folders` in order of precedence; they need not exist (yet).
    explicit DesktopFiles(std::vector<std::filesystem::path> folders);

    /// The "applications" folders of the XDG Base Directory Specification.
    static std::vector<std::filesystem::path> StandardFolders();

    /// The applications as the folders describe them now. Looks at every folder and at every file's
    /// identity, size and times, and reads the files that are new or were changed; an edited file
    /// is seen whatever way it was edited. The reference holds until the next call.
    const Index& UpToDate();

  private:
    /// Differs once a file was written to or replaced.
    struct Stamp {
        dev_t device;
        ino_t inode;
        off_t size;
        std::int64_t modified;  ///< nanoseconds of the Unix time, as is `changed`
        std::int64_t changed;
        bool operator==(const Stamp&) const = default;
    };
    struct File {
        Stamp stamp;
        std::string id;
        std::optional<DesktopEntry> entry;  ///< none when it describes no application
    };
    using Files = std::map<std::filesystem::path, File>;

    static std::optional<Stamp> StampOf(const std::filesystem::path& path);
    /// Enters the files under `folder` in `present`, out of `known` where they are unchanged.
    /// True when one was read anew.
    static bool Collect(const std::filesystem::path& folder, const Files& known, Files& present);
    void Reindex();

    const std::vector<std::filesystem::path> mFolders;
    std::vector<Files> mFiles;  ///< by folder
    Index mIndex;
};

}  // namespace kivo::desktop
