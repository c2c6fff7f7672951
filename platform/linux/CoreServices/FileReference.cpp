#include <CoreServices/FileReference.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <mutex>

namespace kivo {

namespace {

/// What lies in the opaque bytes: a place in the table of paths, and which of the place's
/// successive paths is meant. Numbers count from 1, so that zeroed bytes stand for nothing.
struct ReferenceContent {
    UInt64 place;
    UInt64 number;
};
static_assert(sizeof(ReferenceContent) <= sizeof(FSRef));

class PathTable {
  public:
    ReferenceContent Intern(const std::string& path);
    std::optional<std::string> Find(const ReferenceContent& content);

  private:
    struct Entry {
        std::string path;
        UInt64 number = 0;
    };

    std::mutex mLock;
    std::array<Entry, 64> mEntries;
    UInt64 mLastNumber = 0;
};

ReferenceContent PathTable::Intern(const std::string& path) {
    const std::lock_guard guard(mLock);
    auto entry = std::ranges::find(mEntries, path, &Entry::path);
    if (entry == mEntries.end()) {
        entry = std::ranges::min_element(mEntries, {}, &Entry::number);
        *entry = {path, ++mLastNumber};
    }
    return {static_cast<UInt64>(entry - mEntries.begin()), entry->number};
}

std::optional<std::string> PathTable::Find(const ReferenceContent& content) {
    const std::lock_guard guard(mLock);
    if (content.number == 0 || content.place >= mEntries.size()) return std::nullopt;
    const Entry& entry = mEntries[content.place];
    if (entry.number != content.number) return std::nullopt;
    return entry.path;
}

PathTable& Paths() {
    static auto& table = *new PathTable;
    return table;
}

}  // namespace

void MakeReference(const std::string& path, FSRef& reference) {
    const ReferenceContent content = Paths().Intern(path);
    reference = {};
    std::memcpy(reference.hidden, &content, sizeof content);
}

std::optional<std::string> PathOfReference(const FSRef& reference) {
    ReferenceContent content;
    std::memcpy(&content, reference.hidden, sizeof content);
    return Paths().Find(content);
}

}  // namespace kivo
