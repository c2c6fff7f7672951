// Comparing and searching. The rules are those of Apple's open CFString.c: literal unless the
// caller asks for canonical equivalence, and then a match may not end inside of a character as the
// user sees it.

#include <CoreFoundation/CFStringSeams.h>
#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <optional>
#include <vector>

namespace {

using Text = std::u16string;
using TextView = std::u16string_view;

int32_t Length(TextView text) {
    return static_cast<int32_t>(text.size());
}

Text Decompose(TextView text) {
    UErrorCode error = U_ZERO_ERROR;
    const UNormalizer2* decomposer = unorm2_getNFDInstance(&error);
    // One character becomes at most four units in its canonical decomposition.
    Text result(4 * text.size(), u'\0');
    const int32_t length = unorm2_normalize(decomposer, text.data(), Length(text), result.data(),
                                            Length(result), &error);
    if (U_FAILURE(error)) return Text(text);
    result.resize(static_cast<size_t>(length));
    return result;
}

Text FoldCase(TextView text) {
    UErrorCode error = U_ZERO_ERROR;
    // One unit becomes at most three in full case folding.
    Text result(3 * text.size(), u'\0');
    const int32_t length = u_strFoldCase(result.data(), Length(result), text.data(), Length(text),
                                         U_FOLD_CASE_DEFAULT, &error);
    if (U_FAILURE(error)) return Text(text);
    result.resize(static_cast<size_t>(length));
    return result;
}

/// What counts as equal in one comparison or search.
struct Equivalence {
    bool isCanonical;
    bool ignoresCase;

    explicit Equivalence(CFStringCompareFlags options)
        : isCanonical((options & kCFCompareNonliteral) != 0),
          ignoresCase((options & kCFCompareCaseInsensitive) != 0) {}

    /// Nothing but equal units count as equal.
    bool IsLiteral() const { return !isCanonical && !ignoresCase; }

    /// The form in which equal texts have equal units.
    Text Fold(TextView text) const {
        if (isCanonical && ignoresCase) return Decompose(FoldCase(Decompose(text)));
        return isCanonical ? Decompose(text) : FoldCase(text);
    }
};

/// The part of a string that a call is about, which must be inside it.
struct Part {
    CFStringRef string;
    size_t location;
    TextView units;

    Part(CFStringRef whole, CFRange range)
        : string(whole), location(static_cast<size_t>(range.location)) {
        const auto length = static_cast<CFIndex>(whole->Units().size());
        if (range.location < 0 || range.length < 0 || range.location > length - range.length)
            __builtin_trap();
        units = whole->Units().substr(location, static_cast<size_t>(range.length));
    }
};

CFComparisonResult Sign(int order) {
    if (order == 0) return kCFCompareEqualTo;
    return order < 0 ? kCFCompareLessThan : kCFCompareGreaterThan;
}

/// Where a match lies, in units of the searched part.
struct Match {
    size_t begin;
    size_t end;
};

std::optional<Match> FindUnits(TextView text, TextView wanted, CFStringCompareFlags options) {
    const bool isBackward = (options & kCFCompareBackwards) != 0;
    if (wanted.size() > text.size()) return std::nullopt;
    size_t begin;
    if ((options & kCFCompareAnchored) != 0) {
        begin = isBackward ? text.size() - wanted.size() : 0;
        if (text.substr(begin, wanted.size()) != wanted) return std::nullopt;
    } else {
        begin = isBackward ? text.rfind(wanted) : text.find(wanted);
        if (begin == TextView::npos) return std::nullopt;
    }
    return Match{begin, begin + wanted.size()};
}

/// Whether `index` is between two characters as the user sees them.
bool IsClusterBoundary(TextView text, size_t index) {
    UErrorCode error = U_ZERO_ERROR;
    UBreakIterator* breaker = ubrk_open(UBRK_CHARACTER, "root", text.data(), Length(text), &error);
    if (U_FAILURE(error)) return true;
    const bool isBoundary = ubrk_isBoundary(breaker, static_cast<int32_t>(index)) != 0;
    ubrk_close(breaker);
    return isBoundary;
}

/// Whether a character always belongs to the one before it.
bool Extends(UChar32 character) {
    return u_hasBinaryProperty(character, UCHAR_GRAPHEME_EXTEND) != 0 ||
           u_hasBinaryProperty(character, UCHAR_EMOJI_MODIFIER) != 0;
}

bool IsVirama(char16_t unit) {
    constexpr uint8_t kViramaClass = 9;
    return u_getCombiningClass(unit) == kViramaClass;
}

/// Whether what follows such a unit may belong to it without being an extending mark.
bool MayJoinNext(char16_t unit) {
    constexpr char16_t kGraphemeJoiner = 0x034F;
    constexpr char16_t kZeroWidthJoiner = 0x200D;
    const bool isJamo = unit >= 0x1100 && unit <= 0x11FF;
    return isJamo || unit == kGraphemeJoiner || unit == kZeroWidthJoiner || IsVirama(unit);
}

/// A search for what is equivalent to a text, in a part that is folded character by character.
/// A match covers whole characters: it never splits a surrogate pair.
class EquivalentSearch {
  public:
    EquivalentSearch(const Part& part, TextView wanted, const Equivalence& equivalence);

    std::optional<Match> Find(CFStringCompareFlags options) const;

  private:
    void FoldCharacters();
    /// The match that begins at a character, if there is one.
    std::optional<Match> MatchAt(size_t character) const;
    bool IsEquivalent(size_t first, size_t last) const;
    bool MayEndAt(size_t unitIndex) const;

    const Part& mPart;
    const Equivalence& mEquivalence;
    Text mWanted;
    Text mFolded;
    /// Where each character begins in the part and in its folded form; at the end the lengths.
    std::vector<size_t> mUnitStarts;
    std::vector<size_t> mFoldedStarts;
};

EquivalentSearch::EquivalentSearch(const Part& part, TextView wanted,
                                   const Equivalence& equivalence)
    : mPart(part), mEquivalence(equivalence), mWanted(equivalence.Fold(wanted)) {
    FoldCharacters();
}

void EquivalentSearch::FoldCharacters() {
    const TextView units = mPart.units;
    for (size_t i = 0; i < units.size();) {
        mUnitStarts.push_back(i);
        mFoldedStarts.push_back(mFolded.size());
        const bool isPair =
            i + 1 < units.size() && U16_IS_LEAD(units[i]) && U16_IS_TRAIL(units[i + 1]);
        const size_t length = isPair ? 2 : 1;
        const bool foldsToItself = units[i] < 0x80 && !mEquivalence.ignoresCase;
        mFolded += foldsToItself ? Text(1, units[i]) : mEquivalence.Fold(units.substr(i, length));
        i += length;
    }
    mUnitStarts.push_back(units.size());
    mFoldedStarts.push_back(mFolded.size());
}

std::optional<Match> EquivalentSearch::Find(CFStringCompareFlags options) const {
    const bool isBackward = (options & kCFCompareBackwards) != 0;
    const bool isAnchored = (options & kCFCompareAnchored) != 0;
    const size_t count = mUnitStarts.size() - 1;
    for (size_t step = 0; step < count; ++step) {
        const std::optional<Match> match = MatchAt(isBackward ? count - 1 - step : step);
        const bool isAtEnd = match && match->end == mPart.units.size();
        if (match && (!isAnchored || !isBackward || isAtEnd)) return match;
        if (isAnchored && !isBackward) break;
    }
    return std::nullopt;
}

std::optional<Match> EquivalentSearch::MatchAt(size_t character) const {
    // Folding and reordering keep the sum of the characters' folded lengths, so that at most one
    // end can give the wanted length.
    const size_t foldedEnd = mFoldedStarts[character] + mWanted.size();
    const auto end = std::lower_bound(mFoldedStarts.begin(), mFoldedStarts.end(), foldedEnd);
    if (end == mFoldedStarts.end() || *end != foldedEnd) return std::nullopt;
    const auto last = static_cast<size_t>(end - mFoldedStarts.begin());
    if (!IsEquivalent(character, last)) return std::nullopt;
    if (mEquivalence.isCanonical && !MayEndAt(mUnitStarts[last])) return std::nullopt;
    return Match{mUnitStarts[character], mUnitStarts[last]};
}

bool EquivalentSearch::IsEquivalent(size_t first, size_t last) const {
    const TextView folded = TextView(mFolded).substr(mFoldedStarts[first], mWanted.size());
    if (!mEquivalence.isCanonical) return folded == mWanted;
    if (!mEquivalence.ignoresCase) {
        // Only marks change places, so the first difference often decides without normalising.
        const auto [one, other] = std::ranges::mismatch(folded, mWanted);
        if (one == folded.end()) return true;
        const bool isDecided = !U16_IS_SURROGATE(*one) && !U16_IS_SURROGATE(*other) &&
                               u_getCombiningClass(*one) == 0 && u_getCombiningClass(*other) == 0;
        if (isDecided) return false;
    }
    const size_t begin = mUnitStarts[first];
    return mEquivalence.Fold(mPart.units.substr(begin, mUnitStarts[last] - begin)) == mWanted;
}

bool EquivalentSearch::MayEndAt(size_t unitIndex) const {
    const TextView units = mPart.units;
    if (unitIndex == units.size()) return true;
    UChar32 next;
    U16_GET(units.data(), 0, unitIndex, units.size(), next);
    if (Extends(next)) return false;
    const char16_t last = units[unitIndex - 1];
    if (!MayJoinNext(last)) return true;
    // A letter after a virama is part of its conjunct, which not every version of ICU joins.
    if (IsVirama(last) && u_isalpha(next) != 0) return false;
    return IsClusterBoundary(mPart.string->Units(), mPart.location + unitIndex);
}

std::optional<Match> Find(const Part& part, CFStringRef wanted, CFStringCompareFlags options) {
    if (wanted->Units().empty()) return std::nullopt;
    const Equivalence equivalence(options);
    const bool isASCII = part.string->IsASCII() && wanted->IsASCII();
    if (equivalence.IsLiteral() || (isASCII && !equivalence.ignoresCase))
        return FindUnits(part.units, wanted->Units(), options);
    return EquivalentSearch(part, wanted->Units(), equivalence).Find(options);
}

}  // namespace

CFComparisonResult CFStringCompare(CFStringRef theString1, CFStringRef theString2,
                                   CFStringCompareFlags compareOptions) {
    return CFStringCompareWithOptions(
        theString1, theString2, CFRangeMake(0, CFStringGetLength(theString1)), compareOptions);
}

CFComparisonResult CFStringCompareWithOptions(CFStringRef theString1, CFStringRef theString2,
                                              CFRange rangeToCompare,
                                              CFStringCompareFlags compareOptions) {
    const Part part(theString1, rangeToCompare);
    const TextView other = theString2->Units();
    const Equivalence equivalence(compareOptions);
    const bool isASCII = theString1->IsASCII() && theString2->IsASCII();
    if (equivalence.IsLiteral() || (isASCII && !equivalence.ignoresCase) || part.units == other)
        return Sign(part.units.compare(other));
    const Text one = equivalence.Fold(part.units);
    const Text two = equivalence.Fold(other);
    return Sign(u_strCompare(one.data(), Length(one), two.data(), Length(two), true));
}

CFRange CFStringFind(CFStringRef theString, CFStringRef stringToFind,
                     CFStringCompareFlags compareOptions) {
    CFRange found = CFRangeMake(kCFNotFound, 0);
    CFStringFindWithOptions(theString, stringToFind, CFRangeMake(0, CFStringGetLength(theString)),
                            compareOptions, &found);
    return found;
}

Boolean CFStringFindWithOptions(CFStringRef theString, CFStringRef stringToFind,
                                CFRange rangeToSearch, CFStringCompareFlags searchOptions,
                                CFRange* result) {
    const Part part(theString, rangeToSearch);
    const std::optional<Match> match = Find(part, stringToFind, searchOptions);
    if (match && result != nullptr) {
        *result = CFRangeMake(static_cast<CFIndex>(part.location + match->begin),
                              static_cast<CFIndex>(match->end - match->begin));
    }
    return match.has_value();
}
