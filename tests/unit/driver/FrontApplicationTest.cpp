// The record of the frontmost application and the questions about it.

#include "tests/support/Text.h"
#include "tests/unit/driver/DriverTest.h"

namespace kivo::test {
namespace {

const desktop::Application kEditor = {
    10, "org.editor", true, {{"CFBundleSignature", "EDIT"}, {"CFBundleShortVersionString", "1.2"}}};
const desktop::Application kPlain = {11, "org.plain", true, {}};
const desktop::Application kUnbundled = {12, "", false, {}};
const desktop::Application kUnopened = {13, "xterm", false, {}};

class FrontApplicationTest : public DriverTest {
  protected:
    void Start(const desktop::Application& application) {
        desktop->front = application;
        CFWorkspace_StartObservingFrontApplication();
    }

    struct Change {
        bool changed;
        unsigned int signature = 77;
        NSString* bundleID = CFSTR("untouched");
    };
    static Change TakeChange() {
        Change change{};
        change.changed =
            CFWorkspace_ChangedFrontApplicationSignatureAndID(&change.signature, &change.bundleID);
        return change;
    }

    static std::string ShortVersion() {
        NSString* version = nullptr;
        return CFWorkspace_FrontApplicationShortVersion(&version) ? Utf8Text(version) : "none";
    }
};

TEST_F(FrontApplicationTest, QueryBeforeTheStartCreatesAnEmptyRecord) {
    EXPECT_EQ(gSelf, nullptr);
    EXPECT_EQ(CFWorkspace_FrontApplicationSignature(), 0U);
    EXPECT_NE(gSelf, nullptr);
    EXPECT_EQ(CFWorkspace_CurrentFrontApplicationPID(), 0U);
    NSString* untouched = CFSTR("untouched");
    EXPECT_FALSE(CFWorkspace_FrontApplicationBundleID(&untouched));
    EXPECT_FALSE(CFWorkspace_FrontApplicationShortVersion(&untouched));
    EXPECT_EQ(Utf8Text(untouched), "untouched");
    EXPECT_FALSE(TakeChange().changed);
}

TEST_F(FrontApplicationTest, StartReportsOneChange) {
    Start(kEditor);
    const Change change = TakeChange();
    EXPECT_TRUE(change.changed);
    EXPECT_EQ(change.signature, 0x45444954U);
    EXPECT_EQ(Utf8Text(change.bundleID), "org.editor");
    EXPECT_FALSE(TakeChange().changed);
}

TEST_F(FrontApplicationTest, SecondQueryLeavesItsOutputsUntouched) {
    Start(kEditor);
    TakeChange();
    const Change second = TakeChange();
    EXPECT_FALSE(second.changed);
    EXPECT_EQ(second.signature, 77U);
    EXPECT_EQ(Utf8Text(second.bundleID), "untouched");
}

TEST_F(FrontApplicationTest, ActivationRaisesTheFlagAgainEvenForTheSameApplication) {
    Start(kEditor);
    TakeChange();
    desktop->Activate(kEditor);
    EXPECT_TRUE(TakeChange().changed);
}

TEST_F(FrontApplicationTest, RecordFollowsTheActivation) {
    Start(kEditor);
    desktop->Activate(kPlain);
    EXPECT_EQ(CFWorkspace_CurrentFrontApplicationPID(), 11U);
    EXPECT_EQ(CFWorkspace_FrontApplicationSignature(), 0x3F3F3F3FU);
    NSString* bundleID = nullptr;
    ASSERT_TRUE(CFWorkspace_FrontApplicationBundleID(&bundleID));
    EXPECT_EQ(Utf8Text(bundleID), "org.plain");
}

TEST_F(FrontApplicationTest, CurrentPairTouchesNoFlag) {
    Start(kEditor);
    unsigned int signature = 0;
    NSString* bundleID = nullptr;
    CFWorkspace_CurrentFrontApplicationSignatureAndID(&signature, &bundleID);
    EXPECT_EQ(signature, 0x45444954U);
    EXPECT_EQ(Utf8Text(bundleID), "org.editor");
    EXPECT_TRUE(TakeChange().changed);
}

TEST_F(FrontApplicationTest, BundleWithoutAShortVersionHasNone) {
    Start(kEditor);
    EXPECT_EQ(ShortVersion(), "1.2");
    desktop->Activate(kPlain);
    EXPECT_EQ(ShortVersion(), "none");
}

TEST_F(FrontApplicationTest, ShortVersionStaysWhenTheNextHasNoBundleID) {
    Start(kEditor);
    desktop->Activate(kUnbundled);
    EXPECT_EQ(ShortVersion(), "1.2");
    const Change change = TakeChange();
    EXPECT_EQ(change.signature, 0x3F3F3F3FU);
    EXPECT_EQ(change.bundleID, nullptr);
}

TEST_F(FrontApplicationTest, ShortVersionStaysWhenTheNextHasNoInfoDictionary) {
    Start(kEditor);
    desktop->Activate(kUnopened);
    EXPECT_EQ(ShortVersion(), "1.2");
    EXPECT_EQ(CFWorkspace_FrontApplicationSignature(), 0x3F3F3F3FU);
}

TEST_F(FrontApplicationTest, NobodyRaisesTheFlagAndKeepsTheRecord) {
    Start(kEditor);
    TakeChange();
    gSelf->newFrontApp(nullptr);
    EXPECT_EQ(CFWorkspace_CurrentFrontApplicationPID(), 10U);
    EXPECT_TRUE(TakeChange().changed);
}

TEST_F(FrontApplicationTest, ProcessThatIsNotKnownIsMinusOne) {
    Start({-1, "org.remote", false, {}});
    EXPECT_EQ(CFWorkspace_CurrentFrontApplicationPID(), 0xFFFFFFFFU);
}

TEST_F(FrontApplicationTest, AccessorsStoreAndReturn) {
    ZYN_Driver_FrontAppObserver& observer = *ZYN_Driver_FrontAppObserver::frontAppObserver();
    const auto callback = [] {};
    EXPECT_EQ(observer.callback(), nullptr);
    observer.setCallback(callback);
    EXPECT_EQ(observer.callback(), static_cast<ZYN_Driver_FrontAppObserver::Callback>(callback));
    observer.setBundleID(CFSTR("id"));
    observer.setShortVersion(CFSTR("3"));
    observer.setSignature(5);
    observer.setFrontAppChanged(true);
    observer.setProcessID(6);
    EXPECT_EQ(Utf8Text(observer.bundleID()), "id");
    EXPECT_EQ(Utf8Text(observer.shortVersion()), "3");
    EXPECT_EQ(observer.signature(), 5U);
    EXPECT_TRUE(observer.frontAppChanged());
    EXPECT_EQ(observer.processID(), 6);
}

}  // namespace
}  // namespace kivo::test
