#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "desktop/x11/Question.h"

namespace kivo::desktop::x11 {

using PropertyRequest = Pending<xcb_get_property_cookie_t>;
using PropertyReply = Reply<xcb_get_property_reply_t>;

/// Asks for a property of a window, up to 64 KiB of it. A property of another type than `type`
/// counts as absent.
PropertyRequest AskProperty(Question& question, xcb_window_t window, xcb_atom_t property,
                            xcb_atom_t type);

/// The 32-bit values of a reply, which must outlive them: none when the property is absent.
std::span<const std::uint32_t> ValuesOf(const PropertyReply& reply);

/// The first 32-bit value of a reply; none when the property is absent or empty.
std::optional<std::uint32_t> FirstValueOf(const PropertyReply& reply);

/// The text of a reply, as valid UTF-8: that of a UTF8_STRING, STRING or COMPOUND_TEXT, up to its
/// first zero byte. None when the property is absent or of another type.
std::optional<std::string> TextOf(const Atoms& names, const PropertyReply& reply);

/// All texts of a reply, where each is ended by a zero byte. Empty as above.
std::vector<std::string> TextsOf(const Atoms& names, const PropertyReply& reply);

}  // namespace kivo::desktop::x11
