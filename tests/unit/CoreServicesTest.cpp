// The folder manager on Linux: where Application Support lies, and what a file reference is.

#include <CoreServices/CoreServices.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "tests/support/Text.h"

namespace {

namespace fs = std::filesystem;
using kivo::Adopt;
using kivo::test::Text;
using kivo::test::UnitsOf;
using kivo::test::Utf8Text;

class ApplicationSupport : public testing::Test {
  protected:
    void SetUp() override {
        const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
        mTop = fs::path(std::getenv("XDG_RUNTIME_DIR")) / test->name();
        setenv("HOME", Make("home").c_str(), 1);
        setenv("XDG_DATA_HOME", Make("own").c_str(), 1);
        setenv("XDG_DATA_DIRS", (Make("first").native() + ":" + Make("second").native()).c_str(),
               1);
    }

    fs::path Make(const fs::path& name) {
        fs::create_directories(mTop / name);
        return mTop / name;
    }
    OSErr Find(FSRef* found) {
        return FSFindFolder(kOnSystemDisk, kApplicationSupportFolderType, false, found);
    }
    /// The folder that is found, without what all paths here begin with.
    std::string Found() {
        FSRef folder;
        if (Find(&folder) != noErr) return "nothing";
        return fs::path(PathOf(folder)).lexically_relative(mTop).native();
    }
    static std::string PathOf(const FSRef& reference) {
        const auto url = Adopt(CFURLCreateFromFSRef(nullptr, &reference));
        if (!url) return "no URL";
        return Utf8Text(Adopt(CFURLCopyFileSystemPath(url.Get(), kCFURLPOSIXPathStyle)).Get());
    }
    static OSErr Inside(const FSRef& parent, std::u16string name, FSRef* child) {
        return FSMakeFSRefUnicode(&parent, name.size(),
                                  reinterpret_cast<const UniChar*>(name.data()),
                                  kTextEncodingUnicodeDefault, child);
    }

    fs::path mTop;
};

TEST_F(ApplicationSupport, IsTheUsersFolderFirst) {
    Make("own/Zynwerks");
    Make("first/Zynwerks");
    EXPECT_EQ(Found(), "own");
}

TEST_F(ApplicationSupport, IsTheFirstSystemFolderThatHoldsTheMakers) {
    Make("second/Zynwerks");
    EXPECT_EQ(Found(), "second");
    Make("first/Zynwerks");
    EXPECT_EQ(Found(), "first");
}

TEST_F(ApplicationSupport, WithoutTheMakersFolderIsTheUsers) {
    EXPECT_EQ(Found(), "own");
    FSRef support;
    FSRef folder;
    ASSERT_EQ(Find(&support), noErr);
    EXPECT_EQ(Inside(support, u"Zynwerks", &folder), fnfErr);
}

TEST_F(ApplicationSupport, HasTheStandardDefaults) {
    unsetenv("XDG_DATA_HOME");
    Make("home/.local/share/Zynwerks");
    EXPECT_EQ(Found(), "home/.local/share");
    setenv("XDG_DATA_HOME", "", 1);
    EXPECT_EQ(Found(), "home/.local/share");
}

TEST_F(ApplicationSupport, IgnoresRelativePaths) {
    Make("first/Zynwerks");
    setenv("XDG_DATA_HOME", "own", 1);
    EXPECT_EQ(Found(), "first");
}

TEST_F(ApplicationSupport, IsNeverCreated) {
    setenv("XDG_DATA_HOME", (mTop / "missing").c_str(), 1);
    FSRef support;
    EXPECT_EQ(FSFindFolder(kOnSystemDisk, kApplicationSupportFolderType, true, &support), fnfErr);
    EXPECT_FALSE(fs::exists(mTop / "missing"));
}

TEST_F(ApplicationSupport, IsTheOnlyFolderOfTheOnlyVolume) {
    FSRef found;
    EXPECT_EQ(FSFindFolder(0, kApplicationSupportFolderType, false, &found), nsvErr);
    EXPECT_EQ(FSFindFolder(kOnSystemDisk, 'pref', false, &found), dirNFErr);
    EXPECT_EQ(FSFindFolder(kOnSystemDisk, kApplicationSupportFolderType, false, nullptr), paramErr);
}

TEST_F(ApplicationSupport, AReferenceBecomesAURL) {
    Make("own/Zynwerks");
    FSRef support;
    FSRef folder;
    ASSERT_EQ(Find(&support), noErr);
    ASSERT_EQ(Inside(support, u"Zynwerks", &folder), noErr);
    const auto url = Adopt(CFURLCreateFromFSRef(nullptr, &folder));
    EXPECT_EQ(Utf8Text(CFURLGetString(url.Get())), "file://" + (mTop / "own/Zynwerks/").native());
}

TEST_F(ApplicationSupport, ANameIsOneComponent) {
    Make("own/Zynwerks");
    FSRef support;
    FSRef child;
    ASSERT_EQ(Find(&support), noErr);
    for (const char16_t* name : {u"", u"..", u".", u"a/b", u"../first"})
        EXPECT_EQ(Inside(support, name, &child), bdNamErr);
    EXPECT_EQ(Inside(support, std::u16string(1, 0xD800), &child), bdNamErr);
    EXPECT_EQ(Inside(support, std::u16string(256, u'a'), &child), bdNamErr);
    EXPECT_EQ(Inside(support, u"nothing", &child), fnfErr);
}

TEST_F(ApplicationSupport, EqualPathsGiveEqualReferences) {
    FSRef one;
    FSRef other;
    ASSERT_EQ(Find(&one), noErr);
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(Find(&other), noErr);
    EXPECT_EQ(std::memcmp(&one, &other, sizeof one), 0);
    EXPECT_EQ(PathOf(one), (mTop / "own").native());
}

TEST_F(ApplicationSupport, AReferenceGoesStaleRatherThanWrong) {
    FSRef support;
    FSRef old;
    FSRef child;
    ASSERT_EQ(Find(&support), noErr);
    Make("own/old");
    ASSERT_EQ(Inside(support, u"old", &old), noErr);
    for (int i = 0; i < 64; ++i) {
        ASSERT_EQ(Find(&support), noErr);
        const std::string name = "f" + std::to_string(i);
        Make("own/" + name);
        ASSERT_EQ(Inside(support, {name.begin(), name.end()}, &child), noErr);
    }
    EXPECT_EQ(PathOf(old), "no URL");
    EXPECT_EQ(PathOf(child), (mTop / "own/f63").native());
    EXPECT_EQ(PathOf(FSRef{}), "no URL");
    EXPECT_EQ(Inside(old, u"x", &child), dirNFErr);
}

TEST(UTGetOSTypeFromString, TakesFourMacRomanBytes) {
    EXPECT_EQ(UTGetOSTypeFromString(CFSTR("KIVB")), 0x4B495642U);
    EXPECT_EQ(UTGetOSTypeFromString(Text(u"caf\u00E9").Get()), 0x6361668EU);
    EXPECT_EQ(UTGetOSTypeFromString(Text(u"cafe\u0301").Get()), 0x6361668EU);
}

TEST(UTGetOSTypeFromString, CutsLongAndFillsShort) {
    EXPECT_EQ(UTGetOSTypeFromString(CFSTR("firefox")), 0x66697265U);
    EXPECT_EQ(UTGetOSTypeFromString(CFSTR("abc")), 0x61626300U);
    EXPECT_EQ(UTGetOSTypeFromString(CFSTR("")), 0U);
}

TEST(UTGetOSTypeFromString, RefusesWhatMacRomanDoesNotHave) {
    EXPECT_EQ(UTGetOSTypeFromString(Text(u"ab\u65E5d").Get()), 0U);
    EXPECT_EQ(UTGetOSTypeFromString(Text(u"abcd\u65E5").Get()), 0x61626364U);
    EXPECT_EQ(UTGetOSTypeFromString(nullptr), 0U);
}

}  // namespace
