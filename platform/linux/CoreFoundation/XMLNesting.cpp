#include <CoreFoundation/PropertyListLimits.h>
#include <CoreFoundation/XMLNesting.h>

#include <algorithm>
#include <array>

namespace kivo {

namespace {

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

}  // namespace kivo
