#include <CoreFoundation/RunLoopMode.h>
#include <unistd.h>

#include <algorithm>

// Running, on the loop's own thread.

namespace kivo {
namespace {

/// A deadline that has passed on every clock.
constexpr LoopInstant kPast{};

}  // namespace

CFRunLoopRunResult RunLoop::Run(CFStringRef modeName, const RunLimits& limits) {
    if (modeName == nullptr || modeName == kCFRunLoopCommonModes) return kCFRunLoopRunFinished;
    std::optional<ActiveRun> run;
    {
        const std::lock_guard lock(RunLoopLock());
        Mode* mode = FindMode(modeName);
        if (mode == nullptr || IsEmpty(*mode)) return kCFRunLoopRunFinished;
        run.emplace(*this, *mode, limits);
    }
    for (;;) {
        if (const auto result = Iterate(*run)) return *result;
    }
}

/// With the lock held.
bool RunLoop::IsEmpty(const Mode& mode) const {
    return mode.items.empty() && !(mIsMain && mode.isCommon);
}

/// One pass: the signalled sources, a wait, then the timers that are due or one ready source.
std::optional<CFRunLoopRunResult> RunLoop::Iterate(ActiveRun& run) {
    Mode& mode = run.mode;
    const RunLimits& limits = run.limits;
    bool handled = PerformSignalled(mode, limits.returnAfterSourceHandled);
    Wait(mode, handled || run.IsEnded() ? kPast : WaitLimit(run));
    if (!FireTimers(mode)) handled |= PerformReady(mode);
    if (handled && limits.returnAfterSourceHandled) return kCFRunLoopRunHandledSource;
    if (limits.deadline && LoopClock::Current().Now() >= *limits.deadline) {
        return kCFRunLoopRunTimedOut;
    }
    if (run.IsEnded()) return kCFRunLoopRunStopped;
    const std::lock_guard lock(RunLoopLock());
    if (IsEmpty(mode)) return kCFRunLoopRunFinished;
    return std::nullopt;
}

bool RunLoop::PerformSignalled(Mode& mode, bool onlyOne) {
    std::vector<CFRef<RunLoopSource*>> signalled;
    {
        const std::lock_guard lock(RunLoopLock());
        for (const auto& item : mode.items) {
            RunLoopSource* source = item.Get()->AsSource();
            if (source != nullptr && source->IsSignalled())
                signalled.push_back(kivo::Retain(source));
        }
    }
    std::stable_sort(signalled.begin(), signalled.end(), [](const auto& one, const auto& other) {
        return one.Get()->Order() < other.Get()->Order();
    });
    bool handled = false;
    for (const auto& source : signalled) {
        if (!source.Get()->IsValid() || !source.Get()->TakeSignal()) continue;
        source.Get()->Perform();
        handled = true;
        if (onlyOne) break;
    }
    return handled;
}

std::optional<LoopInstant> RunLoop::WaitLimit(const ActiveRun& run) {
    std::optional<LoopInstant> limit = run.limits.deadline;
    const std::lock_guard lock(RunLoopLock());
    for (const auto& item : run.mode.items) {
        const RunLoopTimer* timer = item.Get()->AsTimer();
        const auto fire = timer != nullptr ? timer->NextFire() : std::nullopt;
        if (fire && (!limit || *fire < *limit)) limit = fire;
    }
    return limit;
}

void RunLoop::Wait(Mode& mode, std::optional<LoopInstant> deadline) {
    BeginWait(mode);
    const auto hasWork = [](const auto& source) { return source.Get()->HasKeptWork(); };
    if (std::any_of(mode.watched.begin(), mode.watched.end(), hasWork)) deadline = kPast;
    LoopClock::Current().Wait(mode.polled, deadline);
    for (size_t i = 0; i < mode.watched.size(); ++i) {
        if (hasWork(mode.watched[i])) mode.polled[i + 1].revents |= POLLIN;
    }
    EndWait(mode);
}

void RunLoop::BeginWait(Mode& mode) {
    const std::lock_guard lock(RunLoopLock());
    if (!mode.watchIsCurrent) Watch(mode);
    for (pollfd& polled : mode.polled)
        polled.revents = 0;
    mWaiting.store(true, std::memory_order_release);
}

void RunLoop::Watch(Mode& mode) const {
    mode.polled.assign(1, {mWake, POLLIN, 0});
    for (const auto& item : mode.items) {
        RunLoopSource* source = item.Get()->AsSource();
        if (source == nullptr || source->Descriptor() < 0) continue;
        mode.polled.push_back({source->Descriptor(), POLLIN, 0});
        mode.watched.push_back(kivo::Retain(source));
    }
    mode.watchIsCurrent = true;
}

void RunLoop::EndWait(Mode& mode) {
    std::vector<CFRef<RunLoopSource*>> outdated;
    const bool isWoken = mode.polled[0].revents != 0;
    {
        const std::lock_guard lock(RunLoopLock());
        mWaiting.store(false, std::memory_order_release);
        if (!mode.watchIsCurrent) outdated.swap(mode.watched);
    }
    uint64_t count = 0;
    if (isWoken) [[maybe_unused]]
        const ssize_t got = read(mWake, &count, sizeof count);
}

/// Fires the timers that are due, in the order of their dates. While descriptors are ready too the
/// two kinds take turns, so that neither a short timer nor a flood starves the other.
bool RunLoop::FireTimers(Mode& mode) {
    std::vector<std::pair<LoopInstant, CFRef<RunLoopTimer*>>> due;
    const bool isSourceReady =
        std::any_of(mode.polled.begin() + 1, mode.polled.end(),
                    [](const pollfd& polled) { return polled.revents != 0; });
    if (std::exchange(mode.timersHadTheirTurn, false) && isSourceReady) return false;
    std::optional<LoopInstant> now;
    {
        const std::lock_guard lock(RunLoopLock());
        for (const auto& item : mode.items) {
            RunLoopTimer* timer = item.Get()->AsTimer();
            const auto fire = timer != nullptr ? timer->NextFire() : std::nullopt;
            if (fire && !now) now = LoopClock::Current().Now();
            if (fire && *fire <= *now) due.emplace_back(*fire, kivo::Retain(timer));
        }
    }
    if (due.empty()) return false;
    std::stable_sort(due.begin(), due.end(),
                     [](const auto& one, const auto& other) { return one.first < other.first; });
    for (const auto& [fire, timer] : due)
        timer.Get()->FireIfDue(*now);
    mode.timersHadTheirTurn = true;
    return true;
}

bool RunLoop::PerformReady(Mode& mode) {
    const auto source = TakeReady(mode);
    return source && source.Get()->IsValid() && source.Get()->Perform();
}

/// The next ready source in turn. A descriptor that was closed under its source would be ready for
/// ever: its source is invalidated.
CFRef<RunLoopSource*> RunLoop::TakeReady(Mode& mode) {
    CFRef<RunLoopSource*> ready;
    short events = 0;
    {
        const std::lock_guard lock(RunLoopLock());
        if (!mode.watchIsCurrent) return {};
        const size_t count = mode.watched.size();
        for (size_t i = 0; i < count && !ready; ++i) {
            const size_t candidate = (mode.turn + i) % count;
            events = mode.polled[candidate + 1].revents;
            if (events == 0) continue;
            ready = mode.watched[candidate];
            mode.turn = candidate + 1;
        }
    }
    if (ready && (events & POLLNVAL) != 0) ready.Get()->Invalidate();
    return ready;
}

}  // namespace kivo
