#include <CoreFoundation/PropertyListNesting.h>

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace kivo {

namespace {

using Bytes = std::span<const UInt8>;

/// The end of what begins at the front of `xml` and is not an element; 0 if an element begins
/// there.
size_t SkipMarkup(std::string_view xml) {
    struct Markup {
        std::string_view begin;
        std::string_view end;
    };
    constexpr std::array<Markup, 4> kMarkups = {
        {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}, {"<!", ">"}}};
    for (const Markup& markup : kMarkups) {
        if (!xml.starts_with(markup.begin)) continue;
        const size_t end = xml.find(markup.end, markup.begin.size());
        return end == xml.npos ? xml.size() : end + markup.end.size();
    }
    return 0;
}

/// The end of the tag at the front of `xml`; a ">" in quotes does not end it.
size_t TagEnd(std::string_view xml) {
    char quote = '\0';
    for (size_t i = 0; i < xml.size(); ++i) {
        if (quote != '\0') {
            if (xml[i] == quote) quote = '\0';
        } else if (xml[i] == '"' || xml[i] == '\'') {
            quote = xml[i];
        } else if (xml[i] == '>') {
            return i + 1;
        }
    }
    return xml.size();
}

bool IsContainerTag(std::string_view tag) {
    const std::string_view name = tag.substr(tag.starts_with("</") ? 2 : 1);
    return name.starts_with("array") || name.starts_with("dict");
}

/// The parts of a binary property list that say where its objects are. The layout is in Apple's
/// open CFBinaryPList.c: a header, objects, a table of their offsets, and 32 bytes at the end.
class BinaryLayout {
  public:
    static std::optional<BinaryLayout> Read(Bytes bytes);

    size_t ObjectCount() const { return mObjectCount; }
    size_t Root() const { return mRoot; }
    /// The objects that an object holds; none when it lies outside of the bytes.
    std::optional<std::vector<size_t>> Children(size_t object) const;

  private:
    static constexpr size_t kTrailerSize = 32;

    BinaryLayout() = default;
    std::optional<size_t> Number(size_t offset, size_t size) const;
    std::optional<std::vector<size_t>> References(size_t offset, size_t count) const;

    Bytes mBytes;
    size_t mOffsetSize = 0;
    size_t mReferenceSize = 0;
    size_t mObjectCount = 0;
    size_t mRoot = 0;
    size_t mTable = 0;
};

std::optional<size_t> BinaryLayout::Number(size_t offset, size_t size) const {
    if (size == 0 || size > 8 || offset > mBytes.size() || size > mBytes.size() - offset)
        return std::nullopt;
    size_t value = 0;
    for (const UInt8 byte : mBytes.subspan(offset, size))
        value = value << 8 | byte;
    return value;
}

std::optional<BinaryLayout> BinaryLayout::Read(Bytes bytes) {
    BinaryLayout layout;
    layout.mBytes = bytes;
    if (bytes.size() < kTrailerSize) return std::nullopt;
    const size_t trailer = bytes.size() - kTrailerSize;
    layout.mOffsetSize = bytes[trailer + 6];
    layout.mReferenceSize = bytes[trailer + 7];
    layout.mObjectCount = *layout.Number(trailer + 8, 8);
    layout.mRoot = *layout.Number(trailer + 16, 8);
    layout.mTable = *layout.Number(trailer + 24, 8);
    if (layout.mOffsetSize == 0 || layout.mTable > trailer) return std::nullopt;
    const size_t places = (trailer - layout.mTable) / layout.mOffsetSize;
    if (layout.mObjectCount > places || layout.mRoot >= layout.mObjectCount) return std::nullopt;
    return layout;
}

std::optional<std::vector<size_t>> BinaryLayout::References(size_t offset, size_t count) const {
    if (mReferenceSize == 0 || count > mBytes.size() / mReferenceSize) return std::nullopt;
    std::vector<size_t> references;
    for (size_t i = 0; i < count; ++i) {
        const std::optional<size_t> reference = Number(offset + i * mReferenceSize, mReferenceSize);
        if (!reference || *reference >= mObjectCount) return std::nullopt;
        references.push_back(*reference);
    }
    return references;
}

std::optional<std::vector<size_t>> BinaryLayout::Children(size_t object) const {
    const std::optional<size_t> offset = Number(mTable + object * mOffsetSize, mOffsetSize);
    const std::optional<size_t> marker = offset ? Number(*offset, 1) : std::nullopt;
    if (!marker) return std::nullopt;
    const size_t kind = *marker >> 4;
    const bool isDictionary = kind == 0xD;
    if (kind != 0xA && kind != 0xC && !isDictionary) return std::vector<size_t>();

    size_t count = *marker & 0xF;
    size_t begin = *offset + 1;
    if (count == 0xF) {
        // The count is an integer object of its own.
        const std::optional<size_t> integer = Number(begin, 1);
        if (!integer || *integer >> 4 != 1) return std::nullopt;
        const size_t size = size_t{1} << (*integer & 0xF);
        const std::optional<size_t> large = Number(begin + 1, size);
        if (!large || *large > mBytes.size()) return std::nullopt;
        count = *large;
        begin += 1 + size;
    }
    return References(begin, isDictionary ? 2 * count : count);
}

/// What an object comes to with all that it holds.
struct Extent {
    size_t objectCount;
    size_t height;
};

/// Measures each object once, however often it is named.
class ExtentFinder {
  public:
    explicit ExtentFinder(const BinaryLayout& layout)
        : mLayout(layout), mStates(layout.ObjectCount(), State::Unknown) {
        mExtents.resize(layout.ObjectCount());
    }

    /// None for what is broken, holds itself or goes beyond a limit. `depth` is that of the object.
    std::optional<Extent> Find(size_t object, size_t depth);

  private:
    enum class State : UInt8 { Unknown, Open, Known };

    const BinaryLayout& mLayout;
    std::vector<State> mStates;
    std::vector<Extent> mExtents;
};

std::optional<Extent> ExtentFinder::Find(size_t object, size_t depth) {
    if (mStates[object] == State::Known) return mExtents[object];
    if (mStates[object] == State::Open || depth > kDeepestPropertyList) return std::nullopt;
    mStates[object] = State::Open;
    const std::optional<std::vector<size_t>> children = mLayout.Children(object);
    if (!children) return std::nullopt;
    Extent extent = {1, 0};
    for (const size_t child : *children) {
        const std::optional<Extent> part = Find(child, depth + 1);
        if (!part) return std::nullopt;
        extent.objectCount += part->objectCount;
        extent.height = std::max(extent.height, part->height + 1);
        const bool isTooMuch =
            extent.objectCount > kMostPropertyListObjects || extent.height > kDeepestPropertyList;
        if (isTooMuch) return std::nullopt;
    }
    mStates[object] = State::Known;
    mExtents[object] = extent;
    return extent;
}

}  // namespace

bool IsXMLNestedWithinLimit(std::string_view xml) {
    size_t depth = 0;
    while (true) {
        xml.remove_prefix(std::min(xml.find('<'), xml.size()));
        if (xml.empty()) return true;
        size_t length = SkipMarkup(xml);
        if (length == 0) {
            length = TagEnd(xml);
            const std::string_view tag = xml.substr(0, length);
            const bool isContainer = IsContainerTag(tag);
            if (isContainer && tag.starts_with("</"))
                depth -= depth > 0 ? 1 : 0;
            else if (isContainer && !tag.ends_with("/>") && ++depth > kDeepestPropertyList)
                return false;
        }
        xml.remove_prefix(length);
    }
}

bool IsBinaryNestedWithinLimit(std::span<const UInt8> bytes) {
    const std::optional<BinaryLayout> layout = BinaryLayout::Read(bytes);
    return layout && ExtentFinder(*layout).Find(layout->Root(), 0);
}

}  // namespace kivo
