#include "tests/support/Text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

using kivo::Adopt;
using kivo::CFRef;
using kivo::test::Text;
using kivo::test::Utf8Text;

CFRef<CFURLRef> FileURL(CFStringRef path, bool isDirectory = false) {
    return Adopt(CFURLCreateWithFileSystemPath(nullptr, path, kCFURLPOSIXPathStyle, isDirectory));
}

std::string PathOf(const CFRef<CFURLRef>& url) {
    return Utf8Text(Adopt(CFURLCopyFileSystemPath(url.Get(), kCFURLPOSIXPathStyle)).Get());
}

std::string StringOf(const CFRef<CFURLRef>& url) {
    return Utf8Text(CFURLGetString(url.Get()));
}

std::string Resolved(const CFRef<CFURLRef>& url, bool resolve = true) {
    UInt8 path[1024];
    if (CFURLGetFileSystemRepresentation(url.Get(), resolve, path, sizeof path) == 0) return "?";
    return reinterpret_cast<const char*>(path);
}

TEST(CFURL, ADirectoryEndsInASlashAsTextOnly) {
    EXPECT_EQ(StringOf(FileURL(CFSTR("/a/b"), true)), "file:///a/b/");
    EXPECT_EQ(PathOf(FileURL(CFSTR("/a/b/"), true)), "/a/b");
    EXPECT_EQ(StringOf(FileURL(CFSTR("/a/b"))), "file:///a/b");
    EXPECT_EQ(StringOf(FileURL(CFSTR("/"), true)), "file:///");
}

TEST(CFURL, EscapesWhatAURLCannotHold) {
    EXPECT_EQ(StringOf(FileURL(CFSTR("/a b/50%?#"))), "file:///a%20b/50%25%3F%23");
    EXPECT_EQ(PathOf(FileURL(CFSTR("/a b/50%?#"))), "/a b/50%?#");
}

TEST(CFURL, ARelativeURLHasARelativePathUntilItIsResolved) {
    const auto base = FileURL(CFSTR("/Apps/X.app"), true);
    const auto url = Adopt(CFURLCreateWithFileSystemPathRelativeToBase(
        nullptr, CFSTR("Contents/Resources"), kCFURLPOSIXPathStyle, true, base.Get()));
    EXPECT_EQ(StringOf(url), "Contents/Resources/");
    EXPECT_EQ(PathOf(url), "Contents/Resources");
    EXPECT_EQ(Resolved(url), "/Apps/X.app/Contents/Resources");
    EXPECT_EQ(Resolved(url, false), "Contents/Resources");
    EXPECT_TRUE(CFEqual(CFURLGetBaseURL(url.Get()), base.Get()));
    const auto absolute = Adopt(CFURLCopyAbsoluteURL(url.Get()));
    EXPECT_EQ(StringOf(absolute), "file:///Apps/X.app/Contents/Resources/");
    EXPECT_EQ(CFURLGetBaseURL(absolute.Get()), nullptr);
}

TEST(CFURL, ARelativePathIsBelowTheCurrentDirectory) {
    EXPECT_EQ(Resolved(FileURL(CFSTR("some/file"))),
              (std::filesystem::current_path() / "some/file").native());
}

TEST(CFURL, AppendsAComponent) {
    const auto folder = FileURL(CFSTR("/data/Zynwerks"), true);
    const auto file = Adopt(
        CFURLCreateCopyAppendingPathComponent(nullptr, folder.Get(), CFSTR("German.plist"), false));
    EXPECT_EQ(PathOf(file), "/data/Zynwerks/German.plist");
    EXPECT_EQ(StringOf(file), "file:///data/Zynwerks/German.plist");
    const auto root = FileURL(CFSTR("/"), true);
    EXPECT_EQ(PathOf(Adopt(
                  CFURLCreateCopyAppendingPathComponent(nullptr, root.Get(), CFSTR("a"), false))),
              "/a");
}

TEST(CFURL, ABufferThatIsTooSmallIsRefused) {
    UInt8 path[5];
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(FileURL(CFSTR("/abc")).Get(), true, path, 5));
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(FileURL(CFSTR("/abcd")).Get(), true, path, 5));
}

TEST(CFURL, TakesThePathAsBytes) {
    const std::string path = "/tmp/\xC3\xA9";
    const auto url = Adopt(CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()),
        false));
    EXPECT_EQ(Resolved(url), path);
}

class CFURLResource : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = std::filesystem::temp_directory_path() / "cfurl-XXXXXX";
        mFolder = mkdtemp(pattern.data());
    }
    void TearDown() override { std::filesystem::remove_all(mFolder); }

    CFRef<CFURLRef> URLOf(const std::filesystem::path& path) {
        const std::string bytes = path.native();
        return Adopt(CFURLCreateFromFileSystemRepresentation(
            nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
            static_cast<CFIndex>(bytes.size()), false));
    }

    std::filesystem::path mFolder;
};

TEST_F(CFURLResource, IsReadWhole) {
    std::ofstream(mFolder / "file") << std::string(100000, 'x') << "end";
    CFRef<CFDataRef> data;
    SInt32 error = 99;
    ASSERT_TRUE(CFURLCreateDataAndPropertiesFromResource(nullptr, URLOf(mFolder / "file").Get(),
                                                         data.Receive(), nullptr, nullptr, &error));
    EXPECT_EQ(error, 0);
    EXPECT_EQ(CFDataGetLength(data.Get()), 100003);
    EXPECT_EQ(CFDataGetBytePtr(data.Get())[100002], 'd');
}

TEST_F(CFURLResource, ThatIsMissingGivesNothing) {
    CFRef<CFDataRef> data;
    SInt32 error = 0;
    EXPECT_FALSE(CFURLCreateDataAndPropertiesFromResource(
        nullptr, URLOf(mFolder / "missing").Get(), data.Receive(), nullptr, nullptr, &error));
    EXPECT_EQ(error, kCFURLResourceNotFoundError);
    EXPECT_FALSE(data);
}

}  // namespace
