#include <CoreFoundation/BundleLanguages.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

namespace kivo {

namespace {

using Names = std::vector<std::string>;

/// The English names that localisations had before codes, in Apple's bundle programming guide.
constexpr std::array<std::pair<std::string_view, std::string_view>, 8> kLegacyNames = {
    {{"English", "en"},
     {"French", "fr"},
     {"German", "de"},
     {"Italian", "it"},
     {"Japanese", "ja"},
     {"Spanish", "es"},
     {"Dutch", "nl"},
     {"Portuguese", "pt"}}};

/// Chinese regions and the script that their localisations are named after.
constexpr std::array<std::pair<std::string_view, std::string_view>, 5> kChineseScripts = {
    {{"zh-CN", "zh-Hans"},
     {"zh-SG", "zh-Hans"},
     {"zh-TW", "zh-Hant"},
     {"zh-HK", "zh-Hant"},
     {"zh-MO", "zh-Hant"}}};

template <typename Table>
std::string LookUp(const Table& table, std::string_view name) {
    for (const auto& [key, value] : table)
        if (key == name) return std::string(value);
    return {};
}

std::string_view EnvironmentValue(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : std::string_view();
}

/// The locale of messages, as the C library chooses it.
std::string_view MessageLocale() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const std::string_view value = EnvironmentValue(name);
        if (!value.empty()) return value;
    }
    return "C";
}

/// "de_AT.UTF-8@euro" as "de-AT"; empty for a locale that is no language.
std::string LanguageOfLocale(std::string_view locale) {
    std::string language(locale.substr(0, locale.find_first_of(".@")));
    std::replace(language.begin(), language.end(), '_', '-');
    return language == "C" || language == "POSIX" ? std::string() : language;
}

/// A localisation's name in the form of `LanguageOfLocale`.
std::string CanonicalName(const std::string& localisation) {
    const std::string code = LookUp(kLegacyNames, localisation);
    return code.empty() ? LanguageOfLocale(localisation) : code;
}

std::string WithoutRegion(const std::string& language) {
    return language.substr(0, language.find('-'));
}

/// A language and what may stand for it, nearest first.
Names Candidates(const std::string& language) {
    return {language, LookUp(kChineseScripts, language), WithoutRegion(language)};
}

void AppendOnce(Names& names, const std::string& name) {
    if (std::ranges::find(names, name) == names.end()) names.push_back(name);
}

template <typename Condition>
bool AppendFirst(Names& matches, const Names& localisations, Condition fits) {
    const auto match = std::ranges::find_if(localisations, fits);
    if (match == localisations.end()) return false;
    AppendOnce(matches, *match);
    return true;
}

}  // namespace

Names UserLanguages() {
    Names languages;
    const std::string_view locale = MessageLocale();
    if (locale == "C" || locale == "POSIX") return languages;
    std::string_view list = EnvironmentValue("LANGUAGE");
    if (list.empty()) list = locale;
    while (!list.empty()) {
        const std::string_view entry = list.substr(0, list.find(':'));
        const std::string language = LanguageOfLocale(entry);
        if (!language.empty()) AppendOnce(languages, language);
        list.remove_prefix(std::min(entry.size() + 1, list.size()));
    }
    return languages;
}

Names MatchLanguages(const Names& localisations, const Names& languages) {
    Names matches;
    for (const std::string& language : languages) {
        bool isMatched = false;
        for (const std::string& candidate : Candidates(language)) {
            if (candidate.empty()) continue;
            isMatched |= AppendFirst(matches, localisations, [&](const std::string& name) {
                return CanonicalName(name) == candidate;
            });
        }
        if (isMatched) continue;
        AppendFirst(matches, localisations, [&](const std::string& name) {
            return WithoutRegion(CanonicalName(name)) == WithoutRegion(language);
        });
    }
    return matches;
}

std::string FallbackLanguage(const Names& localisations, const std::string& developmentRegion) {
    if (localisations.empty()) return {};
    Names wanted = {"en-US", "en"};
    if (!developmentRegion.empty()) wanted.insert(wanted.begin(), CanonicalName(developmentRegion));
    const Names matches = MatchLanguages(localisations, wanted);
    return matches.empty() ? localisations.front() : matches.front();
}

}  // namespace kivo
