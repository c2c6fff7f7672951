// What Core Foundation's run loops, sources and timers promise, in the platform's own names:
// Apple's documentation of CFRunLoop and the behaviour of its published source.

#include <CoreFoundation/CoreFoundation.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/CFRef.h"

namespace {

const CFStringRef kPrivateMode = CFSTR("a private mode");

class Stopwatch {
  public:
    double Seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - mStart).count();
    }

  private:
    std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};

/// Sources that earlier tests of the process left in the main loop's common modes.
void DrainMainLoop() {
    while (CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true) == kCFRunLoopRunHandledSource) {
    }
}

/// A version-0 source with a C++ body.
class Source {
  public:
    explicit Source(std::function<void()> whatToDo = {}, CFIndex order = 0)
        : body(std::move(whatToDo)) {
        CFRunLoopSourceContext context{};
        context.info = this;
        context.perform = [](void* info) {
            auto* self = static_cast<Source*>(info);
            ++self->performed;
            if (self->body) self->body();
        };
        ref = CFRunLoopSourceCreate(nullptr, order, &context);
    }
    ~Source() {
        CFRunLoopSourceInvalidate(ref);
        CFRelease(ref);
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    void AddTo(CFStringRef mode) const { CFRunLoopAddSource(CFRunLoopGetCurrent(), ref, mode); }
    void Signal() const { CFRunLoopSourceSignal(ref); }

    std::function<void()> body;
    int performed = 0;
    CFRunLoopSourceRef ref = nullptr;
};

/// A timer with a C++ body, `delay` seconds from now.
class Timer {
  public:
    explicit Timer(double delay, double interval = 0, std::function<void()> whatToDo = {})
        : Timer(nullptr, CFAbsoluteTimeGetCurrent() + delay, interval, std::move(whatToDo)) {}
    Timer(std::nullptr_t, CFAbsoluteTime date, double interval, std::function<void()> whatToDo)
        : body(std::move(whatToDo)) {
        CFRunLoopTimerContext context{};
        context.info = this;
        ref = CFRunLoopTimerCreate(nullptr, date, interval, 0, 0, Fire, &context);
    }
    ~Timer() {
        CFRunLoopTimerInvalidate(ref);
        CFRelease(ref);
    }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    void AddTo(CFStringRef mode) const { CFRunLoopAddTimer(CFRunLoopGetCurrent(), ref, mode); }

    std::function<void()> body;
    int fired = 0;
    CFRunLoopTimerRef ref = nullptr;

  private:
    static void Fire(CFRunLoopTimerRef, void* info) {
        auto* self = static_cast<Timer*>(info);
        ++self->fired;
        if (self->body) self->body();
    }
};

CFRunLoopRunResult RunFor(double seconds, CFStringRef mode = kPrivateMode,
                          bool afterSource = false) {
    return CFRunLoopRunInMode(mode, seconds, afterSource);
}

void BlockFor(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

// Modes and results.

TEST(RunLoop, GivesEachThreadItsOwn) {
    EXPECT_EQ(CFRunLoopGetCurrent(), CFRunLoopGetMain());
    CFRunLoopRef other = nullptr;
    CFRunLoopRef mainSeenThere = nullptr;
    std::thread([&] {
        other = CFRunLoopGetCurrent();
        mainSeenThere = CFRunLoopGetMain();
    }).join();
    EXPECT_NE(other, CFRunLoopGetMain());
    EXPECT_EQ(mainSeenThere, CFRunLoopGetMain());
    EXPECT_EQ(CFGetTypeID(CFRunLoopGetMain()), CFRunLoopGetTypeID());
}

TEST(RunLoop, NamesItsModesAsPublished) {
    EXPECT_TRUE(CFEqual(kCFRunLoopDefaultMode, CFSTR("kCFRunLoopDefaultMode")));
    EXPECT_TRUE(CFEqual(kCFRunLoopCommonModes, CFSTR("kCFRunLoopCommonModes")));
}

TEST(RunInMode, FinishesAtOnceWhereThereIsNothing) {
    const Stopwatch watch;
    EXPECT_EQ(RunFor(5, CFSTR("never heard of")), kCFRunLoopRunFinished);
    EXPECT_EQ(RunFor(5, kCFRunLoopCommonModes), kCFRunLoopRunFinished);
    std::thread([] { EXPECT_EQ(RunFor(5, kCFRunLoopDefaultMode), kCFRunLoopRunFinished); }).join();
    EXPECT_LT(watch.Seconds(), 2);
}

TEST(RunInMode, NeverFindsACommonModeOfTheMainThreadEmpty) {
    DrainMainLoop();
    const Stopwatch watch;
    EXPECT_EQ(RunFor(0.03, kCFRunLoopDefaultMode), kCFRunLoopRunTimedOut);
    EXPECT_GE(watch.Seconds(), 0.03);
}

TEST(RunInMode, FinishesWhenTheLastTimerIsGone) {
    Timer timer(0.01);
    timer.AddTo(kPrivateMode);
    EXPECT_EQ(RunFor(5), kCFRunLoopRunFinished);
    EXPECT_EQ(timer.fired, 1);
}

TEST(RunInMode, TimesOutInTime) {
    Source source;
    source.AddTo(kPrivateMode);
    const Stopwatch watch;
    EXPECT_EQ(RunFor(0.05), kCFRunLoopRunTimedOut);
    EXPECT_GE(watch.Seconds(), 0.05);
    EXPECT_LT(watch.Seconds(), 2);
}

TEST(RunInMode, WithoutTimeMakesOnePass) {
    Source source;
    source.AddTo(kPrivateMode);
    source.Signal();
    EXPECT_EQ(RunFor(0), kCFRunLoopRunTimedOut);
    EXPECT_EQ(source.performed, 1);
    source.Signal();
    EXPECT_EQ(RunFor(-1, kPrivateMode, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(source.performed, 2);
}

TEST(RunInMode, ServesItsModeOnly) {
    Source here;
    Source elsewhere;
    here.AddTo(kPrivateMode);
    elsewhere.AddTo(CFSTR("another mode"));
    here.Signal();
    elsewhere.Signal();
    RunFor(0);
    EXPECT_EQ(here.performed, 1);
    EXPECT_EQ(elsewhere.performed, 0);
}

TEST(RunInMode, TakesEqualStringsForTheSameMode) {
    Source source;
    source.AddTo(kPrivateMode);
    source.Signal();
    const CFStringRef equal =
        CFStringCreateWithCString(nullptr, "a private mode", kCFStringEncodingUTF8);
    RunFor(0, equal);
    CFRelease(equal);
    EXPECT_EQ(source.performed, 1);
}

TEST(RunInMode, MayBeNestedInTheSameMode) {
    int depth = 0;
    int deepest = 0;
    Source* self = nullptr;
    Source source([&] {
        deepest = std::max(deepest, ++depth);
        if (depth < 3) {
            self->Signal();
            EXPECT_EQ(RunFor(1, kPrivateMode, true), kCFRunLoopRunHandledSource);
        }
        --depth;
    });
    self = &source;
    source.AddTo(kPrivateMode);
    source.Signal();
    EXPECT_EQ(RunFor(1, kPrivateMode, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(deepest, 3);
}

TEST(RunInMode, TellsItsModeWhileItRuns) {
    CFStringRef outside = CFRunLoopCopyCurrentMode(CFRunLoopGetCurrent());
    EXPECT_EQ(outside, nullptr);
    Source source([] {
        CFStringRef mode = CFRunLoopCopyCurrentMode(CFRunLoopGetCurrent());
        EXPECT_TRUE(CFEqual(mode, kPrivateMode));
        CFRelease(mode);
    });
    source.AddTo(kPrivateMode);
    source.Signal();
    RunFor(0);
    EXPECT_EQ(source.performed, 1);
}

// Stop and wake-up.

TEST(Stop, EndsTheRun) {
    Source source([] { CFRunLoopStop(CFRunLoopGetCurrent()); });
    source.AddTo(kPrivateMode);
    source.Signal();
    EXPECT_EQ(RunFor(5), kCFRunLoopRunStopped);
}

TEST(Stop, EndsTheInnermostRunOnly) {
    std::vector<CFRunLoopRunResult> inner;
    Source stopper([] { CFRunLoopStop(CFRunLoopGetCurrent()); });
    stopper.AddTo(CFSTR("inner"));
    Source source([&] {
        stopper.Signal();
        inner.push_back(RunFor(5, CFSTR("inner")));
    });
    source.AddTo(kPrivateMode);
    source.Signal();
    EXPECT_EQ(RunFor(0.02), kCFRunLoopRunTimedOut);
    EXPECT_EQ(inner, std::vector<CFRunLoopRunResult>{kCFRunLoopRunStopped});
}

TEST(Stop, IsNotRememberedByALoopThatDoesNotRun) {
    Source source;
    source.AddTo(kPrivateMode);
    CFRunLoopStop(CFRunLoopGetCurrent());
    EXPECT_EQ(RunFor(0.01), kCFRunLoopRunTimedOut);
}

TEST(Stop, WorksFromAnotherThread) {
    Source source;
    source.AddTo(kPrivateMode);
    CFRunLoopRef loop = CFRunLoopGetCurrent();
    std::thread stopper([loop] {
        while (!CFRunLoopIsWaiting(loop))
            std::this_thread::yield();
        CFRunLoopStop(loop);
    });
    EXPECT_EQ(RunFor(10), kCFRunLoopRunStopped);
    stopper.join();
}

TEST(CFRunLoopRun, ReturnsWhenStopped) {
    Timer timer(0.01, 0, [] { CFRunLoopStop(CFRunLoopGetCurrent()); });
    timer.AddTo(kCFRunLoopDefaultMode);
    CFRunLoopRun();
    EXPECT_EQ(timer.fired, 1);
}

TEST(WakeUp, LetsASleepingLoopSeeASignal) {
    std::atomic<bool> isReady{false};
    kivo::CFRef<CFRunLoopRef> loop;
    Source* shared = nullptr;
    std::thread runner([&] {
        Source source;
        source.AddTo(kPrivateMode);
        shared = &source;
        loop = kivo::Retain(CFRunLoopGetCurrent());
        isReady = true;
        EXPECT_EQ(RunFor(10, kPrivateMode, true), kCFRunLoopRunHandledSource);
        EXPECT_EQ(source.performed, 1);
    });
    while (!isReady || !CFRunLoopIsWaiting(loop.Get()))
        std::this_thread::yield();
    shared->Signal();
    CFRunLoopWakeUp(loop.Get());
    runner.join();
}

TEST(AddSource, ReachesALoopThatSleepsOnAnotherThread) {
    std::atomic<bool> isReady{false};
    // The thread's own reference goes with the thread, as soon as the source was performed.
    kivo::CFRef<CFRunLoopRef> loop;
    Source added;
    std::thread runner([&] {
        Source keeper;
        keeper.AddTo(kPrivateMode);
        loop = kivo::Retain(CFRunLoopGetCurrent());
        isReady = true;
        EXPECT_EQ(RunFor(10, kPrivateMode, true), kCFRunLoopRunHandledSource);
    });
    while (!isReady || !CFRunLoopIsWaiting(loop.Get()))
        std::this_thread::yield();
    added.Signal();
    CFRunLoopAddSource(loop.Get(), added.ref, kPrivateMode);
    CFRunLoopWakeUp(loop.Get());
    runner.join();
    EXPECT_EQ(added.performed, 1);
}

// Sources.

TEST(Source, SignalledTwiceIsPerformedOnce) {
    Source source;
    source.AddTo(kPrivateMode);
    source.Signal();
    source.Signal();
    RunFor(0);
    RunFor(0);
    EXPECT_EQ(source.performed, 1);
}

TEST(Source, ComesByAscendingOrder) {
    std::string sequence;
    Source third([&] { sequence += "3"; }, 5);
    Source first([&] { sequence += "1"; }, -5);
    Source second([&] { sequence += "2"; });
    for (const Source* source : {&third, &first, &second}) {
        source->AddTo(kPrivateMode);
        source->Signal();
    }
    RunFor(0);
    EXPECT_EQ(sequence, "123");
}

TEST(Source, StaysSignalledBehindTheOneThatEndsTheRun) {
    std::string sequence;
    Source first([&] { sequence += "1"; }, 1);
    Source second([&] { sequence += "2"; }, 2);
    first.AddTo(kPrivateMode);
    second.AddTo(kPrivateMode);
    first.Signal();
    second.Signal();
    EXPECT_EQ(RunFor(1, kPrivateMode, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(sequence, "1");
    EXPECT_EQ(RunFor(1, kPrivateMode, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(sequence, "12");
}

TEST(Source, MayInvalidateItself) {
    Source* self = nullptr;
    Source source([&] { CFRunLoopSourceInvalidate(self->ref); });
    self = &source;
    source.AddTo(kPrivateMode);
    source.Signal();
    EXPECT_EQ(RunFor(5), kCFRunLoopRunFinished);
    EXPECT_FALSE(CFRunLoopSourceIsValid(source.ref));
    source.AddTo(kPrivateMode);
    EXPECT_FALSE(CFRunLoopContainsSource(CFRunLoopGetCurrent(), source.ref, kPrivateMode));
}

TEST(Source, MayTakeOutAnotherThatIsSignalled) {
    Source victim({}, 2);
    Source killer([&] { CFRunLoopSourceInvalidate(victim.ref); }, 1);
    killer.AddTo(kPrivateMode);
    victim.AddTo(kPrivateMode);
    killer.Signal();
    victim.Signal();
    RunFor(0);
    EXPECT_EQ(victim.performed, 0);
}

TEST(Source, MayAddAnotherWhilePerformed) {
    Source added;
    Source adder([&] {
        added.AddTo(kPrivateMode);
        added.Signal();
    });
    adder.AddTo(kPrivateMode);
    adder.Signal();
    RunFor(0.01);
    EXPECT_EQ(added.performed, 1);
}

TEST(Source, IsHeldOncePerMode) {
    Source source;
    const CFIndex before = CFGetRetainCount(source.ref);
    source.AddTo(kPrivateMode);
    source.AddTo(kPrivateMode);
    EXPECT_TRUE(CFRunLoopContainsSource(CFRunLoopGetCurrent(), source.ref, kPrivateMode));
    EXPECT_EQ(CFGetRetainCount(source.ref), before + 1);
    CFRunLoopRemoveSource(CFRunLoopGetCurrent(), source.ref, kPrivateMode);
    EXPECT_EQ(CFGetRetainCount(source.ref), before);
    EXPECT_TRUE(CFRunLoopSourceIsValid(source.ref));
}

struct Calls {
    int scheduled = 0;
    int cancelled = 0;
    int retained = 0;
    int released = 0;
};

TEST(Source, TellsItsContextOfEachMode) {
    Calls calls;
    CFRunLoopSourceContext context{};
    context.info = &calls;
    context.retain = [](const void* info) {
        ++static_cast<Calls*>(const_cast<void*>(info))->retained;
        return info;
    };
    context.release = [](const void* info) {
        ++static_cast<Calls*>(const_cast<void*>(info))->released;
    };
    context.schedule = [](void* info, CFRunLoopRef, CFStringRef) {
        ++static_cast<Calls*>(info)->scheduled;
    };
    context.cancel = [](void* info, CFRunLoopRef, CFStringRef) {
        ++static_cast<Calls*>(info)->cancelled;
    };
    CFRunLoopSourceRef source = CFRunLoopSourceCreate(nullptr, 3, &context);
    EXPECT_EQ(calls.retained, 1);
    EXPECT_EQ(CFRunLoopSourceGetOrder(source), 3);
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kPrivateMode);
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source, CFSTR("another mode"));
    EXPECT_EQ(calls.scheduled, 2);
    CFRunLoopRemoveSource(CFRunLoopGetCurrent(), source, kPrivateMode);
    EXPECT_EQ(calls.cancelled, 1);
    CFRunLoopSourceInvalidate(source);
    CFRunLoopSourceInvalidate(source);
    EXPECT_EQ(calls.cancelled, 2);
    EXPECT_EQ(calls.released, 1);
    CFRelease(source);
    EXPECT_EQ(calls.released, 1);
}

TEST(CommonModes, GetWhatIsAddedBeforeAndAfter) {
    const CFStringRef mode = CFSTR("common from now on");
    Source before;
    Source after;
    before.AddTo(kCFRunLoopCommonModes);
    CFRunLoopAddCommonMode(CFRunLoopGetCurrent(), mode);
    after.AddTo(kCFRunLoopCommonModes);
    for (const Source* source : {&before, &after}) {
        EXPECT_TRUE(CFRunLoopContainsSource(CFRunLoopGetCurrent(), source->ref, mode));
        EXPECT_TRUE(
            CFRunLoopContainsSource(CFRunLoopGetCurrent(), source->ref, kCFRunLoopDefaultMode));
        EXPECT_TRUE(
            CFRunLoopContainsSource(CFRunLoopGetCurrent(), source->ref, kCFRunLoopCommonModes));
        source->Signal();
    }
    RunFor(0, mode);
    EXPECT_EQ(before.performed + after.performed, 2);
    CFRunLoopRemoveSource(CFRunLoopGetCurrent(), after.ref, kCFRunLoopCommonModes);
    EXPECT_FALSE(CFRunLoopContainsSource(CFRunLoopGetCurrent(), after.ref, mode));
}

// Timers.

TEST(Timer, FiresOnceWithoutAnInterval) {
    Timer timer(0.01);
    timer.AddTo(kPrivateMode);
    EXPECT_FALSE(CFRunLoopTimerDoesRepeat(timer.ref));
    EXPECT_EQ(RunFor(5), kCFRunLoopRunFinished);
    EXPECT_EQ(timer.fired, 1);
    EXPECT_FALSE(CFRunLoopTimerIsValid(timer.ref));
}

TEST(Timer, IsValidAndUnmovedInItsCallback) {
    Timer* self = nullptr;
    Timer timer(0.01, 0, [&] {
        EXPECT_TRUE(CFRunLoopTimerIsValid(self->ref));
        EXPECT_LE(CFRunLoopTimerGetNextFireDate(self->ref), CFAbsoluteTimeGetCurrent());
    });
    self = &timer;
    timer.AddTo(kPrivateMode);
    RunFor(5);
    EXPECT_EQ(timer.fired, 1);
}

TEST(Timer, KeepsItsPhaseAndSkipsWhatItMissed) {
    const CFAbsoluteTime start = CFAbsoluteTimeGetCurrent();
    const auto sinceStart = [&] { return CFAbsoluteTimeGetCurrent() - start; };
    std::vector<double> dueAt;
    double blockedUntil = 0;
    Timer timer(nullptr, start + 0.05, 0.05, [&] {
        dueAt.push_back(CFRunLoopTimerGetNextFireDate(timer.ref) - start);
        EXPECT_GE(sinceStart(), dueAt.back() - 1e-3) << "not early";
        if (dueAt.size() > 1) return;
        BlockFor(0.13);
        blockedUntil = sinceStart();
    });
    timer.AddTo(kPrivateMode);
    while (dueAt.size() < 4 && sinceStart() < 10)
        RunFor(0.05);
    ASSERT_GE(dueAt.size(), 4U);
    EXPECT_NEAR(dueAt[0], 0.05, 1e-3);
    EXPECT_GT(dueAt[1], blockedUntil - 1e-3) << "nothing comes for what was missed";
    for (const double due : dueAt)
        EXPECT_NEAR(std::remainder(due, 0.05), 0, 1e-3) << due;
}

TEST(Timer, OverdueFiresAtOnceAndKeepsThePhaseOfItsCreation) {
    Timer timer(-100, 1);
    const CFAbsoluteTime created = CFAbsoluteTimeGetCurrent();
    timer.AddTo(kPrivateMode);
    RunFor(0.01);
    EXPECT_EQ(timer.fired, 1);
    EXPECT_NEAR(CFRunLoopTimerGetNextFireDate(timer.ref), created + 1, 0.01);
}

TEST(Timer, FiresOnceForAllTheTimeItsModeDidNotRun) {
    Timer timer(0.01, 0.01);
    timer.AddTo(kPrivateMode);
    BlockFor(0.1);
    RunFor(0);
    EXPECT_EQ(timer.fired, 1);
}

TEST(Timer, OfTheSameDateComeInTheirOrder) {
    const CFAbsoluteTime date = CFAbsoluteTimeGetCurrent() + 0.02;
    std::string sequence;
    Timer first(nullptr, date, 0, [&] { sequence += "1"; });
    Timer second(nullptr, date, 0, [&] { sequence += "2"; });
    Timer third(nullptr, date, 0, [&] { sequence += "3"; });
    for (const Timer* timer : {&first, &second, &third})
        timer->AddTo(kPrivateMode);
    RunFor(5);
    EXPECT_EQ(sequence, "123");
}

TEST(Timer, DoesNotEndARunThatWaitsForASource) {
    Source keeper;
    keeper.AddTo(kPrivateMode);
    Timer timer(0.01);
    timer.AddTo(kPrivateMode);
    EXPECT_EQ(RunFor(0.05, kPrivateMode, true), kCFRunLoopRunTimedOut);
    EXPECT_EQ(timer.fired, 1);
}

TEST(Timer, IsNotFiredAgainByARunInItsCallback) {
    Timer timer(0, 0.001, [] {
        Source keeper;
        keeper.AddTo(kPrivateMode);
        RunFor(0.02);
    });
    timer.AddTo(kPrivateMode);
    RunFor(0.005);
    EXPECT_EQ(timer.fired, 1);
}

TEST(Timer, BelongsToOneLoop) {
    Timer timer(10);
    timer.AddTo(kPrivateMode);
    std::thread([&] {
        CFRunLoopAddTimer(CFRunLoopGetCurrent(), timer.ref, kPrivateMode);
        EXPECT_FALSE(CFRunLoopContainsTimer(CFRunLoopGetCurrent(), timer.ref, kPrivateMode));
    }).join();
    timer.AddTo(CFSTR("another mode"));
    EXPECT_TRUE(CFRunLoopContainsTimer(CFRunLoopGetCurrent(), timer.ref, CFSTR("another mode")));
}

TEST(Timer, IsHeldOncePerModeAndForTheCommonModes) {
    Timer timer(10);
    const CFIndex before = CFGetRetainCount(timer.ref);
    timer.AddTo(kPrivateMode);
    timer.AddTo(kPrivateMode);
    EXPECT_EQ(CFGetRetainCount(timer.ref), before + 1);
    CFRunLoopRemoveTimer(CFRunLoopGetCurrent(), timer.ref, kPrivateMode);
    EXPECT_EQ(CFGetRetainCount(timer.ref), before);
    EXPECT_TRUE(CFRunLoopTimerIsValid(timer.ref));
    timer.AddTo(kPrivateMode);
    EXPECT_TRUE(CFRunLoopContainsTimer(CFRunLoopGetCurrent(), timer.ref, kPrivateMode));
    CFRunLoopTimerInvalidate(timer.ref);
    EXPECT_EQ(CFGetRetainCount(timer.ref), before);
    timer.AddTo(kPrivateMode);
    EXPECT_FALSE(CFRunLoopContainsTimer(CFRunLoopGetCurrent(), timer.ref, kPrivateMode));
}

TEST(Timer, TakesALaterDateFromItsCallback) {
    Timer* self = nullptr;
    const CFAbsoluteTime later = CFAbsoluteTimeGetCurrent() + 50;
    Timer timer(0.005, 0.01, [&] { CFRunLoopTimerSetNextFireDate(self->ref, later); });
    self = &timer;
    timer.AddTo(kPrivateMode);
    RunFor(0.05);
    EXPECT_EQ(timer.fired, 1);
    EXPECT_NEAR(CFRunLoopTimerGetNextFireDate(timer.ref), later, 1e-3);
}

TEST(Timer, MayInvalidateItselfAndOthers) {
    const CFAbsoluteTime date = CFAbsoluteTimeGetCurrent() + 0.01;
    Timer* self = nullptr;
    Timer* other = nullptr;
    Timer first(nullptr, date, 0.01, [&] {
        CFRunLoopTimerInvalidate(self->ref);
        CFRunLoopTimerInvalidate(other->ref);
    });
    Timer second(nullptr, date, 0.01, {});
    self = &first;
    other = &second;
    first.AddTo(kPrivateMode);
    second.AddTo(kPrivateMode);
    EXPECT_EQ(RunFor(5), kCFRunLoopRunFinished);
    EXPECT_EQ(first.fired, 1);
    EXPECT_EQ(second.fired, 0);
}

TEST(Timer, SurroundsItsCallbackWithRetainAndRelease) {
    static int sRetained;
    static int sReleased;
    sRetained = sReleased = 0;
    CFRunLoopTimerContext context{};
    context.retain = [](const void* info) {
        ++sRetained;
        return info;
    };
    context.release = [](const void*) { ++sReleased; };
    CFRunLoopTimerRef timer = CFRunLoopTimerCreate(
        nullptr, CFAbsoluteTimeGetCurrent(), 10, 0, 0, [](CFRunLoopTimerRef, void*) {}, &context);
    EXPECT_EQ(sRetained, 1);
    CFRunLoopAddTimer(CFRunLoopGetCurrent(), timer, kPrivateMode);
    RunFor(0);
    EXPECT_EQ(sRetained, 2);
    EXPECT_EQ(sReleased, 1);
    CFRunLoopTimerInvalidate(timer);
    CFRunLoopTimerInvalidate(timer);
    EXPECT_EQ(sReleased, 2);
    CFRelease(timer);
    EXPECT_EQ(sReleased, 2);
}

}  // namespace
