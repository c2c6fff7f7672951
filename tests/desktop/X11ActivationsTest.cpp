#include "tests/desktop/ScriptedManager.h"
#include "tests/desktop/X11DesktopTest.h"

namespace kivo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// For up to `kPassing` nobody is in front in passing; after `kLasting` nobody counts.
constexpr double kPassing = 0.03;
constexpr double kLasting = 0.08;

/// Under real managers: one activation each, whatever they say in passing.
class X11ActivationsTest : public X11ManagersTest {
  protected:
    void Observe() {
        mDesktop->ObserveActivations(
            [this](const Application& application) { mTold.push_back(application.processID); });
    }

    std::vector<pid_t> mTold;
};

TEST_P(X11ActivationsTest, EachChangeOfTheProcessIsToldOnce) {
    const auto one = Start({{.title = "one"}});
    const auto other = Start({{.title = "other"}});
    ASSERT_TRUE(MakeMain(one.Window()));
    EXPECT_EQ(FrontProcess(), one.ProcessID());
    Observe();
    std::vector<pid_t> wanted;
    for (const TestApplication* next : {&other, &one, &other}) {
        ASSERT_TRUE(MakeMain(next->Window()));
        wanted.push_back(next->ProcessID());
        EXPECT_TRUE(Await([&] { return mTold == wanted; }));
        EXPECT_EQ(FrontProcess(), next->ProcessID());
    }
    TurnRunLoop(kLasting);
    EXPECT_EQ(mTold, wanted);
}

TEST_P(X11ActivationsTest, AnotherWindowOfTheSameProcessIsNone) {
    const auto one = Start({{.title = "first"}, {.title = "second"}});
    ASSERT_TRUE(MakeMain(one.Window(0)));
    EXPECT_EQ(FrontProcess(), one.ProcessID());
    Observe();
    for (const std::size_t index : {1u, 0u, 1u}) {
        ASSERT_TRUE(MakeMain(one.Window(index)));
        TurnRunLoop(0.01);
    }
    TurnRunLoop(kLasting);
    EXPECT_THAT(mTold, IsEmpty());
}

TEST_P(X11ActivationsTest, TheNextInLineIsToldWhenTheFrontOneEnds) {
    const auto one = Start({{.title = "one"}});
    auto other = Start({{.title = "other"}});
    ASSERT_TRUE(MakeMain(one.Window()));
    ASSERT_TRUE(MakeMain(other.Window()));
    EXPECT_EQ(FrontProcess(), other.ProcessID());
    Observe();
    other.Kill();
    EXPECT_TRUE(Await([&] { return !mTold.empty(); }));
    TurnRunLoop(kLasting);
    EXPECT_THAT(mTold, ElementsAre(one.ProcessID()));
}

TEST_P(X11ActivationsTest, AWindowComesToTheFrontOnlyWhenItIsActive) {
    const auto one = Start({{.title = "first"}, {.title = "second"}});
    for (const std::size_t index : {0u, 0u, 1u, 0u}) {
        ASSERT_TRUE(MakeMain(one.Window(index)));
        EXPECT_THAT(mClient->Values(mClient->Root(), "_NET_ACTIVE_WINDOW")[0], one.Window(index));
    }
}

INSTANTIATE_TEST_SUITE_P(Managers, X11ActivationsTest, kManagers, ManagerName);

class X11MinimisedTest : public X11ManagersTest {};

TEST_P(X11MinimisedTest, MakingAMinimisedWindowMainRestoresIt) {
    constexpr std::uint32_t kNormal = 1;
    constexpr std::uint32_t kIconic = 3;
    const auto one = Start({{.title = "first"}, {.title = "second"}});
    const auto stateOf = [&](std::size_t index) {
        const auto state = mClient->Values(one.Window(index), "WM_STATE");
        return state.empty() ? 0 : state.front();
    };
    mClient->Send(one.Window(1), "WM_CHANGE_STATE", {kIconic});
    ASSERT_TRUE(Await([&] { return stateOf(1) == kIconic; }));
    EXPECT_TRUE(MakeMain(one.Window(1)));
    EXPECT_TRUE(Await([&] { return stateOf(1) == kNormal; }));
}

INSTANTIATE_TEST_SUITE_P(Managers, X11MinimisedTest, kStackingManagers, ManagerName);

/// What a manager says, step by step.
class X11ScriptedTest : public X11DesktopTest {
  protected:
    void SetUp() override {
        StartSession("");
        if (IsSkipped()) return;
        mScript.emplace(*mClient);
        mOne.emplace(std::vector<TestWindow>{{.title = "one", .className = "One"}});
        mOther.emplace(std::vector<TestWindow>{{.title = "other", .className = "Other"}});
    }

    void ObserveFrom(xcb_window_t front) {
        mScript->MakeActive(front);
        mDesktop->FrontApplication();
        mDesktop->ObserveActivations(
            [this](const Application& application) { mTold.push_back(application.bundleID); });
        TurnRunLoop(kLasting);
        ASSERT_THAT(mTold, IsEmpty());
    }
    /// That this is told, and no more.
    void ExpectTold(const std::vector<std::string>& expected) {
        Await([&] { return mTold.size() >= expected.size(); });
        TurnRunLoop(kLasting);
        EXPECT_EQ(mTold, expected);
    }
    /// Has nobody in front for a moment; false when this process was held up, and it was no moment.
    bool PassNobody() {
        const CFAbsoluteTime start = CFAbsoluteTimeGetCurrent();
        mScript->MakeNobodyActive();
        TurnRunLoop(0.005);
        mScript->TakeActiveAway();
        mScript->MakeActive(mOne->Window());
        return CFAbsoluteTimeGetCurrent() - start < kPassing;
    }

    std::optional<ScriptedManager> mScript;
    std::optional<TestApplication> mOne;
    std::optional<TestApplication> mOther;
    std::vector<std::string> mTold;
};

TEST_F(X11ScriptedTest, NobodyInPassingDoesNotCount) {
    ObserveFrom(mOne->Window());
    for (int passes = 0; passes < 5;) {
        if (PassNobody()) {
            ++passes;
            TurnRunLoop(0.005);
            ASSERT_THAT(mTold, IsEmpty());
        } else {
            TurnRunLoop(kLasting);
            mTold.clear();
        }
    }
    TurnRunLoop(kLasting);
    EXPECT_THAT(mTold, IsEmpty());
    mScript->MakeNobodyActive();
    mScript->MakeActive(mOther->Window());
    ExpectTold({"Other"});
}

TEST_F(X11ScriptedTest, TheSameOneAfterALastingNobodyIsToldAgain) {
    ObserveFrom(mOne->Window());
    mScript->MakeNobodyActive();
    TurnRunLoop(kLasting);
    EXPECT_THAT(mTold, IsEmpty()) << "nobody itself is not told";
    mScript->MakeActive(mOne->Window());
    ExpectTold({"One"});
    mScript->TakeActiveAway();
    TurnRunLoop(kLasting);
    mScript->MakeActive(mOne->Window());
    ExpectTold({"One", "One"});
}

TEST_F(X11ScriptedTest, DesktopsAndDocksCountAsNobody) {
    ObserveFrom(mOne->Window());
    for (const char* type : {"_NET_WM_WINDOW_TYPE_DESKTOP", "_NET_WM_WINDOW_TYPE_DOCK"}) {
        mTold.clear();
        mClient->SetValues(mOther->Window(), "_NET_WM_WINDOW_TYPE", "ATOM", {mClient->Atom(type)});
        mScript->MakeActive(mOther->Window());
        TurnRunLoop(kLasting);
        EXPECT_THAT(mTold, IsEmpty()) << type;
        EXPECT_FALSE(mDesktop->FrontApplication()) << type;
        mScript->MakeActive(mOne->Window());
        ExpectTold({"One"});
    }
}

TEST_F(X11ScriptedTest, AChangeBetweenTheQuestionAndTheObservationIsTold) {
    mScript->MakeActive(mOne->Window());
    EXPECT_EQ(FrontProcess(), mOne->ProcessID());
    mScript->MakeActive(mOther->Window());
    mDesktop->ObserveActivations(
        [this](const Application& application) { mTold.push_back(application.bundleID); });
    ExpectTold({"Other"});
}

TEST_F(X11ScriptedTest, AnActivationThatIsReadWithAnAnswerIsTold) {
    ObserveFrom(mOne->Window());
    mScript->MakeActive(mOther->Window());
    // The server sends its events in front of what it answers next.
    mDesktop->Pointer();
    EXPECT_TRUE(Await([&] { return !mTold.empty(); }));
    EXPECT_THAT(mTold, ElementsAre("Other"));
}

TEST_F(X11ScriptedTest, AnObserverMayEndTheObservationWhenItIsTold) {
    mScript->MakeActive(mOne->Window());
    mDesktop->FrontApplication();
    mDesktop->ObserveActivations([this](const Application& application) {
        mTold.push_back(application.bundleID);
        mDesktop->ObserveActivations(nullptr);
        mTold.push_back("ended");
    });
    mScript->MakeActive(mOther->Window());
    TurnRunLoop(kLasting);
    mScript->MakeActive(mOne->Window());
    ExpectTold({"Other", "ended"});
}

TEST_F(X11ScriptedTest, TheApplicationComesWithAllThatIsKnownOfIt) {
    ObserveFrom(mOne->Window());
    WriteDesktopFile("org.example.Other", "StartupWMClass=Other\nX-CFBundleSignature=OtHr\n");
    std::vector<Application> told;
    mDesktop->ObserveActivations([&](const Application& one) { told.push_back(one); });
    mScript->MakeActive(mOther->Window());
    Await([&] { return !told.empty(); });
    TurnRunLoop(kLasting);
    ASSERT_EQ(told.size(), 1u);
    EXPECT_EQ(told[0].processID, mOther->ProcessID());
    EXPECT_EQ(told[0].bundleID, "org.example.Other");
    EXPECT_TRUE(told[0].hasBundle);
    EXPECT_EQ(told[0].info.at("CFBundleSignature"), "OtHr");
}

TEST_F(X11ScriptedTest, TheIDThatAWindowClaimsComesBeforeItsClass) {
    WriteDesktopFile("org.example.Claimed", "");
    WriteDesktopFile("class", "StartupWMClass=Class\n");
    const TestApplication gtk(
        std::vector<TestWindow>{{.className = "Class", .applicationID = "org.example.Claimed"}});
    mScript->MakeActive(gtk.Window());
    EXPECT_EQ(mDesktop->FrontApplication()->bundleID, "org.example.Claimed");
    mClient->Delete(gtk.Window(), "_GTK_APPLICATION_ID");
    EXPECT_EQ(mDesktop->FrontApplication()->bundleID, "class");
    mClient->SetText(gtk.Window(), "_KDE_NET_WM_DESKTOP_FILE", "UTF8_STRING",
                     "org.example.Claimed");
    EXPECT_EQ(mDesktop->FrontApplication()->bundleID, "org.example.Claimed");
}

TEST_F(X11ScriptedTest, RunningApplicationsAreFoundByTheirBundleIdentifier) {
    const TestApplication second(
        std::vector<TestWindow>{{.className = "One"}, {.className = "One"}});
    mScript->List({mOne->Window(), mOther->Window(), second.Window(0), second.Window(1)});
    std::vector<pid_t> found;
    for (const Application& one : mDesktop->RunningApplications("One")) {
        found.push_back(one.processID);
    }
    EXPECT_THAT(found, testing::UnorderedElementsAre(mOne->ProcessID(), second.ProcessID()));
    EXPECT_THAT(mDesktop->RunningApplications("Nobody"), IsEmpty());
}

TEST_F(X11ScriptedTest, TheActiveWindowBelongsToTheListThoughTheManagerIsLateWithIt) {
    mScript->List({mOther->Window()});
    mScript->MakeActive(mOne->Window());
    EXPECT_THAT(TitlesOf(mOne->ProcessID()), ElementsAre("one"));
    EXPECT_THAT(TitlesOf(mOther->ProcessID()), ElementsAre("other"));
}

TEST_F(X11ScriptedTest, AManagerThatDoesNotActivateIsARefusal) {
    mScript->MakeActive(mOne->Window());
    const CFAbsoluteTime start = CFAbsoluteTimeGetCurrent();
    EXPECT_EQ(mDesktop->MakeMain(mOther->Window()), Status::kRefused);
    const CFTimeInterval waited = CFAbsoluteTimeGetCurrent() - start;
    EXPECT_GE(waited, 0.1);
    EXPECT_LT(waited, 1) << "a tenth of a second on a machine that has nothing else to do";
    EXPECT_EQ(mDesktop->MakeMain(mOne->Window()), Status::kOk) << "it is active already";
}

TEST_F(X11ScriptedTest, AnActiveWindowThatIsNotShownIsWaitedFor) {
    mScript->MakeActive(mOne->Window());
    xcb_unmap_window(mClient->Get(), mOne->Window());
    mClient->Sync();
    const CFAbsoluteTime start = CFAbsoluteTimeGetCurrent();
    EXPECT_EQ(mDesktop->MakeMain(mOne->Window()), Status::kOk) << "rolled up, it stays unseen";
    EXPECT_GE(CFAbsoluteTimeGetCurrent() - start, 0.1);
}

TEST_F(X11ScriptedTest, AMinimisedWindowIsRestoredThoughItIsActiveAndMapped) {
    constexpr std::uint32_t kIconic = 3;
    mScript->MakeActive(mOne->Window());
    mClient->SetValues(mOne->Window(), "WM_STATE", "WM_STATE", {kIconic, XCB_WINDOW_NONE});
    const std::uint32_t manager = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(mClient->Get(), mClient->Root(), XCB_CW_EVENT_MASK, &manager);
    mClient->Sync();
    mDesktop->MakeMain(mOne->Window());
    mClient->Sync();
    bool isAsked = false;
    while (auto* event = xcb_poll_for_event(mClient->Get())) {
        const auto* message = reinterpret_cast<xcb_client_message_event_t*>(event);
        isAsked |= (event->response_type & 0x7F) == XCB_CLIENT_MESSAGE &&
                   message->type == mClient->Atom("_NET_ACTIVE_WINDOW") &&
                   message->window == mOne->Window();
        std::free(event);
    }
    EXPECT_TRUE(isAsked);
}

TEST_F(X11ScriptedTest, AManagerThatActivatesAnotherIsARefusalToo) {
    mScript->MakeActive(mOne->Window());
    const Process disturber([&] {
        XClient client;
        ScriptedManager script(client);
        for (;;) {
            script.MakeActive(client.Root());
            script.MakeActive(mOne->Window());
        }
    });
    EXPECT_EQ(mDesktop->MakeMain(mOther->Window()), Status::kRefused);
}

TEST_F(X11ScriptedTest, WhatADeadManagerSaidDoesNotCount) {
    mScript->List({mOne->Window()});
    mScript->MakeActive(mOne->Window());
    EXPECT_EQ(FrontProcess(), mOne->ProcessID());
    EXPECT_THAT(TitlesOf(mOne->ProcessID()), ElementsAre("one"));
    mScript->Die();
    EXPECT_FALSE(mDesktop->FrontApplication());
    EXPECT_THAT(ListOf(mOne->ProcessID()), IsEmpty());
    EXPECT_EQ(mDesktop->MakeMain(mOne->Window()), Status::kRefused);
}

TEST_F(X11ScriptedTest, AManagerThatStartsLaterIsHeard) {
    ObserveFrom(mOne->Window());
    mScript->Die();
    mScript->MakeActive(mOther->Window());  // said before the proof, as some do
    TurnRunLoop(kLasting);
    EXPECT_THAT(mTold, IsEmpty());
    mScript.emplace(*mClient);
    ExpectTold({"Other"});
}

TEST_F(X11ScriptedTest, AManagerWithoutAStackingOrderGivesTheLatestFirst) {
    const TestApplication app(std::vector<TestWindow>{{.title = "oldest"}, {.title = "latest"}});
    mScript->List({app.Window(0), app.Window(1)});
    mClient->Delete(mClient->Root(), "_NET_CLIENT_LIST_STACKING");
    EXPECT_THAT(TitlesOf(app.ProcessID()), ElementsAre("latest", "oldest"));
}

TEST_F(X11ScriptedTest, TheServersOrderCountsAndNotTheManagersList) {
    const TestApplication app(
        std::vector<TestWindow>{{.title = "first"}, {.title = "second"}, {.title = "third"}});
    mScript->List({app.Window(2), app.Window(1), app.Window(0)});
    EXPECT_THAT(TitlesOf(app.ProcessID()), ElementsAre("third", "second", "first"));
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(mClient->Get(), app.Window(1), XCB_CONFIG_WINDOW_STACK_MODE, &above);
    mClient->Sync();
    EXPECT_THAT(TitlesOf(app.ProcessID()), ElementsAre("second", "third", "first"));
}

TEST_F(X11ScriptedTest, WindowsInOneFrameKeepTheManagersOrder) {
    const TestApplication app(
        std::vector<TestWindow>{{.title = "tab"}, {.title = "front tab"}, {.title = "top"}});
    for (const std::size_t index : {0u, 1u}) {
        xcb_reparent_window(mClient->Get(), app.Window(index), mOne->Window(), 0, 0);
    }
    mScript->List({app.Window(2), app.Window(0), app.Window(1)});
    EXPECT_THAT(TitlesOf(app.ProcessID()), ElementsAre("top", "front tab", "tab"));
}

TEST_F(X11ScriptedTest, AWindowWithMoreChildrenThanAReplyHoldsIsHarmless) {
    const TestApplication app(std::vector<TestWindow>{{.title = "crowded"}, {.title = "other"}});
    mScript->List({app.Window(1), app.Window(0)});
    for (int i = 0; i < 40000; ++i) {
        xcb_create_window(mClient->Get(), XCB_COPY_FROM_PARENT, xcb_generate_id(mClient->Get()),
                          app.Window(0), 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                          XCB_COPY_FROM_PARENT, 0, nullptr);
    }
    mClient->Sync();
    EXPECT_EQ(FrameOf(app.Window(0)).width, 200);
    EXPECT_THAT(TitlesOf(app.ProcessID()), ElementsAre("other", "crowded"));
}

TEST_F(X11ScriptedTest, WorkspacesCountOnlyWhereThereAreSeveral) {
    const TestApplication app(std::vector<TestWindow>{{.title = "here"}, {.title = "there"}});
    mScript->List({app.Window(0), app.Window(1)});
    const auto say = [&](xcb_window_t window, const char* property, std::uint32_t value) {
        mClient->SetValues(window, property, "CARDINAL", {value});
    };
    say(mClient->Root(), "_NET_CURRENT_DESKTOP", 0);
    say(app.Window(1), "_NET_WM_DESKTOP", 1);
    EXPECT_THAT(TitlesOf(app.ProcessID()), ElementsAre("here"));
    say(mClient->Root(), "_NET_NUMBER_OF_DESKTOPS", 1);
    EXPECT_THAT(TitlesOf(app.ProcessID()), ElementsAre("there", "here"));
    say(mClient->Root(), "_NET_NUMBER_OF_DESKTOPS", 2);
    EXPECT_THAT(TitlesOf(app.ProcessID()), ElementsAre("here"));
    mClient->Delete(mClient->Root(), "_NET_CURRENT_DESKTOP");
    EXPECT_THAT(TitlesOf(app.ProcessID()), ElementsAre("there", "here"));
}

TEST_F(X11ScriptedTest, AListMayBeLongerThanOneBatch) {
    const TestApplication app(std::vector<TestWindow>(1100, {.title = "many"}));
    std::vector<xcb_window_t> windows;
    for (std::size_t i = 0; i < app.Count(); ++i) {
        windows.push_back(app.Window(i));
    }
    mScript->List(windows);
    EXPECT_EQ(TitlesOf(app.ProcessID()), std::vector<std::string>(1100, "many"));
}

TEST_F(X11ScriptedTest, NonsenseInPropertiesIsHarmless) {
    const TestApplication app(std::vector<TestWindow>{{.title = "one"}});
    mScript->List({app.Window(), 0, 0xFFFFFFFF, mClient->Root(), app.Window()});
    mClient->SetText(app.Window(), "_NET_WM_WINDOW_TYPE", "STRING", "not atoms");
    mClient->SetText(app.Window(), "_NET_FRAME_EXTENTS", "CARDINAL", "bytes");
    mClient->SetValues(app.Window(), "_GTK_FRAME_EXTENTS", "CARDINAL", {1, 2});
    EXPECT_THAT(TitlesOf(app.ProcessID()), ElementsAre("one", "one"));
    EXPECT_EQ(FrameOf(app.Window()).width, 200);
    mClient->SetValues(app.Window(), "_GTK_FRAME_EXTENTS", "CARDINAL", {100, 100, 50, 50});
    EXPECT_EQ(FrameOf(app.Window()).width, 200) << "a shadow that leaves nothing over";
    mClient->SetText(mClient->Root(), "_NET_ACTIVE_WINDOW", "STRING", "nonsense");
    EXPECT_FALSE(mDesktop->FrontApplication());
}

}  // namespace
}  // namespace kivo::test
