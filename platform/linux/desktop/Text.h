#pragma once

#include <string>
#include <string_view>

namespace kivo::desktop {

/// The bytes as valid UTF-8: each part that is not (a maximal subpart, as the Unicode Standard
/// calls it in section 3.9) becomes U+FFFD.
std::string ValidUTF8(std::string_view bytes);

/// ISO 8859-1 bytes as UTF-8.
std::string FromLatin1(std::string_view bytes);

}  // namespace kivo::desktop
