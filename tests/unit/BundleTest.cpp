// Bundles on Linux: where the main bundle lies, and which language the environment asks for.

#include <CoreFoundation/BundleLanguages.h>
#include <CoreFoundation/CFBundleSeams.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "tests/support/Text.h"

namespace {

namespace fs = std::filesystem;
using kivo::Adopt;
using kivo::test::Utf8Text;
using testing::ElementsAre;
using testing::IsEmpty;

struct Environment {
    const char* language = nullptr;
    const char* all = nullptr;
    const char* messages = nullptr;
    const char* lang = nullptr;
};

void Set(const char* name, const char* value) {
    if (value != nullptr)
        setenv(name, value, 1);
    else
        unsetenv(name);
}

void Use(const Environment& environment) {
    Set("LANGUAGE", environment.language);
    Set("LC_ALL", environment.all);
    Set("LC_MESSAGES", environment.messages);
    Set("LANG", environment.lang);
}

std::vector<std::string> LanguagesIn(const Environment& environment) {
    Use(environment);
    return kivo::UserLanguages();
}

TEST(UserLanguages, ComeFromTheLocale) {
    EXPECT_THAT(LanguagesIn({.lang = "de_AT.UTF-8"}), ElementsAre("de-AT"));
    EXPECT_THAT(LanguagesIn({.lang = "de_DE.UTF-8@euro"}), ElementsAre("de-DE"));
    EXPECT_THAT(LanguagesIn({.lang = "fr"}), ElementsAre("fr"));
}

TEST(UserLanguages, TheStrongerVariableWins) {
    EXPECT_THAT(LanguagesIn({.messages = "fr_FR", .lang = "de_DE"}), ElementsAre("fr-FR"));
    EXPECT_THAT(LanguagesIn({.all = "es_ES", .messages = "fr_FR"}), ElementsAre("es-ES"));
    EXPECT_THAT(LanguagesIn({.all = "", .messages = "fr_FR"}), ElementsAre("fr-FR"));
}

TEST(UserLanguages, TheListGoesBeforeTheLocale) {
    EXPECT_THAT(LanguagesIn({.language = "sv:de_AT::fr", .lang = "it_IT.UTF-8"}),
                ElementsAre("sv", "de-AT", "fr"));
    EXPECT_THAT(LanguagesIn({.language = "", .lang = "it_IT.UTF-8"}), ElementsAre("it-IT"));
    EXPECT_THAT(LanguagesIn({.language = "de", .lang = "C.UTF-8"}), ElementsAre("de"));
}

TEST(UserLanguages, TheListIsIgnoredWithoutALocale) {
    EXPECT_THAT(LanguagesIn({.language = "de"}), IsEmpty());
    EXPECT_THAT(LanguagesIn({.language = "de", .lang = "C"}), IsEmpty());
    EXPECT_THAT(LanguagesIn({.language = "de", .all = "POSIX", .lang = "fr_FR"}), IsEmpty());
    EXPECT_THAT(LanguagesIn({.lang = "C.UTF-8"}), IsEmpty());
}

using Names = std::vector<std::string>;

TEST(MatchLanguages, PrefersTheExactRegionThenTheLanguage) {
    EXPECT_THAT(kivo::MatchLanguages({"de", "de-AT", "en"}, {"de-AT"}), ElementsAre("de-AT", "de"));
    EXPECT_THAT(kivo::MatchLanguages({"de_AT", "en"}, {"de-AT"}), ElementsAre("de_AT"));
    EXPECT_THAT(kivo::MatchLanguages({"de", "en"}, {"de-CH"}), ElementsAre("de"));
    EXPECT_THAT(kivo::MatchLanguages({"en", "pt-BR"}, {"pt-PT"}), ElementsAre("pt-BR"));
}

TEST(MatchLanguages, KnowsLegacyNamesAndChineseScripts) {
    EXPECT_THAT(kivo::MatchLanguages({"English", "German", "Japanese"}, {"ja-JP", "de"}),
                ElementsAre("Japanese", "German"));
    EXPECT_THAT(kivo::MatchLanguages({"zh-Hans", "zh-Hant"}, {"zh-TW"}), ElementsAre("zh-Hant"));
    EXPECT_THAT(kivo::MatchLanguages({"zh-Hans", "zh-Hant"}, {"zh-CN"}), ElementsAre("zh-Hans"));
}

TEST(MatchLanguages, KeepsTheUsersOrder) {
    EXPECT_THAT(kivo::MatchLanguages({"de", "en", "fr"}, {"sv", "fr", "en"}),
                ElementsAre("fr", "en"));
    EXPECT_THAT(kivo::MatchLanguages({"de"}, {"sv"}), IsEmpty());
}

TEST(FallbackLanguage, IsTheDevelopmentRegionsThenEnglishThenAny) {
    EXPECT_EQ(kivo::FallbackLanguage({"de", "en", "fr"}, "fr"), "fr");
    EXPECT_EQ(kivo::FallbackLanguage({"English", "fr"}, "ja"), "English");
    EXPECT_EQ(kivo::FallbackLanguage({"en", "en_US"}, ""), "en_US");
    EXPECT_EQ(kivo::FallbackLanguage({"it", "fr"}, ""), "it");
    EXPECT_EQ(kivo::FallbackLanguage({}, "en"), "");
}

class BundleFolders : public testing::Test {
  protected:
    void SetUp() override {
        const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
        mTop = fs::path(std::getenv("XDG_RUNTIME_DIR")) / test->name();
        Use({});
    }
    void Make(const fs::path& name) { fs::create_directories(mTop / name); }
    void Write(const fs::path& name, const std::string& text) {
        Make(name.parent_path());
        std::ofstream(mTop / name) << text;
    }
    fs::path ResourcesOf(const fs::path& executable) {
        return kivo::LayoutOfExecutable(mTop / executable).resources.lexically_relative(mTop);
    }

    fs::path mTop;
};

TEST_F(BundleFolders, OfAnApplicationFolder) {
    EXPECT_EQ(ResourcesOf("X.app/Contents/MacOS/x"), "X.app/Contents/Resources");
    EXPECT_EQ(ResourcesOf("X.app/Contents/Linux/x"), "X.app/Contents/Resources");
    EXPECT_EQ(kivo::LayoutOfExecutable("/X.app/Contents/Linux/x").contents, "/X.app/Contents");
    EXPECT_EQ(kivo::LayoutOfExecutable("/X.app/Contents/Linux/x").root, "/X.app");
}

TEST_F(BundleFolders, OfAnInstalledProgram) {
    Make("usr/share/prog.resources");
    for (const char* folder :
         {"usr/bin", "usr/sbin", "usr/libexec", "usr/libexec/kivo", "usr/lib/kivo"})
        EXPECT_EQ(ResourcesOf(fs::path(folder) / "prog"), "usr/share/prog.resources") << folder;
    EXPECT_EQ(ResourcesOf("usr/bin/other"), "usr/bin");
    EXPECT_EQ(ResourcesOf("usr/games/prog"), "usr/games");
}

TEST_F(BundleFolders, OfABareProgramAreItsOwn) {
    EXPECT_EQ(ResourcesOf("anywhere/prog"), "anywhere");
}

class LocalizedBundle : public BundleFolders {
  protected:
    void SetUp() override {
        BundleFolders::SetUp();
        Write("share/prog.resources/Info.plist",
              "<plist><dict><key>CFBundleIdentifier</key><string>com.example.prog</string>"
              "<key>CFBundleDevelopmentRegion</key><string>en</string></dict></plist>");
        for (const char* language : {"en", "de", "fr", "Japanese"})
            Write(fs::path("share/prog.resources") / (std::string(language) + ".lproj") /
                      "Localizable.strings",
                  "ZYNLanguage = " + std::string(language) + ";");
    }
    std::string Localized(CFStringRef key) {
        const std::string path = mTop / "share/prog.resources";
        const auto url = Adopt(CFURLCreateFromFileSystemRepresentation(
            nullptr, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()),
            true));
        const auto bundle = Adopt(CFBundleCreate(nullptr, url.Get()));
        return Utf8Text(Adopt(CFBundleCopyLocalizedString(bundle.Get(), key, key, nullptr)).Get());
    }
};

TEST_F(LocalizedBundle, IsTheMainBundleOfItsExecutable) {
    kivo::UseMainExecutable(mTop / "bin/prog");
    EXPECT_EQ(Utf8Text(CFBundleGetIdentifier(CFBundleGetMainBundle())), "com.example.prog");
    const auto url = Adopt(CFBundleCopyResourcesDirectoryURL(CFBundleGetMainBundle()));
    UInt8 path[1024];
    ASSERT_TRUE(CFURLGetFileSystemRepresentation(url.Get(), true, path, sizeof path));
    EXPECT_EQ(reinterpret_cast<const char*>(path), (mTop / "share/prog.resources").native());
}

TEST_F(LocalizedBundle, SpeaksTheUsersLanguage) {
    Use({.lang = "de_AT.UTF-8"});
    EXPECT_EQ(Localized(CFSTR("ZYNLanguage")), "de");
}

TEST_F(LocalizedBundle, KnowsALegacyFolderName) {
    Use({.language = "ja", .lang = "en_US.UTF-8"});
    EXPECT_EQ(Localized(CFSTR("ZYNLanguage")), "Japanese");
}

TEST_F(LocalizedBundle, FallsBackToTheDevelopmentRegion) {
    Use({.lang = "sv_SE.UTF-8"});
    EXPECT_EQ(Localized(CFSTR("ZYNLanguage")), "en");
}

TEST_F(LocalizedBundle, TakesTheDevelopmentRegionWithoutALocale) {
    Use({.language = "de", .lang = "C"});
    EXPECT_EQ(Localized(CFSTR("ZYNLanguage")), "en");
}

TEST_F(LocalizedBundle, LooksAMissingKeyUpInNoOtherLanguage) {
    Write("share/prog.resources/en.lproj/Localizable.strings", "only = english;");
    Use({.lang = "fr_FR.UTF-8"});
    EXPECT_EQ(Localized(CFSTR("only")), "only");
}

TEST_F(LocalizedBundle, BaseGoesBeforeTheUsersSecondLanguage) {
    fs::remove(mTop / "share/prog.resources/fr.lproj/Localizable.strings");
    Write("share/prog.resources/Base.lproj/Localizable.strings", "ZYNLanguage = base;");
    Use({.language = "fr:de", .lang = "fr_FR.UTF-8"});
    EXPECT_EQ(Localized(CFSTR("ZYNLanguage")), "base");
}

}  // namespace
