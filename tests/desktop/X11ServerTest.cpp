#include <signal.h>
#include <sys/resource.h>

#include <cstdlib>

#include "platform/linux/desktop/Desktop.h"
#include "tests/desktop/ScriptedManager.h"
#include "tests/desktop/X11DesktopTest.h"

namespace kivo::test {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Ge;
using testing::IsEmpty;
using testing::Lt;

double ProcessorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// What each question answers when nobody does.
void ExpectNoAnswers(desktop::Desktop& desktop, xcb_window_t window) {
    std::vector<Window> windows;
    std::string title;
    Rect frame;
    EXPECT_FALSE(desktop.FrontApplication());
    EXPECT_THAT(desktop.RunningApplications("One"), IsEmpty());
    EXPECT_EQ(desktop.WindowsOf(1, windows), Status::kNoAnswer);
    EXPECT_EQ(desktop.Title(window, title), Status::kNoAnswer);
    EXPECT_EQ(desktop.Frame(window, frame), Status::kNoAnswer);
    EXPECT_EQ(desktop.MakeMain(window), Status::kNoAnswer);
    EXPECT_FALSE(desktop.Pointer());
    EXPECT_FALSE(desktop.PrimaryScreen());
}

TEST(NoServerTest, TheAbsentDesktopTakesItsPlace) {
    for (const char* display : {"", ":9999", "nonsense"}) {
        setenv("DISPLAY", display, 1);
        EXPECT_EQ(X11Desktop::Open(), nullptr) << display;
        desktop::Install(nullptr);
        desktop::Current().ObserveActivations([](const Application&) {});
        ExpectNoAnswers(desktop::Current(), 1);
    }
    unsetenv("DISPLAY");
    EXPECT_EQ(X11Desktop::Open(), nullptr);
}

class X11ServerTest : public X11DesktopTest {
  protected:
    void SetUp() override { Begin({}); }

    void Begin(const std::vector<std::string>& options) {
        StartSession("", options);
        if (IsSkipped()) return;
        mScript.emplace(*mClient);
        mOne.emplace(std::vector<TestWindow>{{.title = "one", .className = "One"}});
        mOther.emplace(std::vector<TestWindow>{{.title = "other", .className = "Other"}});
        mScript->List({mOne->Window(), mOther->Window()});
        mScript->MakeActive(mOne->Window());
        EXPECT_TRUE(mDesktop->FrontApplication());
        mDesktop->ObserveActivations(
            [this](const Application& application) { mTold.push_back(application.bundleID); });
        TurnRunLoop(0.02);
    }

    std::optional<ScriptedManager> mScript;
    std::optional<TestApplication> mOne;
    std::optional<TestApplication> mOther;
    std::vector<std::string> mTold;
};

TEST_F(X11ServerTest, WhenTheServerIsGoneNothingIsAnsweredAndNothingSpins) {
    mServer->Server().Kill();
    ExpectNoAnswers(*mDesktop, mOne->Window());
    const double before = ProcessorSeconds();
    TurnRunLoop(0.3);
    EXPECT_LT(ProcessorSeconds() - before, 0.1);
    ExpectNoAnswers(*mDesktop, mOne->Window());
    EXPECT_THAT(mTold, IsEmpty());
}

TEST_F(X11ServerTest, AServerThatGoesWhileTheRunLoopWaitsIsNoticedQuietly) {
    // The child kills the server when this process waits in its run loop.
    const pid_t server = mServer->Server().ID();
    const Process killer([server] { kill(server, SIGKILL); });
    const double before = ProcessorSeconds();
    TurnRunLoop(0.3);
    EXPECT_LT(ProcessorSeconds() - before, 0.1);
    ExpectNoAnswers(*mDesktop, mOne->Window());
}

TEST_F(X11ServerTest, AStoppedServerCostsEachQuestionItsTimeOut) {
    mServer->Server().Signal(SIGSTOP);
    std::vector<Window> windows;
    std::vector<CFTimeInterval> waited;
    for (int i = 0; i < 3; ++i) {
        const CFAbsoluteTime start = CFAbsoluteTimeGetCurrent();
        EXPECT_EQ(mDesktop->WindowsOf(mOne->ProcessID(), windows), Status::kNoAnswer);
        waited.push_back(CFAbsoluteTimeGetCurrent() - start);
    }
    EXPECT_THAT(waited, Each(Ge(0.5)));
    // A busy machine makes one or the other longer, but seldom all as long as two.
    EXPECT_THAT(waited, Contains(Lt(1)));
    EXPECT_THAT(windows, IsEmpty());
    mServer->Server().Signal(SIGCONT);
    EXPECT_THAT(TitlesOf(mOne->ProcessID()), ElementsAre("one")) << "it answers again";
    EXPECT_EQ(FrontProcess(), mOne->ProcessID());
}

TEST_F(X11ServerTest, AServerThatStopsInTheMiddleOfAListCostsOneTimeOut) {
    const TestApplication many(std::vector<TestWindow>(200, {.title = "many"}));
    std::vector<xcb_window_t> windows;
    for (std::size_t i = 0; i < many.Count(); ++i) {
        windows.push_back(many.Window(i));
    }
    mScript->List(windows);
    for (int i = 0; i < 3; ++i) {
        const Process stopper([this] { mServer->Server().Signal(SIGSTOP); });
        const CFAbsoluteTime start = CFAbsoluteTimeGetCurrent();
        for (Status status = Status::kOk; status == Status::kOk;) {
            std::vector<Window> list;
            status = mDesktop->WindowsOf(many.ProcessID(), list);
            EXPECT_LT(CFAbsoluteTimeGetCurrent() - start, 3) << "the server was never stopped";
            if (CFAbsoluteTimeGetCurrent() - start > 3) break;
        }
        mServer->Server().Signal(SIGCONT);
        EXPECT_EQ(TitlesOf(many.ProcessID()), std::vector<std::string>(200, "many"));
    }
}

TEST_F(X11ServerTest, NoChangeIsLostWhileTheServerIsStopped) {
    // The change is in the socket, its explanation is not to be had.
    const Process changer([this] {
        XClient client;
        client.SetValues(client.Root(), "_NET_ACTIVE_WINDOW", "WINDOW", {mOther->Window()});
        mServer->Server().Signal(SIGSTOP);
    });
    std::string title;
    ASSERT_TRUE(Await([&] { return mDesktop->Title(mOne->Window(), title) != Status::kOk; }));
    const double before = ProcessorSeconds();
    TurnRunLoop(0.7);
    EXPECT_LT(ProcessorSeconds() - before, 0.2);
    mServer->Server().Signal(SIGCONT);
    EXPECT_TRUE(Await([&] { return mTold == std::vector<std::string>{"Other"}; }));
}

TEST_F(X11ServerTest, AServerThatIsStoppedFromTheStartIsGivenUp) {
    mServer->Server().Signal(SIGSTOP);
    const CFAbsoluteTime start = CFAbsoluteTimeGetCurrent();
    EXPECT_EQ(X11Desktop::Open(), nullptr);
    EXPECT_LT(CFAbsoluteTimeGetCurrent() - start, 6);
    mServer->Server().Signal(SIGCONT);
}

/// A server that cannot tell whose clients are whose.
class X11ClaimsTest : public X11ServerTest {
    void SetUp() override { Begin({"-extension", "X-Resource"}); }
};

TEST_F(X11ClaimsTest, TheClaimedProcessCountsThere) {
    const TestApplication app(
        std::vector<TestWindow>{{.title = "claims", .claimedProcessID = 4242},
                                {.title = "claims nothing", .className = "Mute"}});
    mScript->List({app.Window(0), app.Window(1)});
    EXPECT_THAT(TitlesOf(4242), ElementsAre("claims"));
    EXPECT_THAT(ListOf(-1), IsEmpty());
    mScript->MakeActive(app.Window(0));
    EXPECT_EQ(FrontProcess(), 4242);
    mScript->MakeActive(app.Window(1));
    EXPECT_EQ(FrontProcess(), -1);
    EXPECT_EQ(mDesktop->FrontApplication()->bundleID, "Mute");
}

TEST_F(X11ClaimsTest, OwnersWithoutAProcessAreToldApartByTheirIdentity) {
    mScript->MakeActive(mOther->Window());
    TurnRunLoop(0.05);
    mScript->MakeActive(mOne->Window());
    TurnRunLoop(0.05);
    EXPECT_THAT(mTold, ElementsAre("Other", "One"));
    const TestApplication same(std::vector<TestWindow>{{.className = "One"}});
    mScript->MakeActive(same.Window());
    TurnRunLoop(0.05);
    EXPECT_THAT(mTold, ElementsAre("Other", "One"));
}

}  // namespace
}  // namespace kivo::test
