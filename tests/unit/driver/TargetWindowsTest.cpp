// Which candidate is open, and where.

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/support/TemporaryFolder.h"
#include "tests/unit/driver/DriverTest.h"

namespace kivo::test {
namespace {

using desktop::Status;

/// A candidate by its key, with an alternate one where that is given.
ZYN_Driver_TargetWindowInfo Candidate(const std::string& key,
                                      const std::optional<std::string>& alternate = {}) {
    ZYN_Driver_TargetWindowInfo record = {};
    key.copy(record.titleKey, sizeof record.titleKey - 1);
    record.hasAltTitle = alternate.has_value();
    if (alternate) alternate->copy(record.altTitle, sizeof record.altTitle - 1);
    return record;
}

struct Answer {
    bool found = false;
    unsigned int index = 99;
    CGPoint position = {-1, -1};
    CGSize size = {-1, -1};
};

class TargetWindowsTest : public DriverTest {
  protected:
    TargetWindowsTest() {
        setenv("XDG_DATA_HOME", mFolder.Path().c_str(), 1);
        setenv("XDG_DATA_DIRS", mFolder.Path().c_str(), 1);
    }
    void SetUp() override { StartDriver(); }

    /// Supplies the language file of the language that the driver then runs in.
    void SupplyLanguage(const std::string& name, const std::string& entries) {
        Probe().SetLanguage(name);
        std::filesystem::create_directories(mFolder / "Zynwerks");
        std::ofstream(mFolder / "Zynwerks" / (name + ".plist"))
            << R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)" << entries
            << "</dict></plist>";
    }

    Answer Resolve(std::vector<ZYN_Driver_TargetWindowInfo> candidates) {
        Answer answer;
        answer.found = driver->GetPosAndSizeForTargetWindow(
            candidates.data(), static_cast<unsigned int>(candidates.size()), answer.index,
            answer.position, answer.size);
        return answer;
    }

    static void ExpectWindow(const Answer& answer, unsigned int index, double number) {
        EXPECT_TRUE(answer.found);
        EXPECT_EQ(answer.index, index);
        EXPECT_EQ(answer.position.x, number * 10);
        EXPECT_EQ(answer.size.height, number * 10 + 200);
    }
    static void ExpectNothing(const Answer& answer, unsigned int index = 99) {
        EXPECT_FALSE(answer.found);
        EXPECT_EQ(answer.index, index);
        EXPECT_EQ(answer.position.x, -1);
        EXPECT_EQ(answer.size.width, -1);
    }

  private:
    TemporaryFolder mFolder;
};

TEST_F(TargetWindowsTest, EmptyListFindsNothing) {
    ShowWindows({"Edit"});
    ExpectNothing(Resolve({}));
}

TEST_F(TargetWindowsTest, TwoCandidatesForOneWindowTakeTheLowerIndex) {
    ShowWindows({"Edit Window"});
    ExpectWindow(Resolve({Candidate("Mix"), Candidate("Window"), Candidate("Edit")}), 1, 1);
}

TEST_F(TargetWindowsTest, WindowOrderBeatsCandidateOrder) {
    ShowWindows({"A", "B", "C", "D"});
    ExpectWindow(Resolve({Candidate("D"), Candidate("x"), Candidate("B")}), 2, 2);
}

TEST_F(TargetWindowsTest, PartOfATitleSufficesAndCaseCounts) {
    ShowWindows({"edit window", "Edit Window"});
    ExpectWindow(Resolve({Candidate("Edit")}), 0, 2);
}

TEST_F(TargetWindowsTest, UnreadableFirstTitleFailsEvenWhenALaterOneWouldMatch) {
    ShowWindows({"One", "Edit"});
    Window(1).titleStatus = Status::kWindowGone;
    ExpectNothing(Resolve({Candidate("Edit")}));
}

TEST_F(TargetWindowsTest, ListThatCannotBeReadFails) {
    ShowWindows({"Edit"});
    desktop->listStatus = Status::kNoAnswer;
    ExpectNothing(Resolve({Candidate("Edit")}));
}

TEST_F(TargetWindowsTest, WithoutATableTheKeyIsTheTitle) {
    ShowWindows({"Bearbeiten", "EDIT_KEY"});
    ExpectWindow(Resolve({Candidate("EDIT_KEY")}), 0, 2);
}

TEST_F(TargetWindowsTest, TableGivesTheLocalisedTitle) {
    SupplyLanguage("German", "<key>EDIT_KEY</key><string>Bearbeiten</string>");
    ShowWindows({"EDIT_KEY", "Bearbeiten"});
    ExpectWindow(Resolve({Candidate("EDIT_KEY")}), 0, 2);
}

TEST_F(TargetWindowsTest, CandidateThatTheTableLacksNeverMatches) {
    SupplyLanguage("German", "<key>EDIT_KEY</key><string>Bearbeiten</string>");
    ShowWindows({"MIX_KEY", "Bearbeiten"});
    ExpectWindow(Resolve({Candidate("MIX_KEY"), Candidate("EDIT_KEY")}), 1, 2);
    ExpectNothing(Resolve({Candidate("MIX_KEY")}));
}

TEST_F(TargetWindowsTest, TableIsReadAnewForEachRequest) {
    SupplyLanguage("German", "<key>K</key><string>Eins</string>");
    ShowWindows({"Eins", "Zwei"});
    ExpectWindow(Resolve({Candidate("K")}), 0, 1);
    SupplyLanguage("German", "<key>K</key><string>Zwei</string>");
    ExpectWindow(Resolve({Candidate("K")}), 0, 2);
}

TEST_F(TargetWindowsTest, ValueThatIsNoStringSkipsItsCandidate) {
    SupplyLanguage("German", "<key>A</key><integer>7</integer><key>B</key><string>Mix</string>");
    ShowWindows({"Mix"});
    ExpectWindow(Resolve({Candidate("A"), Candidate("B")}), 1, 1);
}

TEST_F(TargetWindowsTest, LongLanguageNameIsCutAtSixteenCharacters) {
    SupplyLanguage("ABCDEFGHIJKLMNOP", "<key>K</key><string>Cut</string>");
    Probe().SetLanguage("ABCDEFGHIJKLMNOPQRSTUVWXYZ");
    ShowWindows({"Cut"});
    ExpectWindow(Resolve({Candidate("K")}), 0, 1);
}

TEST_F(TargetWindowsTest, KeyThatIsNoTextSkipsItsCandidate) {
    ShowWindows({"Edit"});
    ExpectWindow(Resolve({Candidate("\xFF"), Candidate("Edit")}), 1, 1);
}

TEST_F(TargetWindowsTest, AlternateWindowIsMeasuredUnderTheCandidatesIndex) {
    ShowWindows({"Editor", "Mixer", "Mixer 2"});
    ExpectWindow(Resolve({Candidate("x"), Candidate("Editor", "Mix")}), 1, 2);
}

TEST_F(TargetWindowsTest, AlternateTitleIsLocalisedToo) {
    SupplyLanguage("German",
                   "<key>E</key><string>Bearbeiten</string>"
                   "<key>M</key><string>Mischer</string>");
    ShowWindows({"Bearbeiten", "Mischer"});
    ExpectWindow(Resolve({Candidate("E", "M")}), 0, 2);
}

TEST_F(TargetWindowsTest, AlternateMayBeTheRecognisedWindowItself) {
    ShowWindows({"Editor"});
    ExpectWindow(Resolve({Candidate("Edit", "Editor")}), 0, 1);
}

TEST_F(TargetWindowsTest, AlternateKeyWithoutALocalisedTitleFailsWithTheIndexWritten) {
    SupplyLanguage("German", "<key>E</key><string>Editor</string>");
    ShowWindows({"x", "Editor"});
    ExpectNothing(Resolve({Candidate("x"), Candidate("E", "missing")}), 1);
}

TEST_F(TargetWindowsTest, AlternateKeyThatIsNoTextFails) {
    ShowWindows({"Editor"});
    ExpectNothing(Resolve({Candidate("Editor", "\xFF")}), 0);
}

TEST_F(TargetWindowsTest, GeometryThatCannotBeReadFailsWithTheIndexWritten) {
    ShowWindows({"Editor"});
    Window(1).frameStatus = Status::kWindowGone;
    ExpectNothing(Resolve({Candidate("x"), Candidate("Editor")}), 1);
}

TEST_F(TargetWindowsTest, AlternateWindowThatIsNotThereEndsTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    ShowWindows({"Editor"});
    EXPECT_DEATH(Resolve({Candidate("Editor", "Mixer")}), "");
}

TEST_F(TargetWindowsTest, UnreadableTitleInTheAlternateSearchEndsTheProcess) {
    ShowWindows({"Editor", "Gone", "Mixer"});
    Window(2).titleStatus = Status::kWindowGone;
    EXPECT_DEATH(Resolve({Candidate("Editor", "Mixer")}), "");
}

TEST_F(TargetWindowsTest, IndexForAWindowThatNobodyNamesIsZero) {
    ZYN_Driver_TargetWindowInfo candidate = Candidate("Mixer");
    unsigned int index = 7;
    EXPECT_FALSE(driver->GetTargetIndexForWindow(CFSTR("Editor"), &candidate, 1, index));
    EXPECT_EQ(index, 0U);
}

}  // namespace
}  // namespace kivo::test
