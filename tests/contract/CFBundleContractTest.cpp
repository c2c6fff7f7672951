// Bundles made by the test. What depends on the user's language stands in tests/unit, since its
// source differs from one system to another.

#include "tests/support/Text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;
using kivo::Adopt;
using kivo::CFRef;
using kivo::test::Utf8Text;

class CFBundleContract : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = fs::temp_directory_path() / "cfbundle-XXXXXX";
        mTop = mkdtemp(pattern.data());
        mRoot = mTop / "Test.app";
        fs::create_directories(mRoot / "Contents/Resources");
    }
    void TearDown() override { fs::remove_all(mTop); }

    void Write(const fs::path& name, const std::string& text) {
        const fs::path path = mRoot / "Contents" / name;
        fs::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }
    CFRef<CFBundleRef> Open() {
        const std::string path = mRoot.native();
        const auto url = Adopt(CFURLCreateFromFileSystemRepresentation(
            nullptr, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()),
            true));
        return Adopt(CFBundleCreate(nullptr, url.Get()));
    }
    std::string Localized(CFStringRef key, CFStringRef value = nullptr,
                          CFStringRef table = nullptr) {
        return Utf8Text(Adopt(CFBundleCopyLocalizedString(Open().Get(), key, value, table)).Get());
    }

    fs::path mTop;
    fs::path mRoot;
};

TEST(CFBundleMain, IsAlwaysThereAndTheSame) {
    ASSERT_NE(CFBundleGetMainBundle(), nullptr);
    EXPECT_EQ(CFBundleGetMainBundle(), CFBundleGetMainBundle());
}

TEST(CFBundleMain, OfABareExecutableIsItsDirectory) {
    EXPECT_EQ(CFBundleGetIdentifier(CFBundleGetMainBundle()), nullptr);
    EXPECT_NE(CFBundleGetInfoDictionary(CFBundleGetMainBundle()), nullptr);
    EXPECT_EQ(
        CFBundleGetValueForInfoDictionaryKey(CFBundleGetMainBundle(), CFSTR("CFBundleVersion")),
        nullptr);
}

TEST_F(CFBundleContract, GivesTheInfoDictionary) {
    Write("Info.plist",
          "<plist><dict><key>CFBundleIdentifier</key><string>com.example.test</string>"
          "<key>CFBundleVersion</key><string>1.2</string></dict></plist>");
    const auto bundle = Open();
    EXPECT_EQ(Utf8Text(CFBundleGetIdentifier(bundle.Get())), "com.example.test");
    const CFTypeRef version =
        CFBundleGetValueForInfoDictionaryKey(bundle.Get(), CFSTR("CFBundleVersion"));
    ASSERT_NE(version, nullptr);
    EXPECT_EQ(Utf8Text(static_cast<CFStringRef>(version)), "1.2");
    EXPECT_TRUE(
        CFDictionaryContainsKey(CFBundleGetInfoDictionary(bundle.Get()), CFSTR("CFBundleVersion")));
}

TEST_F(CFBundleContract, ResourcesAreRelativeToTheBundle) {
    Write("Info.plist", "<plist><dict/></plist>");
    const auto url = Adopt(CFBundleCopyResourcesDirectoryURL(Open().Get()));
    EXPECT_EQ(Utf8Text(CFURLGetString(url.Get())), "Contents/Resources/");
    UInt8 path[1024];
    ASSERT_TRUE(CFURLGetFileSystemRepresentation(url.Get(), true, path, sizeof path));
    EXPECT_TRUE(fs::equivalent(reinterpret_cast<const char*>(path), mRoot / "Contents/Resources"));
}

TEST_F(CFBundleContract, AMissingDirectoryIsNoBundle) {
    fs::remove_all(mRoot);
    EXPECT_FALSE(Open());
}

TEST_F(CFBundleContract, WithoutAStringTheValueOrTheKeyStandsIn) {
    EXPECT_EQ(Localized(CFSTR("key"), CFSTR("value")), "value");
    EXPECT_EQ(Localized(CFSTR("key")), "key");
    EXPECT_EQ(Localized(CFSTR("key"), CFSTR("")), "key");
    EXPECT_EQ(Localized(nullptr, CFSTR("value")), "value");
    EXPECT_EQ(Localized(nullptr), "");
}

TEST_F(CFBundleContract, TheGlobalTableGoesBeforeAnyLanguage) {
    Write("Resources/Localizable.strings", "k = global;");
    Write("Resources/en.lproj/Localizable.strings", "k = english; other = english;");
    EXPECT_EQ(Localized(CFSTR("k")), "global");
    EXPECT_EQ(Localized(CFSTR("other")), "other");
}

TEST_F(CFBundleContract, TheTableNameDefaultsToLocalizable) {
    Write("Resources/Localizable.strings", "k = default;");
    Write("Resources/Other.strings", "k = other;");
    EXPECT_EQ(Localized(CFSTR("k"), nullptr, CFSTR("")), "default");
    EXPECT_EQ(Localized(CFSTR("k"), nullptr, CFSTR("Other")), "other");
}

TEST_F(CFBundleContract, ABrokenTableCountsAsEmpty) {
    Write("Resources/Localizable.strings", "k = \"unclosed");
    Write("Resources/en.lproj/Localizable.strings", "k = english;");
    EXPECT_EQ(Localized(CFSTR("k")), "k");
}

}  // namespace
