#include "tests/support/Text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <ostream>
#include <string>
#include <vector>

namespace {

using kivo::Adopt;
using kivo::CFRef;
using kivo::test::Utf8Text;

CFRef<CFPropertyListRef> Parse(std::string_view bytes, CFStringRef* error = nullptr) {
    const auto data = Adopt(CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                                         static_cast<CFIndex>(bytes.size())));
    return Adopt(
        CFPropertyListCreateFromXMLData(nullptr, data.Get(), kCFPropertyListImmutable, error));
}

std::string Xml(std::string_view content) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">" +
           std::string(content) + "</plist>\n";
}

/// A short text for any property list, so that whole trees can be compared at a glance.
std::string Show(CFTypeRef object);

std::string ShowDictionary(CFDictionaryRef dictionary) {
    std::vector<const void*> keys(static_cast<size_t>(CFDictionaryGetCount(dictionary)));
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), nullptr);
    std::vector<std::string> pairs;
    for (const void* key : keys)
        pairs.push_back(Show(key) + "=" + Show(CFDictionaryGetValue(dictionary, key)) + ";");
    std::sort(pairs.begin(), pairs.end());
    std::string text = "{";
    for (const std::string& pair : pairs)
        text += pair;
    return text + "}";
}

std::string ShowArray(CFArrayRef array) {
    std::string text = "(";
    for (CFIndex i = 0; i < CFArrayGetCount(array); ++i)
        text += Show(CFArrayGetValueAtIndex(array, i)) + ",";
    return text + ")";
}

std::string ShowData(CFDataRef data) {
    std::string text = "<";
    for (CFIndex i = 0; i < CFDataGetLength(data); ++i)
        text += std::to_string(CFDataGetBytePtr(data)[i]) + " ";
    return text + ">";
}

std::string ShowNumber(CFNumberRef number) {
    double value = 0;
    CFNumberGetValue(number, kCFNumberDoubleType, &value);
    char text[32];
    std::snprintf(text, sizeof text, "%s%g", CFNumberIsFloatType(number) ? "f" : "i", value);
    return text;
}

std::string Show(CFTypeRef object) {
    if (object == nullptr) return "nothing";
    const CFTypeID type = CFGetTypeID(object);
    if (type == CFStringGetTypeID()) return Utf8Text(static_cast<CFStringRef>(object));
    if (type == CFDictionaryGetTypeID())
        return ShowDictionary(static_cast<CFDictionaryRef>(object));
    if (type == CFArrayGetTypeID()) return ShowArray(static_cast<CFArrayRef>(object));
    if (type == CFDataGetTypeID()) return ShowData(static_cast<CFDataRef>(object));
    if (type == CFNumberGetTypeID()) return ShowNumber(static_cast<CFNumberRef>(object));
    if (type == CFDateGetTypeID())
        return "date " +
               std::to_string(std::lround(CFDateGetAbsoluteTime(static_cast<CFDateRef>(object))));
    if (object == kCFBooleanTrue) return "true";
    return object == kCFBooleanFalse ? "false" : "something else";
}

struct Form {
    const char* name;
    std::string text;
    std::string shown;
};

void PrintTo(const Form& form, std::ostream* stream) {
    *stream << form.name;
}

class CFPropertyListForm : public testing::TestWithParam<Form> {};

TEST_P(CFPropertyListForm, IsRead) {
    EXPECT_EQ(Show(Parse(GetParam().text).Get()), GetParam().shown);
}

const auto kNameOfForm = [](const auto& given) { return std::string(given.param.name); };

INSTANTIATE_TEST_SUITE_P(
    Xml, CFPropertyListForm,
    testing::Values(
        Form{"Dictionary", Xml("<dict><key>a</key><string>b</string></dict>"), "{a=b;}"},
        Form{"EmptyDictionary", Xml("<dict/>"), "{}"},
        Form{"Array", Xml("<array><string>1</string><string>2</string></array>"), "(1,2,)"},
        Form{"EmptyArray", Xml("<array/>"), "()"}, Form{"String", Xml("<string>x</string>"), "x"},
        Form{"EmptyString", Xml("<string></string>"), ""},
        Form{"EmptyStringElement", Xml("<string/>"), ""},
        Form{"BlanksAreKept", Xml("<string>  a b </string>"), "  a b "},
        Form{"Integer", Xml("<integer>-42</integer>"), "i-42"},
        Form{"HexadecimalInteger", Xml("<integer>0x1F</integer>"), "i31"},
        Form{"Real", Xml("<real>2.5</real>"), "f2.5"},
        Form{"Booleans", Xml("<array><true/><false/></array>"), "(true,false,)"},
        Form{"Date", Xml("<date>2001-01-02T00:00:01Z</date>"), "date 86401"},
        Form{"Data", Xml("<data>AQID</data>"), "<1 2 3 >"},
        Form{"Entities", Xml("<string>&lt;&amp;&gt;&quot;&apos;</string>"), "<&>\"'"},
        Form{"CharacterReferences", Xml("<string>&#x41;&#66;&#x65E5;</string>"), "AB\xE6\x97\xA5"},
        Form{"CharacterData", Xml("<string>a<![CDATA[<b>&amp;]]>c</string>"), "a<b>&amp;c"},
        Form{"Comments", Xml("<!-- one --><dict><!-- two --></dict>"), "{}"},
        Form{"LastOfTwoKeys",
             Xml("<dict><key>a</key><string>1</string><key>a</key><string>2</string></dict>"),
             "{a=2;}"},
        Form{"WithoutWrapper", "<dict><key>a</key><string>b</string></dict>", "{a=b;}"},
        Form{"TextBehindTheEnd", Xml("<string>x</string>") + "trailing", "x"},
        Form{"Nested",
             Xml("<dict><key>k</key><array><dict><key>l</key><true/></dict></array></dict>"),
             "{k=({l=true;},);}"}),
    kNameOfForm);

INSTANTIATE_TEST_SUITE_P(
    MalformedXml, CFPropertyListForm,
    testing::Values(Form{"EmptyWrapper", Xml(""), "nothing"},
                    Form{"UnknownTag", Xml("<text>a</text>"), "nothing"},
                    Form{"UnknownEntity", Xml("<string>&nbsp;</string>"), "nothing"},
                    Form{"InvalidUtf8", Xml("<string>\xFF</string>"), "nothing"},
                    Form{"CutOff", "<?xml version=\"1.0\"?><plist><dict><key>a</key>", "nothing"}),
    kNameOfForm);

INSTANTIATE_TEST_SUITE_P(
    OldStyle, CFPropertyListForm,
    testing::Values(Form{"Dictionary", "{a=b;}", "{a=b;}"}, Form{"EmptyDictionary", "{}", "{}"},
                    Form{"Array", "(a, b)", "(a,b,)"},
                    Form{"ArrayWithCommaAtEnd", "(a,b,)", "(a,b,)"}, Form{"EmptyArray", "()", "()"},
                    Form{"Data", "<41 42>", "<65 66 >"},
                    Form{"DataInUnevenGroups", "<4142 43>", "<65 66 67 >"},
                    Form{"Nested", "{a=(b,{c=<00>;});}", "{a=(b,{c=<0 >;},);}"},
                    Form{"Quotes", "{'a b'=\"c d\";}", "{a b=c d;}"},
                    Form{"BareCharacters", "{a_$/:.-9=b;}", "{a_$/:.-9=b;}"},
                    Form{"Comments", "// one\n{ /* two */ a = b; // three\n}", "{a=b;}"},
                    Form{"Escapes", R"("\n\t\"\\\101\U65e5")", "\n\t\"\\A\xE6\x97\xA5"},
                    Form{"NextStepEscape", R"("\341")", "\xC3\x86"},
                    Form{"ABareWordIsAString", "hello", "hello"},
                    Form{"BlanksAreAnEmptyDictionary", " \n\t", "{}"},
                    Form{"NumbersAreStrings", "{a=1;}", "{a=1;}"}),
    kNameOfForm);

INSTANTIATE_TEST_SUITE_P(MalformedOldStyle, CFPropertyListForm,
                         testing::Values(Form{"MissingSemicolon", "{a=b}", "nothing"},
                                         Form{"MissingLastSemicolon", "{a=b;c=d}", "nothing"},
                                         Form{"Unclosed", "{a=b;", "nothing"},
                                         Form{"UnclosedArray", "(a,b", "nothing"},
                                         Form{"BehindTheEnd", "{a=b;} c", "nothing"},
                                         Form{"UnclosedQuote", "\"abc", "nothing"},
                                         Form{"HalfAByte", "<414>", "nothing"},
                                         Form{"InvalidUtf8", "\"\xFF\"", "nothing"},
                                         Form{"Empty", "", "nothing"}),
                         kNameOfForm);

INSTANTIATE_TEST_SUITE_P(
    StringsFile, CFPropertyListForm,
    testing::Values(Form{"Pairs", "a = b;\n\"c d\" = \"e\";\n", "{a=b;c d=e;}"},
                    Form{"KeyAlone", "a = b; k2;", "{a=b;k2=k2;}"},
                    Form{"Comments", "/* Menu */\n\"File\" = \"Datei\"; // done\n",
                         "{File=Datei;}"},
                    Form{"ByteOrderMark", "\xEF\xBB\xBF\"a\" = \"b\";", "{a=b;}"},
                    Form{"Utf16", std::string("\xFF\xFE\"\0a\0\"\0;\0", 10), "{a=a;}"},
                    Form{"MissingSemicolon", "a = b\nc = d;", "nothing"}),
    kNameOfForm);

TEST(CFPropertyList, ReadsTheBinaryForm) {
    // {"a": "b"}, laid out by hand.
    constexpr std::array<UInt8, 48> kBytes = {
        'b', 'p', 'l', 'i', 's', 't', '0', '0', 0xD1, 1, 2, 0x51, 'a', 0x51, 'b', 8,
        11,  13,  0,   0,   0,   0,   0,   0,   1,    1, 0, 0,    0,   0,    0,   0,
        0,   3,   0,   0,   0,   0,   0,   0,   0,    0, 0, 0,    0,   0,    0,   0};
    std::string bytes(kBytes.begin(), kBytes.end());
    bytes += std::string(1, '\0') + '\x0F';
    CFPropertyListFormat format{};
    const auto data = Adopt(CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                                         static_cast<CFIndex>(bytes.size())));
    const auto list = Adopt(CFPropertyListCreateWithData(nullptr, data.Get(), 0, &format, nullptr));
    EXPECT_EQ(Show(list.Get()), "{a=b;}");
    EXPECT_EQ(format, kCFPropertyListBinaryFormat_v1_0);
    EXPECT_EQ(Show(Parse("bplist00 and then nothing of the kind, at some length").Get()),
              "nothing");
}

TEST(CFPropertyList, SaysWhichFormItRead) {
    CFPropertyListFormat format{};
    for (const auto& [text, expected] :
         {std::pair{std::string("<plist><true/></plist>"), kCFPropertyListXMLFormat_v1_0},
          std::pair{std::string("{a=b;}"), kCFPropertyListOpenStepFormat}}) {
        const auto data = Adopt(CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(text.data()),
                                             static_cast<CFIndex>(text.size())));
        ASSERT_TRUE(Adopt(CFPropertyListCreateWithData(nullptr, data.Get(), 0, &format, nullptr)));
        EXPECT_EQ(format, expected);
    }
}

TEST(CFPropertyList, FailureGivesAReasonAndSuccessNone) {
    CFStringRef error = nullptr;
    EXPECT_FALSE(Parse("{a=b", &error));
    ASSERT_NE(error, nullptr);
    EXPECT_GT(CFStringGetLength(error), 0);
    CFRelease(error);
    error = CFSTR("left over");
    EXPECT_TRUE(Parse("{a=b;}", &error));
    EXPECT_EQ(error, nullptr);
}

TEST(CFPropertyList, NoDataIsNoList) {
    EXPECT_FALSE(Adopt(CFPropertyListCreateFromXMLData(nullptr, nullptr, 0, nullptr)));
}

}  // namespace
