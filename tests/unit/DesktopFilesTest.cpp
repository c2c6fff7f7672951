#include "platform/linux/desktop/DesktopFiles.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace kivo::desktop {
namespace {

namespace fs = std::filesystem;

class DesktopFilesTest : public testing::Test {
  protected:
    fs::path Folder(const std::string& name) const { return mRoot / name; }

    static void Write(const fs::path& path, const std::string& contents) {
        fs::create_directories(path.parent_path());
        std::ofstream(path) << contents;
    }
    static std::string Entry(const std::string& keys) {
        return "[Desktop Entry]\nType=Application\nName=Some\n" + keys + "\n";
    }

    test::TemporaryFolder mRoot;
};

TEST_F(DesktopFilesTest, IDsAreNamesBelowTheFolderJoinedByHyphens) {
    Write(Folder("a") / "plain.desktop", Entry(""));
    Write(Folder("a") / "org.example.Dotted.desktop", Entry(""));
    Write(Folder("a") / "kde" / "sub" / "deep.desktop", Entry(""));
    Write(Folder("a") / "readme.txt", Entry(""));
    DesktopFiles files({Folder("a")});
    const auto& index = files.UpToDate();
    EXPECT_EQ(index.size(), 3u);
    EXPECT_TRUE(index.contains("plain"));
    EXPECT_TRUE(index.contains("org.example.Dotted"));
    EXPECT_TRUE(index.contains("kde-sub-deep"));
}

TEST_F(DesktopFilesTest, TheFirstFolderDecides) {
    Write(Folder("a") / "one.desktop", Entry("StartupWMClass=First"));
    Write(Folder("b") / "one.desktop", Entry("StartupWMClass=Second"));
    Write(Folder("b") / "two.desktop", Entry("StartupWMClass=Two"));
    DesktopFiles files({Folder("a"), Folder("b")});
    const auto& index = files.UpToDate();
    EXPECT_EQ(index.at("one").startupWMClass, "First");
    EXPECT_EQ(index.at("two").startupWMClass, "Two");
}

TEST_F(DesktopFilesTest, HiddenFilesHideThoseOfLaterFolders) {
    Write(Folder("a") / "one.desktop", Entry("Hidden=true"));
    Write(Folder("b") / "one.desktop", Entry(""));
    DesktopFiles files({Folder("a"), Folder("b")});
    EXPECT_TRUE(files.UpToDate().empty());
}

TEST_F(DesktopFilesTest, FilesThatDescribeNoApplicationAreLeftOut) {
    Write(Folder("a") / "link.desktop", "[Desktop Entry]\nType=Link\nURL=x\n");
    Write(Folder("a") / "empty.desktop", "");
    Write(Folder("a") / "other.desktop", "[Other]\nType=Application\n");
    ASSERT_EQ(mkfifo((Folder("a") / "pipe.desktop").c_str(), 0600), 0);
    fs::create_directory(Folder("a") / "folder.desktop");
    DesktopFiles files({Folder("a")});
    EXPECT_TRUE(files.UpToDate().empty());
}

TEST_F(DesktopFilesTest, FoldersThatAppearLaterAreSeen) {
    DesktopFiles files({Folder("late")});
    EXPECT_TRUE(files.UpToDate().empty());
    Write(Folder("late") / "one.desktop", Entry(""));
    EXPECT_TRUE(files.UpToDate().contains("one"));
    Write(Folder("late") / "sub" / "two.desktop", Entry(""));
    EXPECT_TRUE(files.UpToDate().contains("sub-two"));
}

TEST_F(DesktopFilesTest, FilesThatVanishAreForgotten) {
    Write(Folder("a") / "one.desktop", Entry(""));
    Write(Folder("b") / "one.desktop", Entry("StartupWMClass=Below"));
    DesktopFiles files({Folder("a"), Folder("b")});
    EXPECT_EQ(files.UpToDate().at("one").startupWMClass, "");
    fs::remove(Folder("a") / "one.desktop");
    EXPECT_EQ(files.UpToDate().at("one").startupWMClass, "Below");
    fs::remove_all(Folder("b"));
    EXPECT_TRUE(files.UpToDate().empty());
}

TEST_F(DesktopFilesTest, FilesEditedInPlaceAreReadAnew) {
    const fs::path path = Folder("a") / "one.desktop";
    Write(path, Entry("X-CFBundleSignature=ABCD"));
    DesktopFiles files({Folder("a")});
    EXPECT_EQ(files.UpToDate().at("one").signature, "ABCD");
    Write(path, Entry("X-CFBundleSignature=ABCDE"));
    EXPECT_EQ(files.UpToDate().at("one").signature, "ABCDE");
}

TEST_F(DesktopFilesTest, FilesReplacedByOnesOfTheSameSizeAndTimeAreReadAnew) {
    const fs::path path = Folder("a") / "one.desktop";
    Write(path, Entry("X-CFBundleSignature=ABCD"));
    DesktopFiles files({Folder("a")});
    EXPECT_EQ(files.UpToDate().at("one").signature, "ABCD");
    const auto time = fs::last_write_time(path);
    Write(Folder("a") / "new", Entry("X-CFBundleSignature=WXYZ"));
    fs::last_write_time(Folder("a") / "new", time);
    fs::rename(Folder("a") / "new", path);
    EXPECT_EQ(files.UpToDate().at("one").signature, "WXYZ");
}

TEST_F(DesktopFilesTest, LinksToFilesAreFollowed) {
    Write(Folder("elsewhere") / "real", Entry("StartupWMClass=Linked"));
    fs::create_directories(Folder("a"));
    fs::create_symlink(Folder("elsewhere") / "real", Folder("a") / "one.desktop");
    fs::create_symlink(Folder("a"), Folder("a") / "loop");
    DesktopFiles files({Folder("a")});
    const auto& index = files.UpToDate();
    EXPECT_EQ(index.size(), 1u);
    EXPECT_EQ(index.at("one").startupWMClass, "Linked");
}

TEST_F(DesktopFilesTest, StandardFoldersFollowTheVariables) {
    setenv("HOME", "/home/some", 1);
    unsetenv("XDG_DATA_HOME");
    unsetenv("XDG_DATA_DIRS");
    const auto standard = DesktopFiles::StandardFolders();
    ASSERT_EQ(standard.size(), 3u);
    EXPECT_EQ(standard[0], "/home/some/.local/share/applications");
    EXPECT_EQ(standard[1], "/usr/local/share/applications");
    EXPECT_EQ(standard[2], "/usr/share/applications");
    setenv("XDG_DATA_HOME", "/data", 1);
    setenv("XDG_DATA_DIRS", "/one:relative:/two", 1);
    const auto given = DesktopFiles::StandardFolders();
    ASSERT_EQ(given.size(), 3u);
    EXPECT_EQ(given[0], "/data/applications");
    EXPECT_EQ(given[1], "/one/applications");
    EXPECT_EQ(given[2], "/two/applications");
}

TEST(DesktopEntryTest, KeysOfTheDesktopEntryGroupOnly) {
    const auto entry = ParseDesktopEntry(
        "# comment\n\n[Desktop Entry]\n Type = Application \r\nStartupWMClass=Some Class\n"
        "StartupWMClass[de]=Nein\nNoDisplay=true\nX-CFBundleSignature=KiVo\n"
        "X-CFBundleShortVersionString=1.2\n[Desktop Action New]\nExec=other\nNoDisplay=false\n");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->startupWMClass, "Some Class");
    EXPECT_TRUE(entry->noDisplay);
    EXPECT_FALSE(entry->hidden);
    EXPECT_EQ(entry->program, "");
    EXPECT_EQ(entry->signature, "KiVo");
    EXPECT_EQ(entry->shortVersion, "1.2");
}

TEST(DesktopEntryTest, AbsentAndEmptyKeysDiffer) {
    const auto entry = ParseDesktopEntry("[Desktop Entry]\nType=Application\nX-CFBundleSignature=");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->signature, "");
    EXPECT_FALSE(entry->shortVersion);
}

TEST(DesktopEntryTest, EscapesAreUndoneAndBadBytesReplaced) {
    const auto entry = ParseDesktopEntry(
        "[Desktop Entry]\nType=Application\nStartupWMClass=a\\sb\\\\c\\x\n"
        "X-CFBundleShortVersionString=\xFFv\n");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->startupWMClass, "a b\\c\\x");
    EXPECT_EQ(entry->shortVersion, "\xEF\xBF\xBDv");
}

TEST(DesktopEntryTest, TerminalIsRead) {
    const std::string head = "[Desktop Entry]\nType=Application\n";
    EXPECT_TRUE(ParseDesktopEntry(head + "Terminal=true\n")->terminal);
    EXPECT_FALSE(ParseDesktopEntry(head + "Terminal=false\n")->terminal);
    EXPECT_FALSE(ParseDesktopEntry(head)->terminal);
}

struct Command {
    const char* line;
    const char* program;
    bool hasOperands = false;
};

class DesktopEntryCommandTest : public testing::TestWithParam<Command> {};

TEST_P(DesktopEntryCommandTest, ExecNamesTheProgram) {
    const auto entry = ParseDesktopEntry(std::string("[Desktop Entry]\nType=Application\nExec=") +
                                         GetParam().line + "\n");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->program, GetParam().program);
    EXPECT_EQ(entry->hasOperands, GetParam().hasOperands);
}

INSTANTIATE_TEST_SUITE_P(Commands, DesktopEntryCommandTest,
                         testing::Values(Command{"gimp %U", "gimp"},
                                         Command{"/usr/bin/gimp", "/usr/bin/gimp"},
                                         Command{"\"/opt/Some App/run\" --x", "/opt/Some App/run"},
                                         Command{"\"/opt/a\\\\\"b\" x", "/opt/a\"b", true},
                                         Command{"java -jar a.jar %f", "java", true},
                                         Command{"env LANG=C FOO=\"a b\" /opt/run %f", "/opt/run"},
                                         Command{"", ""}, Command{"env A=1", ""}));

}  // namespace
}  // namespace kivo::desktop
