#include "platform/linux/desktop/Identity.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace kivo::desktop {
namespace {

class IdentityTest : public testing::Test {
  protected:
    DesktopEntry& Add(const std::string& id) { return mIndex[id]; }
    Application Of(const Claims& claims) const { return Identify(mIndex, 42, claims); }
    std::string IDOf(const Claims& claims) const { return Of(claims).bundleID; }

    DesktopFiles::Index mIndex;
};

TEST_F(IdentityTest, TheClaimedApplicationIDComesFirst) {
    Add("org.example.Claimed");
    Add("other").startupWMClass = "Class";
    EXPECT_EQ(IDOf({.applicationID = "org.example.Claimed",
                    .instance = "",
                    .className = "Class",
                    .executable = ""}),
              "org.example.Claimed");
}

TEST_F(IdentityTest, AClaimMayBeAPathOrHaveTheEnding) {
    Add("org.example.Claimed");
    for (const char* claim :
         {"org.example.Claimed.desktop", "/usr/share/applications/org.example.Claimed.desktop"}) {
        const auto found = Of({claim, "", "", ""});
        EXPECT_TRUE(found.hasBundle) << claim;
        EXPECT_EQ(found.bundleID, "org.example.Claimed");
    }
}

TEST_F(IdentityTest, AClaimWithoutAFileGivesWayToTheClass) {
    Add("file").startupWMClass = "Class";
    EXPECT_EQ(IDOf({"org.example.Unknown", "", "Class", ""}), "file");
    EXPECT_EQ(IDOf({"org.example.Unknown", "", "Strange", ""}), "Strange");
}

TEST_F(IdentityTest, StartupWMClassComesBeforeIDs) {
    Add("Class");
    Add("wanted").startupWMClass = "Class";
    EXPECT_EQ(IDOf({"", "instance", "Class", "/usr/bin/Class"}), "wanted");
}

TEST_F(IdentityTest, StartupWMClassMayNameTheInstance) {
    Add("wanted").startupWMClass = "instance";
    EXPECT_EQ(IDOf({"", "instance", "Class", ""}), "wanted");
}

TEST_F(IdentityTest, TheClassMayBeAnIDWithACapital) {
    Add("gimp");
    EXPECT_EQ(IDOf({"", "", "Gimp", ""}), "gimp");
    Add("Gimp");
    EXPECT_EQ(IDOf({"", "", "Gimp", ""}), "Gimp");
}

TEST_F(IdentityTest, TheExecutableComesLast) {
    Add("wanted").program = "tool";
    EXPECT_EQ(IDOf({"", "", "Class", "/usr/bin/tool"}), "wanted");
    Add("class");
    EXPECT_EQ(IDOf({"", "", "Class", "/usr/bin/tool"}), "class");
}

TEST_F(IdentityTest, AnInterpreterIsNotTheApplication) {
    Add("python3").program = "/usr/bin/python3";
    Add("python3").terminal = true;
    EXPECT_EQ(IDOf({"", "", "Mixer", "/usr/bin/python3"}), "Mixer");
    Add("editor").program = "java";
    Add("editor").hasOperands = true;
    EXPECT_EQ(IDOf({"", "", "Mixer", "/usr/bin/java"}), "Mixer");
    Add("java").program = "java";
    EXPECT_EQ(IDOf({"", "", "Mixer", "/usr/bin/java"}), "java") << "the program itself";
}

TEST_F(IdentityTest, FilesShownInMenusComeBeforeOthers) {
    Add("a").startupWMClass = "Class";
    Add("a").noDisplay = true;
    EXPECT_EQ(IDOf({"", "", "Class", ""}), "a");
    Add("b").startupWMClass = "Class";
    Add("c").startupWMClass = "Class";
    EXPECT_EQ(IDOf({"", "", "Class", ""}), "b");
}

TEST_F(IdentityTest, NothingKnownMeansNoIdentity) {
    Add("some").noDisplay = false;  // with empty class and program, which match nobody
    const auto found = Of({});
    EXPECT_EQ(found.bundleID, "");
    EXPECT_FALSE(found.hasBundle);
    EXPECT_EQ(found.processID, 42);
}

TEST_F(IdentityTest, TheFilesKeysMakeUpTheInfoDictionary) {
    DesktopEntry& entry = Add("some");
    EXPECT_TRUE(Of({"some", "", "", ""}).info.empty());
    entry.signature = "ABCD";
    entry.shortVersion = "1.2.3";
    const auto found = Of({"some", "", "", ""});
    EXPECT_EQ(found.info,
              (std::map<std::string, std::string>{{"CFBundleSignature", "ABCD"},
                                                  {"CFBundleShortVersionString", "1.2.3"}}));
}

TEST(ExecutableTest, IsTheFileThatAProcessRuns) {
    EXPECT_TRUE(ExecutableOf(getpid()).starts_with('/'));
    EXPECT_EQ(ExecutableOf(-1), "");
    EXPECT_EQ(ExecutableOf(0), "");
}

}  // namespace
}  // namespace kivo::desktop
