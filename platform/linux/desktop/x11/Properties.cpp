#include "desktop/x11/Properties.h"

#include <algorithm>
#include <string_view>

#include "desktop/Text.h"
#include "desktop/x11/CompoundText.h"

namespace kivo::desktop::x11 {
namespace {

constexpr std::uint32_t kMostUnits = 65536 / 4;

/// The bytes of a text property, zero bytes included.
std::string_view BytesOf(const PropertyReply& reply) {
    if (reply == nullptr || reply->format != 8) return {};
    return {static_cast<const char*>(xcb_get_property_value(reply.get())), reply->value_len};
}

/// A part of a reply's bytes as the reply's type says they are to be read.
std::optional<std::string> Decoded(const Atoms& names, const PropertyReply& reply,
                                   std::string_view bytes) {
    if (reply == nullptr) return std::nullopt;
    if (reply->type == names.utf8String) return ValidUTF8(bytes);
    if (reply->type == XCB_ATOM_STRING) return FromLatin1(bytes);
    if (reply->type == names.compoundText) return FromCompoundText(bytes);
    return std::nullopt;
}

}  // namespace

PropertyRequest AskProperty(Question& question, xcb_window_t window, xcb_atom_t property,
                            xcb_atom_t type) {
    return {question,
            xcb_get_property(question.Get(), false, window, property, type, 0, kMostUnits)};
}

std::span<const std::uint32_t> ValuesOf(const PropertyReply& reply) {
    if (reply == nullptr || reply->format != 32) return {};
    return {static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get())),
            reply->value_len};
}

std::optional<std::uint32_t> FirstValueOf(const PropertyReply& reply) {
    const auto values = ValuesOf(reply);
    return values.empty() ? std::nullopt : std::optional(values.front());
}

std::optional<std::string> TextOf(const Atoms& names, const PropertyReply& reply) {
    const std::string_view bytes = BytesOf(reply);
    return Decoded(names, reply, bytes.substr(0, bytes.find('\0')));
}

std::vector<std::string> TextsOf(const Atoms& names, const PropertyReply& reply) {
    std::vector<std::string> texts;
    std::string_view bytes = BytesOf(reply);
    while (!bytes.empty()) {
        const std::size_t end = std::min(bytes.find('\0'), bytes.size());
        auto text = Decoded(names, reply, bytes.substr(0, end));
        if (text) texts.push_back(std::move(*text));
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
    }
    return texts;
}

}  // namespace kivo::desktop::x11
