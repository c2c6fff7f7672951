#include "tools/kivoctl/Arguments.h"

#include <gmock/gmock.h>

#include <array>

#include "tools/kivoctl/Failure.h"

namespace kivo::ctl {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::array kRules = {OptionRule{"json", false}, OptionRule{"timeout", true}};

std::vector<Argument> Parse(const std::vector<std::string>& words) {
    return ParseArguments(kRules, words);
}

std::string WhatIsWrongWith(const std::vector<std::string>& words) {
    try {
        Parse(words);
    } catch (const UsageFailure& failure) {
        return failure.what();
    }
    return "nothing";
}

MATCHER_P2(Is, option, value, "") {
    return arg.option == option && arg.value == value;
}

TEST(KivoCtlArguments, KeepTheOrderOfWordsAndOptions) {
    EXPECT_THAT(Parse({"one", "--timeout", "3", "two", "--json"}),
                ElementsAre(Is("", "one"), Is("timeout", "3"), Is("", "two"), Is("json", "")));
}

TEST(KivoCtlArguments, TakeAValueBehindAnEqualsSign) {
    EXPECT_THAT(Parse({"--timeout=a=b"}), ElementsAre(Is("timeout", "a=b")));
    EXPECT_THAT(Parse({"--timeout="}), ElementsAre(Is("timeout", "")));
}

TEST(KivoCtlArguments, TakeTheNextWordAsAValueWhateverItLooksLike) {
    EXPECT_THAT(Parse({"--timeout", "--json"}), ElementsAre(Is("timeout", "--json")));
}

TEST(KivoCtlArguments, TakeEverythingBehindTwoDashesAsWords) {
    EXPECT_THAT(Parse({"--", "--json", "--"}), ElementsAre(Is("", "--json"), Is("", "--")));
}

TEST(KivoCtlArguments, TakeASingleDashAsAWord) {
    EXPECT_THAT(Parse({"-", "-x"}), ElementsAre(Is("", "-"), Is("", "-x")));
}

TEST(KivoCtlArguments, RefuseWhatTheRulesDoNotKnow) {
    EXPECT_THAT(WhatIsWrongWith({"--jso"}), HasSubstr("--jso"));
    EXPECT_THAT(WhatIsWrongWith({"--json=1"}), HasSubstr("takes no value"));
    EXPECT_THAT(WhatIsWrongWith({"--timeout"}), HasSubstr("needs a value"));
}

TEST(KivoCtlSplitLine, PartsWordsAtBlanks) {
    EXPECT_THAT(SplitLine("  window\tTitle --partial \r"),
                ElementsAre("window", "Title", "--partial"));
    EXPECT_THAT(SplitLine(""), IsEmpty());
    EXPECT_THAT(SplitLine(" \t"), IsEmpty());
}

TEST(KivoCtlSplitLine, KeepsQuotedTextTogether) {
    EXPECT_THAT(SplitLine(R"(window "My \"Mix\"" 'a\b' c\ d "")"),
                ElementsAre("window", "My \"Mix\"", "a\\b", "c d", ""));
    EXPECT_THAT(SplitLine(R"(a"b c"'d e')"), ElementsAre("ab cd e"));
}

TEST(KivoCtlSplitLine, PassesOverComments) {
    EXPECT_THAT(SplitLine("# nothing"), IsEmpty());
    EXPECT_THAT(SplitLine("pointer # where"), ElementsAre("pointer"));
    EXPECT_THAT(SplitLine("window C#"), ElementsAre("window", "C#"));
}

TEST(KivoCtlSplitLine, RefusesAnOpenQuote) {
    EXPECT_THROW(SplitLine("window \"Mixer"), UsageFailure);
    EXPECT_THROW(SplitLine("window 'Mixer"), UsageFailure);
}

TEST(KivoCtlParseNumber, ReadsDecimalAndHexadecimal) {
    EXPECT_EQ(ParseNumber("0", 10, "it"), 0u);
    EXPECT_EQ(ParseNumber("10", 10, "it"), 10u);
    EXPECT_EQ(ParseNumber("0x1f", 255, "it"), 31u);
}

TEST(KivoCtlParseNumber, RefusesWhatIsNoNumberInRange) {
    for (const char* text :
         {"", "11", "-1", "+1", " 1", "1 ", "1.5", "0x", "x", "0xg", "99999999999999999999999"}) {
        EXPECT_THROW(ParseNumber(text, 10, "it"), UsageFailure) << text;
    }
}

TEST(KivoCtlParseSeconds, ReadsFractions) {
    EXPECT_EQ(ParseSeconds("0.25", "it"), 0.25);
    EXPECT_EQ(ParseSeconds("3", "it"), 3.0);
}

TEST(KivoCtlParseSeconds, RefusesWhatIsNoTimeToWait) {
    for (const char* text : {"", "0", "-1", "soon", "1s", "inf", "nan"}) {
        EXPECT_THROW(ParseSeconds(text, "it"), UsageFailure) << text;
    }
}

}  // namespace
}  // namespace kivo::ctl
