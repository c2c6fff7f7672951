#include <CoreFoundation/CFDataSeams.h>
#include <CoreFoundation/CFStringSeams.h>
#include <CoreFoundation/OpenStepReader.h>
#include <CoreFoundation/PropertyListLimits.h>

#include <algorithm>
#include <array>
#include <vector>

namespace kivo {

namespace {

using Text = std::u16string;
using TextView = std::u16string_view;
using Object = CFRef<CFPropertyListRef>;

/// The characters that "\ooo" stands for from 0x80, after the table NEXTSTEP.TXT at unicode.org.
constexpr std::array<char16_t, 128> kNextStep = {
    0x00A0, 0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C7, 0x00C8, 0x00C9, 0x00CA, 0x00CB,
    0x00CC, 0x00CD, 0x00CE, 0x00CF, 0x00D0, 0x00D1, 0x00D2, 0x00D3, 0x00D4, 0x00D5, 0x00D6, 0x00D9,
    0x00DA, 0x00DB, 0x00DC, 0x00DD, 0x00DE, 0x00B5, 0x00D7, 0x00F7, 0x00A9, 0x00A1, 0x00A2, 0x00A3,
    0x2044, 0x00A5, 0x0192, 0x00A7, 0x00A4, 0x2019, 0x201C, 0x00AB, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x00AE, 0x2013, 0x2020, 0x2021, 0x00B7, 0x00A6, 0x00B6, 0x2022, 0x201A, 0x201E, 0x201D, 0x00BB,
    0x2026, 0x2030, 0x00AC, 0x00BF, 0x00B9, 0x02CB, 0x00B4, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9,
    0x00A8, 0x00B2, 0x02DA, 0x00B8, 0x00B3, 0x02DD, 0x02DB, 0x02C7, 0x2014, 0x00B1, 0x00BC, 0x00BD,
    0x00BE, 0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5, 0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB,
    0x00EC, 0x00C6, 0x00ED, 0x00AA, 0x00EE, 0x00EF, 0x00F0, 0x00F1, 0x0141, 0x00D8, 0x0152, 0x00BA,
    0x00F2, 0x00F3, 0x00F4, 0x00F5, 0x00F6, 0x00E6, 0x00F9, 0x00FA, 0x00FB, 0x0131, 0x00FC, 0x00FD,
    0x0142, 0x00F8, 0x0153, 0x00DF, 0x00FE, 0x00FF, 0xFFFD, 0xFFFD};

bool IsSpace(char16_t unit) {
    return (unit >= u'\t' && unit <= u'\r') || unit == u' ' || unit == 0x2028 || unit == 0x2029;
}

bool IsBare(char16_t unit) {
    constexpr TextView kPunctuation = u"_$/:.-";
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') ||
           (unit >= u'0' && unit <= u'9') || kPunctuation.find(unit) != kPunctuation.npos;
}

/// The value of a digit up to base 16, or -1.
int DigitValue(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') return unit - u'0';
    if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10;
    if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10;
    return -1;
}

/// What a letter behind a backslash stands for; other units stand for themselves.
char16_t UnescapeLetter(char16_t letter) {
    switch (letter) {
        case u'a':
            return u'\a';
        case u'b':
            return u'\b';
        case u'f':
            return u'\f';
        case u'n':
            return u'\n';
        case u'r':
            return u'\r';
        case u't':
            return u'\t';
        case u'v':
            return u'\v';
        default:
            return letter;
    }
}

/// Reads one text from front to back. Each reading step returns an empty object on failure, and the
/// first failure's reason stays.
class Reader {
  public:
    explicit Reader(TextView text) : mWhole(text), mRest(text) {}

    Object ReadTop();
    const std::string& Error() const { return mError; }

  private:
    Object ReadObject(size_t depth);
    Object ReadDictionary(size_t depth);
    Object ReadArray(size_t depth);
    Object ReadData();
    Object ReadString();
    Object ReadQuoted();
    bool ReadPairs(CFMutableDictionaryRef dictionary, size_t depth);
    bool ReadPairAfterKey(CFMutableDictionaryRef dictionary, const Object& key, size_t depth);
    Object ReadStringsFileAfterKey(const Object& key);
    char16_t ReadEscape();
    char16_t ReadDigits(int base, size_t most);

    bool SkipBlanks();
    bool IsAtEnd() { return !SkipBlanks() || mRest.empty(); }
    char16_t Peek() const { return mRest.empty() ? u'\0' : mRest[0]; }
    bool Take(char16_t unit);
    bool Expect(char16_t unit, const char* what);
    Object Fail(const std::string& reason);

    TextView mWhole;
    TextView mRest;
    std::string mError;
};

Object Adopted(CFPropertyListRef object) {
    return Adopt(object);
}

CFRef<CFMutableDictionaryRef> MakeDictionary() {
    return Adopt(CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                           &kCFTypeDictionaryValueCallBacks));
}

Object Reader::Fail(const std::string& reason) {
    if (!mError.empty()) return {};
    const TextView read = mWhole.substr(0, mWhole.size() - mRest.size());
    const auto line = 1 + std::ranges::count(read, u'\n');
    mError = "Reading a property list of the old style: " + reason + " in line " +
             std::to_string(line) + ".";
    return {};
}

/// Passes over blanks and comments; false where a comment does not end.
bool Reader::SkipBlanks() {
    while (!mRest.empty()) {
        if (IsSpace(mRest[0])) {
            mRest.remove_prefix(1);
        } else if (mRest.starts_with(u"//")) {
            mRest.remove_prefix(std::min(mRest.find_first_of(u"\n\r\x2028\x2029"), mRest.size()));
        } else if (mRest.starts_with(u"/*")) {
            const size_t end = mRest.find(u"*/", 2);
            if (end == mRest.npos) {
                Fail("a comment does not end; it begins");
                mRest = {};
                return false;
            }
            mRest.remove_prefix(end + 2);
        } else {
            break;
        }
    }
    return true;
}

bool Reader::Take(char16_t unit) {
    if (!SkipBlanks() || Peek() != unit || mRest.empty()) return false;
    mRest.remove_prefix(1);
    return true;
}

bool Reader::Expect(char16_t unit, const char* what) {
    if (Take(unit)) return true;
    Fail(std::string("expected ") + what);
    return false;
}

Object Reader::ReadTop() {
    if (!SkipBlanks()) return {};
    if (mRest.empty()) return Adopted(MakeDictionary().Release());
    const bool isContainer = Peek() == u'{' || Peek() == u'(' || Peek() == u'<';
    Object object = ReadObject(0);
    if (!object) return {};
    if (IsAtEnd()) return mError.empty() ? object : Object();
    return isContainer ? Fail("there is something behind the end")
                       : ReadStringsFileAfterKey(object);
}

Object Reader::ReadStringsFileAfterKey(const Object& key) {
    const CFRef<CFMutableDictionaryRef> dictionary = MakeDictionary();
    if (!ReadPairAfterKey(dictionary.Get(), key, 0)) return {};
    if (!ReadPairs(dictionary.Get(), 0)) return {};
    return IsAtEnd() && mError.empty() ? Retain(CFPropertyListRef{dictionary.Get()})
                                       : Fail("expected a key");
}

Object Reader::ReadObject(size_t depth) {
    if (depth > kDeepestPropertyList) return Fail("too many objects inside of each other");
    if (!SkipBlanks()) return {};
    switch (Peek()) {
        case u'{':
            return ReadDictionary(depth);
        case u'(':
            return ReadArray(depth);
        case u'<':
            return ReadData();
        default:
            return ReadString();
    }
}

Object Reader::ReadDictionary(size_t depth) {
    mRest.remove_prefix(1);
    const CFRef<CFMutableDictionaryRef> dictionary = MakeDictionary();
    if (!ReadPairs(dictionary.Get(), depth) || !Expect(u'}', "\"}\" or a key")) return {};
    return Retain(CFPropertyListRef{dictionary.Get()});
}

/// Reads pairs as long as there is a key.
bool Reader::ReadPairs(CFMutableDictionaryRef dictionary, size_t depth) {
    while (SkipBlanks() && (Peek() == u'"' || Peek() == u'\'' || IsBare(Peek()))) {
        const Object key = ReadString();
        if (!key || !ReadPairAfterKey(dictionary, key, depth)) return false;
    }
    return mError.empty();
}

/// Reads "= value;", or ";" for a key that is its own value.
bool Reader::ReadPairAfterKey(CFMutableDictionaryRef dictionary, const Object& key, size_t depth) {
    Object value = key;
    if (Take(u'=')) value = ReadObject(depth + 1);
    if (!value || !Expect(u';', "\";\" or \"=\"")) return false;
    CFDictionarySetValue(dictionary, key.Get(), value.Get());
    return true;
}

Object Reader::ReadArray(size_t depth) {
    mRest.remove_prefix(1);
    const auto array = Adopt(CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
    while (!Take(u')')) {
        const Object value = ReadObject(depth + 1);
        if (!value) return {};
        CFArrayAppendValue(array.Get(), value.Get());
        if (Take(u',')) continue;
        if (!Expect(u')', "\",\" or \")\"")) return {};
        break;
    }
    return Retain(CFPropertyListRef{array.Get()});
}

Object Reader::ReadData() {
    mRest.remove_prefix(1);
    std::vector<UInt8> bytes;
    while (!Take(u'>')) {
        const int high = DigitValue(Peek());
        const int low = mRest.size() > 1 ? DigitValue(mRest[1]) : -1;
        if (high < 0 || low < 0) return Fail("data is not made of pairs of hexadecimal digits");
        bytes.push_back(static_cast<UInt8>(high << 4 | low));
        mRest.remove_prefix(2);
    }
    return Adopted(CFDataCreate(kCFAllocatorDefault, bytes.data(), std::ssize(bytes)));
}

Object Reader::ReadString() {
    if (Peek() == u'"' || Peek() == u'\'') return ReadQuoted();
    const auto end = std::ranges::find_if_not(mRest, IsBare);
    const TextView word(mRest.begin(), end);
    if (word.empty()) return Fail("expected a value");
    mRest.remove_prefix(word.size());
    return Adopted(CreateString(word));
}

Object Reader::ReadQuoted() {
    const char16_t quote = mRest[0];
    mRest.remove_prefix(1);
    Text text;
    while (!mRest.empty()) {
        const char16_t unit = mRest[0];
        mRest.remove_prefix(1);
        if (unit == quote) return Adopted(CreateString(text));
        text += unit == u'\\' && !mRest.empty() ? ReadEscape() : unit;
    }
    return Fail("a quoted string does not end");
}

char16_t Reader::ReadEscape() {
    const char16_t letter = mRest[0];
    if (letter >= u'0' && letter <= u'7') {
        const char16_t code = ReadDigits(8, 3) & 0xFF;
        return code < 0x80 ? code : kNextStep[code - 0x80U];
    }
    mRest.remove_prefix(1);
    return letter == u'U' ? ReadDigits(16, 4) : UnescapeLetter(letter);
}

char16_t Reader::ReadDigits(int base, size_t most) {
    int value = 0;
    for (size_t i = 0; i < most; ++i) {
        const int digit = DigitValue(Peek());
        if (digit < 0 || digit >= base) break;
        value = value * base + digit;
        mRest.remove_prefix(1);
    }
    return static_cast<char16_t>(value);
}

}  // namespace

Object ReadOpenStep(TextView text, std::string& error) {
    Reader reader(text);
    Object object = reader.ReadTop();
    error = reader.Error();
    return object;
}

}  // namespace kivo
