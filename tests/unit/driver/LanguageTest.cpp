// The language's name: read, kept, sent once.

#include "tests/unit/driver/DriverTest.h"

namespace kivo::test {
namespace {

using testing::ElementsAre;

using LanguageTest = DriverTest;

Bytes WithTerminator(const std::string& text) {
    Bytes bytes = BytesOf(text);
    bytes.push_back(0);
    return bytes;
}

TEST_F(LanguageTest, WithoutALocalisationTheKeyIsTheName) {
    StartControlCenter();
    StartDriver();
    Run(0.15);
    EXPECT_THAT(controlCenter->PayloadsOf(kMessageLanguage),
                ElementsAre(WithTerminator("ZYNLanguage")));
    EXPECT_EQ(Probe().Language(), "ZYNLanguage");
}

TEST_F(LanguageTest, GoesOutOncePerProcessEvenWhenTheSendFailed) {
    StartDriver();
    EXPECT_FALSE(Probe().LanguageSent());
    Run(0.15);
    EXPECT_TRUE(Probe().LanguageSent());
    const auto lines = CapturedLog().size();
    Run(1.0);
    EXPECT_EQ(CapturedLog().size(), lines);
}

TEST_F(LanguageTest, CurrentLanguageIsPaddedWithZeroBytes) {
    StartDriver();
    Probe().SetLanguage("German");
    char name[16];
    std::fill(std::begin(name), std::end(name), 'x');
    driver->GetCurrentLanguage(name, sizeof name);
    EXPECT_EQ(std::string(name, sizeof name), std::string("German") + std::string(10, '\0'));
}

TEST_F(LanguageTest, NameOfSixteenCharactersIsNotTerminated) {
    StartDriver();
    Probe().SetLanguage("ABCDEFGHIJKLMNOP");
    char name[17];
    std::fill(std::begin(name), std::end(name), 'x');
    driver->GetCurrentLanguage(name, 16);
    EXPECT_EQ(std::string(name, sizeof name), "ABCDEFGHIJKLMNOPx");
}

TEST_F(LanguageTest, CurrentLanguageIsEmptyBeforeItWasObtained) {
    StartDriver();
    char name[4] = {'a', 'b', 'c', 'd'};
    driver->GetCurrentLanguage(name, sizeof name);
    EXPECT_EQ(std::string(name, sizeof name), std::string(4, '\0'));
}

}  // namespace
}  // namespace kivo::test
