// What the tap does around the gate's decisions.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>
#include <syslog.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/keyboard/KeyTap.h"
#include "tests/support/ErrorPipe.h"

namespace kivo::keyboard {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A key was pressed on it, and it reads the log when the key reaches the session.
class OneKey final : public KeySource {
  public:
    OneKey(test::ErrorPipe& log, std::string* logBefore) : mLog(log), mLogBefore(logBefore) {}

    const char* Name() const override { return "one key"; }
    void Attach(KeyGate& gate) override { mGate = &gate; }
    int Descriptor() const override { return -1; }
    void Read() override {
        if (!std::exchange(mIsTyped, true)) mGate->Feed({1, KEY_A, Action::kPress});
    }
    void Hold() override { mGate->Open(1, {}); }
    void LetGo() override {}

    void Press(DeviceID, KeyCode) override { *mLogBefore = "pressed; " + mLog.Read(); }
    void Release(DeviceID, KeyCode, PressedBy) override {}
    void Close(DeviceID) override {}

  private:
    test::ErrorPipe& mLog;
    std::string* const mLogBefore;
    KeyGate* mGate = nullptr;
    bool mIsTyped = false;
};

class LoggingJudge final : public KeyJudge {
  public:
    bool LetsThrough(const TappedKey&) override {
        syslog(0, "asked");
        return true;
    }
    void TapDisabled(DisabledBy) override {}
};

TEST(KeyTap, AKeyDoesNotWaitForItsLineInTheLog) {
    setenv("KIVO_LOG", "stderr", 1);
    test::ErrorPipe log;
    std::string logBefore;
    LoggingJudge judge;
    KeyTap tap(std::make_unique<OneKey>(log, &logBefore), judge);
    tap.SetWanted(true);
    tap.Work();
    EXPECT_EQ(logBefore, "pressed; ");
    EXPECT_THAT(log.Read(), HasSubstr("asked"));
}

/// What comes of a keyboard when it is read, and what is done to it and the session, in order.
struct Table {
    std::vector<KeyEvent> typed;
    std::vector<std::string> happened;
    std::vector<KeyCode> down;
};

/// A keyboard whose events wait until it is read.
class WaitingKeys final : public KeySource {
  public:
    explicit WaitingKeys(Table& table) : mTable(table) {}

    const char* Name() const override { return "waiting keys"; }
    void Attach(KeyGate& gate) override { mGate = &gate; }
    int Descriptor() const override { return -1; }
    void Read() override {
        for (const KeyEvent& event : std::exchange(mTable.typed, {})) {
            mGate->Feed(event);
        }
    }
    void Hold() override {
        Note("hold");
        mGate->Open(1, mTable.down);
    }
    void LetGo() override { Note("let go"); }

    void Press(DeviceID, KeyCode code) override { Note("+" + std::to_string(code)); }
    void Release(DeviceID, KeyCode code, PressedBy) override { Note("-" + std::to_string(code)); }
    void Close(DeviceID) override {}

  private:
    void Note(const std::string& what) { mTable.happened.push_back(what); }

    Table& mTable;
    KeyGate* mGate = nullptr;
};

class SwallowingJudge final : public KeyJudge {
  public:
    explicit SwallowingJudge(Table& table) : mTable(table) {}
    bool LetsThrough(const TappedKey& key) override {
        mTable.happened.push_back("asked of " + std::to_string(key.virtualCode));
        return false;
    }
    void TapDisabled(DisabledBy) override { mTable.happened.emplace_back("disabled"); }

  private:
    Table& mTable;
};

class KeyTapTest : public testing::Test {
  protected:
    void Work() {
        do {
            mTap.Work();
        } while (mTap.HasWork());
    }
    void Type(std::initializer_list<KeyEvent> events) { mTable.typed = events; }
    auto Happened() { return std::exchange(mTable.happened, {}); }

    Table mTable;
    SwallowingJudge mJudge{mTable};
    KeyTap mTap{std::make_unique<WaitingKeys>(mTable), mJudge};
};

TEST_F(KeyTapTest, WhatIsNotReadYetPassesWhenTheKeyboardIsGivenBack) {
    mTap.SetWanted(true);
    Type({{1, KEY_A, Action::kPress}, {1, KEY_A, Action::kRelease}});
    mTap.SetWanted(false);
    EXPECT_THAT(Happened(), ElementsAre("hold", "+30", "-30", "let go"));
}

TEST_F(KeyTapTest, WhatWentUpWhileNobodyListenedIsNotAskedAbout) {
    mTap.SetWanted(true);
    Type({{1, KEY_A, Action::kPress}});
    Work();
    mTap.SetWanted(false);
    mTap.SetWanted(true);
    Work();
    EXPECT_THAT(Happened(), ElementsAre("hold", "asked of 0", "let go", "hold"));
}

TEST_F(KeyTapTest, TheEscapeChordGivesTheKeyboardBackBeforeTheJudgeHearsOfIt) {
    mTap.SetWanted(true);
    Type({{1, KEY_BACKSPACE, Action::kPress},
          {1, KEY_ESC, Action::kPress},
          {1, KEY_ENTER, Action::kPress}});
    Work();
    EXPECT_THAT(Happened(), ElementsAre("hold", "+14", "+1", "let go", "disabled"));
    EXPECT_FALSE(mTap.IsEnabled());
    mTap.SetWanted(false);
    mTap.SetWanted(true);
    EXPECT_THAT(Happened(), IsEmpty());
    mTable.down = {KEY_BACKSPACE, KEY_ESC, KEY_ENTER};
    mTap.SetEnabled(true);
    EXPECT_TRUE(mTap.IsEnabled());
    EXPECT_THAT(Happened(), ElementsAre("hold"));
}

TEST_F(KeyTapTest, ATapThatIsSwitchedOffHoldsNothing) {
    mTap.SetWanted(true);
    mTap.SetEnabled(false);
    EXPECT_FALSE(mTap.IsEnabled());
    mTap.SetEnabled(true);
    EXPECT_TRUE(mTap.IsEnabled());
    EXPECT_THAT(Happened(), ElementsAre("hold", "let go", "hold"));
}

}  // namespace
}  // namespace kivo::keyboard
