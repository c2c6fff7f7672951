// What the tap does around the gate's decisions.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>
#include <syslog.h>

#include <cstdlib>
#include <memory>
#include <utility>

#include "platform/linux/keyboard/KeyTap.h"
#include "tests/support/ErrorPipe.h"

namespace kivo::keyboard {
namespace {

using testing::HasSubstr;

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

TEST(KeyTapTest, AKeyDoesNotWaitForItsLineInTheLog) {
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

}  // namespace
}  // namespace kivo::keyboard
