#pragma once

#include <string>
#include <string_view>

namespace kivo::desktop::x11 {

/// COMPOUND_TEXT (the X Consortium's "Compound Text Encoding") as UTF-8: ASCII, ISO 8859, the
/// Chinese, Japanese and Korean sets that are registered for it, and UTF-8 segments. A run of
/// characters of another set becomes one U+FFFD.
std::string FromCompoundText(std::string_view bytes);

}  // namespace kivo::desktop::x11
