#pragma once

// Inside of the layer only, never installed: which of a bundle's languages the user gets.

#include <string>
#include <string_view>
#include <vector>

namespace kivo {

/// The user's languages, the preferred one first, as "de-AT": from LANGUAGE, LC_ALL, LC_MESSAGES
/// and LANG in gettext's manner. Empty where the locale is unset, "C" or "POSIX".
std::vector<std::string> UserLanguages();

/// Those of a bundle's localisations, such as "pt-BR", "de_AT" or "German", that serve a user of
/// `languages`, best first. An exact match goes before the language alone, and that before another
/// region's.
std::vector<std::string> MatchLanguages(const std::vector<std::string>& localisations,
                                        const std::vector<std::string>& languages);

/// The one localisation that serves when none matches: the development region's, else English in
/// one of its spellings, else the first. Empty when there is none.
std::string FallbackLanguage(const std::vector<std::string>& localisations,
                             const std::string& developmentRegion);

}  // namespace kivo
