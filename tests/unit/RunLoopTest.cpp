#include <CoreFoundation/RunLoopSeams.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "platform/CFRef.h"
#include "tests/support/VirtualClock.h"

// What the run loop adds to the platform's names: descriptor sources, virtual time, the main run.

namespace {

using namespace std::chrono_literals;
using kivo::CFRef;
using kivo::test::VirtualClock;

/// A mode of the test's own, whose turns begin anew.
CFStringRef Mode() {
    return __CFStringMakeConstantString(
        testing::UnitTest::GetInstance()->current_test_info()->name());
}

/// A pipe with a descriptor source at its reading end.
class PipeSource {
  public:
    explicit PipeSource(std::function<void()> whatToDo = {}) : body(std::move(whatToDo)) {
        if (pipe(mEnds) != 0) std::abort();
        const kivo::DescriptorSourceContext context{
            this, [](void* info) { static_cast<PipeSource*>(info)->Perform(); },
            [](void* info) { return static_cast<PipeSource*>(info)->hasKeptWork; }};
        source = kivo::Adopt(kivo::CreateDescriptorSource(mEnds[0], context));
        CFRunLoopAddSource(CFRunLoopGetCurrent(), source.Get(), Mode());
    }
    ~PipeSource() {
        CFRunLoopSourceInvalidate(source.Get());
        close(mEnds[0]);
        close(mEnds[1]);
    }
    PipeSource(const PipeSource&) = delete;
    PipeSource& operator=(const PipeSource&) = delete;

    void Write(size_t count) const {
        const std::string bytes(count, 'x');
        ASSERT_EQ(write(mEnds[1], bytes.data(), count), static_cast<ssize_t>(count));
    }
    int ReadingEnd() const { return mEnds[0]; }

    std::function<void()> body;
    bool hasKeptWork = false;
    int performed = 0;
    CFRef<CFRunLoopSourceRef> source;

  private:
    void Perform() {
        ++performed;
        char byte = 0;
        if (!hasKeptWork) {
            ASSERT_EQ(read(mEnds[0], &byte, 1), 1);
        }
        hasKeptWork = false;
        if (body) body();
    }

    int mEnds[2];
};

CFRef<CFRunLoopTimerRef> AddTimer(std::chrono::duration<double> delay,
                                  std::chrono::duration<double> interval,
                                  std::function<void()>& body) {
    CFRunLoopTimerContext context{};
    context.info = &body;
    auto timer = kivo::Adopt(CFRunLoopTimerCreate(
        nullptr, kivo::LoopClock::Current().AbsoluteNow() + delay.count(), interval.count(), 0, 0,
        [](CFRunLoopTimerRef, void* info) { (*static_cast<std::function<void()>*>(info))(); },
        &context));
    CFRunLoopAddTimer(CFRunLoopGetCurrent(), timer.Get(), Mode());
    return timer;
}

TEST(DescriptorSource, IsPerformedWhileReadable) {
    PipeSource source;
    source.Write(3);
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(CFRunLoopRunInMode(Mode(), 1, true), kCFRunLoopRunHandledSource);
        EXPECT_EQ(source.performed, i) << "one piece of work an iteration";
    }
    EXPECT_EQ(CFRunLoopRunInMode(Mode(), 0, true), kCFRunLoopRunTimedOut);
}

TEST(DescriptorSource, TakesTurnsWithOthers) {
    std::string sequence;
    PipeSource a([&] { sequence += 'a'; });
    PipeSource b([&] { sequence += 'b'; });
    PipeSource c([&] { sequence += 'c'; });
    a.Write(3);
    b.Write(3);
    c.Write(1);
    CFRunLoopRunInMode(Mode(), 0.01, false);
    EXPECT_EQ(sequence, "abcabab");
}

TEST(DescriptorSource, TakesTurnsWithTimers) {
    VirtualClock clock;
    PipeSource source([&] { clock.Advance(1ms); });
    source.Write(50);
    int fired = 0;
    std::function<void()> count = [&] { ++fired; };
    const auto timer = AddTimer(1ms, 1ms, count);
    CFRunLoopRunInMode(Mode(), 0.05, false);
    EXPECT_GT(fired, 10);
    EXPECT_GT(source.performed, 10);
    CFRunLoopTimerInvalidate(timer.Get());
}

TEST(DescriptorSource, IsPerformedForWorkThatWasReadAlready) {
    PipeSource source;
    source.hasKeptWork = true;
    EXPECT_EQ(CFRunLoopRunInMode(Mode(), 10, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(source.performed, 1);
}

TEST(DescriptorSource, MayInvalidateItselfAndAnother) {
    PipeSource* self = nullptr;
    PipeSource* victimSeen = nullptr;
    PipeSource killer([&] {
        CFRunLoopSourceInvalidate(victimSeen->source.Get());
        CFRunLoopSourceInvalidate(self->source.Get());
    });
    PipeSource victim;
    self = &killer;
    victimSeen = &victim;
    killer.Write(2);
    victim.Write(1);
    EXPECT_EQ(CFRunLoopRunInMode(Mode(), 1, false), kCFRunLoopRunFinished);
    EXPECT_EQ(killer.performed, 1);
    EXPECT_EQ(victim.performed, 0);
}

TEST(DescriptorSource, MayBeAddedWhileAnotherIsPerformed) {
    std::unique_ptr<PipeSource> added;
    PipeSource adder([&] {
        added = std::make_unique<PipeSource>();
        added->Write(1);
    });
    adder.Write(1);
    CFRunLoopRunInMode(Mode(), 0.01, false);
    EXPECT_EQ(added->performed, 1);
}

TEST(DescriptorSource, OfAClosedDescriptorIsTakenOut) {
    PipeSource source;
    const int copy = dup(source.ReadingEnd());
    close(source.ReadingEnd());
    EXPECT_EQ(CFRunLoopRunInMode(Mode(), 10, false), kCFRunLoopRunFinished);
    EXPECT_FALSE(CFRunLoopSourceIsValid(source.source.Get()));
    dup2(copy, source.ReadingEnd());
    close(copy);
}

TEST(VirtualTime, TimersSkipWhatTheyMissedAndKeepTheirPhase) {
    VirtualClock clock;
    std::vector<kivo::LoopInstant> at;
    const kivo::LoopInstant start = clock.Now();
    std::function<void()> body = [&] {
        at.push_back(clock.Now() - start);
        if (at.size() == 1) clock.Advance(350ms);
    };
    const auto timer = AddTimer(100ms, 100ms, body);
    CFRunLoopRunInMode(Mode(), 0.65, false);
    EXPECT_EQ(at, (std::vector<kivo::LoopInstant>{100ms, 500ms, 600ms}));
    CFRunLoopTimerInvalidate(timer.Get());
}

TEST(VirtualTime, ATimerRunsForYearsWithoutDrift) {
    VirtualClock clock;
    int fired = 0;
    std::function<void()> body = [&] { ++fired; };
    const auto timer = AddTimer(1h, 1h, body);
    CFRunLoopRunInMode(Mode(), 3600.0 * 24 * 365 + 1, false);
    EXPECT_EQ(fired, 24 * 365);
    EXPECT_EQ(clock.Now().count() % 1000000000, 0);
    CFRunLoopTimerInvalidate(timer.Get());
}

TEST(VirtualTime, SecondsBeyondTheLimitHaveNoEnd) {
    VirtualClock clock;
    std::function<void()> stop = [] { CFRunLoopStop(CFRunLoopGetCurrent()); };
    const auto timer = AddTimer(3600h * 24 * 5, 0s, stop);
    EXPECT_EQ(CFRunLoopRunInMode(Mode(), 1e10, false), kCFRunLoopRunStopped);
}

TEST(Wait, TakesASignalForAnEmptyWakeUp) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    PipeSource source;
    ualarm(5000, 5000);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(CFRunLoopRunInMode(Mode(), 0.05, true), kCFRunLoopRunTimedOut);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 50ms);
    ualarm(0, 0);
    EXPECT_EQ(source.performed, 0);
}

TEST(Wait, WakesTenTimesASecondForATenthSecondTimer) {
    int fired = 0;
    std::function<void()> body = [&] { ++fired; };
    const auto timer = AddTimer(100ms, 100ms, body);
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_THREAD, &before);
    CFRunLoopRunInMode(Mode(), 0.55, false);
    getrusage(RUSAGE_THREAD, &after);
    // A process that is held up misses fires, and then the sleeps before them.
    EXPECT_GE(fired, 1);
    EXPECT_LE(fired, 5);
    EXPECT_LE(after.ru_nvcsw - before.ru_nvcsw, fired + 2) << "one sleep a fire, one to the end";
    CFRunLoopTimerInvalidate(timer.Get());
}

// The main run.

/// A one-shot in the default mode.
void InDefaultMode(std::chrono::duration<double> delay, CFRunLoopTimerCallBack callback) {
    const auto timer = kivo::Adopt(
        CFRunLoopTimerCreate(nullptr, kivo::LoopClock::Current().AbsoluteNow() + delay.count(), 0,
                             0, 0, callback, nullptr));
    CFRunLoopAddTimer(CFRunLoopGetCurrent(), timer.Get(), kCFRunLoopDefaultMode);
}

TEST(MainRun, EndsAtOnceWhenItWasStoppedBefore) {
    kivo::StopMainRun();
    kivo::RunUntilStopped();
}

TEST(MainRun, IsEndedByASignalHandler) {
    struct sigaction action {};
    action.sa_handler = [](int) { kivo::StopMainRun(); };
    sigaction(SIGUSR1, &action, nullptr);
    const pthread_t main = pthread_self();
    std::thread killer([main] {
        while (!CFRunLoopIsWaiting(CFRunLoopGetMain()))
            std::this_thread::yield();
        pthread_kill(main, SIGUSR1);
    });
    kivo::RunUntilStopped();
    killer.join();
}

TEST(MainRun, GoesOnAfterAnOrdinaryStop) {
    static int sStops;
    sStops = 0;
    InDefaultMode(0s, [](CFRunLoopTimerRef, void*) {
        ++sStops;
        CFRunLoopStop(CFRunLoopGetCurrent());
    });
    InDefaultMode(10ms, [](CFRunLoopTimerRef, void*) { kivo::StopMainRun(); });
    kivo::RunUntilStopped();
    EXPECT_EQ(sStops, 1);
}

TEST(MainRun, LetsANestedRunGoToItsOwnEnd) {
    static CFRunLoopRunResult sNested;
    sNested = {};
    InDefaultMode(0s, [](CFRunLoopTimerRef, void*) {
        kivo::StopMainRun();
        sNested = CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.02, true);
    });
    kivo::RunUntilStopped();
    EXPECT_EQ(sNested, kCFRunLoopRunTimedOut);
}

}  // namespace
