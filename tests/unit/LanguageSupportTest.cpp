#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "ZYNCommon/CLanguageSupport.h"
#include "ZYNCommon/ZYN_Constant_CFStrings.h"
#include "platform/CFRef.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Text.h"

namespace {

namespace fs = std::filesystem;

/// A folder for application support of the test's own, with a folder "Zynwerks" inside.
class LanguageSupport : public testing::Test {
  protected:
    void SetUp() override {
        setenv("XDG_DATA_HOME", mSupport.Path().c_str(), 1);
        setenv("XDG_DATA_DIRS", mSupport.Path().c_str(), 1);
        fs::create_directory(mSupport / "Zynwerks");
    }

    void WriteFile(const std::string& name, const std::string& content) {
        std::ofstream(mSupport / "Zynwerks" / name) << content;
    }
    void WriteTable(const std::string& name, const std::string& entries) {
        WriteFile(name, "<plist version=\"1.0\"><dict>" + entries + "</dict></plist>");
    }

    /// What a language makes of a key: its text, or "(null)".
    std::string LookUp(CLanguageSupport& language, const char* key) {
        const CFStringRef found = language.CopyStringForKey(kivo::MakeString(key).Get());
        const auto owned = language.HasTable() ? kivo::Retain(found) : kivo::Adopt(found);
        return owned ? kivo::test::Utf8Text(owned.Get()) : "(null)";
    }

    kivo::test::TemporaryFolder mSupport;
};

TEST_F(LanguageSupport, KeyOfTheBundleIsZYNLanguage) {
    EXPECT_TRUE(CFEqual(kZYNLanguageKey, CFSTR("ZYNLanguage")));
}

TEST_F(LanguageSupport, FindsTheStringsOfItsLanguage) {
    WriteTable("German.plist", "<key>kMixer</key><string>Mischpult für Größen</string>");
    WriteTable("English.plist", "<key>kMixer</key><string>Mixer</string>");
    CLanguageSupport german("German");
    ASSERT_TRUE(german.HasTable());
    EXPECT_EQ(LookUp(german, "kMixer"), "Mischpult für Größen");
    CLanguageSupport english("English");
    EXPECT_EQ(LookUp(english, "kMixer"), "Mixer");
}

TEST_F(LanguageSupport, MissingKeyIsNullWithATable) {
    WriteTable("English.plist", "<key>kMixer</key><string>Mixer</string>");
    CLanguageSupport language("English");
    EXPECT_EQ(LookUp(language, "kEdit"), "(null)");
}

TEST_F(LanguageSupport, KeyStandsForItselfWithoutATable) {
    CLanguageSupport language("English");
    EXPECT_FALSE(language.HasTable());
    EXPECT_EQ(LookUp(language, "kEdit"), "kEdit");
}

TEST_F(LanguageSupport, CopyWithoutATableBelongsToTheCaller) {
    CLanguageSupport language("English");
    const auto key = kivo::MakeString("kEdit");
    const auto copy = kivo::Adopt(language.CopyStringForKey(key.Get()));
    EXPECT_TRUE(CFEqual(copy.Get(), key.Get()));
    EXPECT_EQ(CFGetRetainCount(copy.Get()) + (copy.Get() == key.Get() ? 0 : 1), 2);
}

TEST_F(LanguageSupport, StringOfTheTableIsLent) {
    WriteTable("English.plist", "<key>k</key><string>a title of some length</string>");
    CLanguageSupport language("English");
    const CFStringRef first = language.CopyStringForKey(CFSTR("k"));
    const CFIndex references = CFGetRetainCount(first);
    EXPECT_EQ(language.CopyStringForKey(CFSTR("k")), first);
    EXPECT_EQ(CFGetRetainCount(first), references);
}

TEST_F(LanguageSupport, MissingFolderLeavesNoTable) {
    fs::remove_all(mSupport / "Zynwerks");
    CLanguageSupport language("English");
    EXPECT_FALSE(language.HasTable());
    EXPECT_FALSE(fs::exists(mSupport / "Zynwerks")) << "it is never created";
}

TEST_F(LanguageSupport, MalformedFileLeavesNoTable) {
    WriteFile("English.plist", "<plist><dict><key>k</key>");
    CLanguageSupport language("English");
    EXPECT_FALSE(language.HasTable());
    EXPECT_EQ(LookUp(language, "k"), "k");
}

TEST_F(LanguageSupport, EmptyFileLeavesNoTable) {
    WriteFile("English.plist", "");
    CLanguageSupport language("English");
    EXPECT_FALSE(language.HasTable());
}

TEST_F(LanguageSupport, FolderInPlaceOfTheFileLeavesNoTable) {
    fs::create_directory(mSupport / "Zynwerks" / "English.plist");
    CLanguageSupport language("English");
    EXPECT_FALSE(language.HasTable());
}

TEST_F(LanguageSupport, RootThatIsNoDictionaryLoadsAndHoldsNothing) {
    WriteFile("English.plist", "<plist version=\"1.0\"><array><string>k</string></array></plist>");
    CLanguageSupport language("English");
    EXPECT_TRUE(language.HasTable());
    EXPECT_EQ(LookUp(language, "k"), "(null)");
}

TEST_F(LanguageSupport, ValueThatIsNoStringIsNull) {
    WriteTable("English.plist", "<key>k</key><integer>7</integer>");
    CLanguageSupport language("English");
    EXPECT_TRUE(language.HasTable());
    EXPECT_EQ(LookUp(language, "k"), "(null)");
}

TEST_F(LanguageSupport, FileIsReadAnewByEachInstance) {
    WriteTable("English.plist", "<key>k</key><string>before</string>");
    EXPECT_EQ(LookUp(*std::make_unique<CLanguageSupport>("English"), "k"), "before");
    WriteTable("English.plist", "<key>k</key><string>after</string>");
    EXPECT_EQ(LookUp(*std::make_unique<CLanguageSupport>("English"), "k"), "after");
}

TEST_F(LanguageSupport, NameOfSixteenCharactersIsTheWholeFileName) {
    WriteTable("SixteenLetters16.plist", "<key>k</key><string>found</string>");
    CLanguageSupport language("SixteenLetters16");
    EXPECT_EQ(LookUp(language, "k"), "found");
}

TEST_F(LanguageSupport, NameThatIsNotTextLeavesNoTable) {
    CLanguageSupport language("\xFF\xFE");
    EXPECT_FALSE(language.HasTable());
}

TEST_F(LanguageSupport, SelfIsTheLatestInstanceUntilItGoes) {
    EXPECT_EQ(CLanguageSupport::sSelf, nullptr);
    {
        CLanguageSupport language("English");
        EXPECT_EQ(CLanguageSupport::sSelf, &language);
    }
    EXPECT_EQ(CLanguageSupport::sSelf, nullptr);
}

}  // namespace
