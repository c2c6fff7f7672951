#include <CoreFoundation/RunLoop.h>
#include <errno.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace kivo {
namespace {

/// A deadline that has passed on every clock.
constexpr LoopInstant kPast{};

std::vector<RunLoop*>& AllLoops() {
    // Never destroyed: threads may outlive the end of main.
    static auto& loops = *new std::vector<RunLoop*>;
    return loops;
}

auto Find(const std::vector<CFRef<RunLoopItem*>>& items, const RunLoopItem& item) {
    return std::find_if(items.begin(), items.end(),
                        [&](const auto& held) { return held.Get() == &item; });
}

bool Has(const std::vector<CFRef<RunLoopItem*>>& items, const RunLoopItem& item) {
    return Find(items, item) != items.end();
}

}  // namespace

std::mutex& RunLoopLock() {
    static std::mutex lock;
    return lock;
}

struct RunLoop::Mode {
    CFRef<CFStringRef> name;
    bool isCommon = false;
    Items items;
    /// Whether what the loop watches is still what is in the mode.
    bool watchIsCurrent = false;

    // What a wait watches: the wake descriptor first, then that of each source.
    std::vector<pollfd> polled;
    std::vector<CFRef<RunLoopSource*>> watched;
    /// Where in `watched` the search for a ready source begins.
    size_t turn = 0;
    bool timersHadTheirTurn = false;

    /// With the lock held, and the changed item retained by the caller.
    void Changed(bool isBeingWaitedFor) {
        watchIsCurrent = false;
        if (!isBeingWaitedFor) watched.clear();
    }
};

/// One run of a loop; runs nest.
struct RunLoop::ActiveRun {
    ActiveRun(RunLoop& runLoop, Mode& runMode, const RunLimits& runLimits)
        : loop(runLoop),
          mode(runMode),
          limits(runLimits),
          outer(std::exchange(runLoop.mInnermost, this)) {}
    ~ActiveRun() {
        const std::lock_guard lock(RunLoopLock());
        loop.mInnermost = outer;
    }
    ActiveRun(const ActiveRun&) = delete;
    ActiveRun& operator=(const ActiveRun&) = delete;

    bool IsEnded() const {
        return isStopped.load(std::memory_order_acquire) ||
               (limits.until != nullptr && limits.until->load(std::memory_order_acquire));
    }

    RunLoop& loop;
    Mode& mode;
    const RunLimits& limits;
    ActiveRun* const outer;
    std::atomic<bool> isStopped{false};
};

/// Keeps a thread's loop until the thread ends.
class RunLoop::ThreadLoop {
  public:
    ThreadLoop() = default;
    ~ThreadLoop() {
        if (mLoop == nullptr || mLoop->mIsMain) return;
        mLoop->Dismantle();
        mLoop->Release();
    }
    ThreadLoop(const ThreadLoop&) = delete;
    ThreadLoop& operator=(const ThreadLoop&) = delete;

    RunLoop& Get() {
        if (mLoop == nullptr) mLoop = gettid() == getpid() ? &Main() : new RunLoop(false);
        return *mLoop;
    }

  private:
    RunLoop* mLoop = nullptr;
};

RunLoop::RunLoop(bool isMain) : mIsMain(isMain), mWake(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    const std::lock_guard lock(RunLoopLock());
    FindOrMakeMode(kCFRunLoopDefaultMode).isCommon = true;
    AllLoops().push_back(this);
}

RunLoop::~RunLoop() {
    close(mWake);
}

RunLoop& RunLoop::Main() {
    static RunLoop& main = *new RunLoop(true);
    return main;
}

RunLoop& RunLoop::Current() {
    thread_local ThreadLoop current;
    return current.Get();
}

CFTypeID RunLoop::TypeID() const {
    return CFRunLoopGetTypeID();
}

// Modes and what is in them.

RunLoop::Mode* RunLoop::FindMode(CFStringRef name) const {
    for (const auto& mode : mModes) {
        if (mode->name.Get() == name || CFEqual(mode->name.Get(), name)) return mode.get();
    }
    return nullptr;
}

RunLoop::Mode& RunLoop::FindOrMakeMode(CFStringRef name) {
    if (Mode* mode = FindMode(name)) return *mode;
    mModes.push_back(std::make_unique<Mode>());
    mModes.back()->name = kivo::Retain(name);
    return *mModes.back();
}

/// The modes that a name stands for: all common ones for the name that means them.
std::vector<RunLoop::Mode*> RunLoop::ModesNamed(CFStringRef name, bool mayMake) {
    std::vector<Mode*> modes;
    if (name == kCFRunLoopCommonModes) {
        for (const auto& mode : mModes) {
            if (mode->isCommon) modes.push_back(mode.get());
        }
    } else if (mayMake) {
        modes.push_back(&FindOrMakeMode(name));
    } else if (Mode* mode = FindMode(name)) {
        modes.push_back(mode);
    }
    return modes;
}

void RunLoop::AddCommonMode(CFStringRef name) {
    std::vector<CFRef<RunLoopItem*>> added;
    {
        const std::lock_guard lock(RunLoopLock());
        Mode& mode = FindOrMakeMode(name);
        if (std::exchange(mode.isCommon, true)) return;
        for (const auto& item : mCommonItems) {
            if (Has(mode.items, *item.Get())) continue;
            mode.items.push_back(item);
            added.push_back(item);
        }
        mode.Changed(mWaiting);
        NoticeChange();
    }
    for (const auto& item : added)
        item.Get()->WasAdded(*this, name);
}

void RunLoop::Add(RunLoopItem& item, CFStringRef modeName) {
    std::vector<Mode*> entered;
    {
        const std::lock_guard lock(RunLoopLock());
        if (!item.IsValid() || (item.BelongsToOneLoop() && IsElsewhere(item))) return;
        if (modeName == kCFRunLoopCommonModes && !Has(mCommonItems, item)) {
            mCommonItems.push_back(kivo::Retain(&item));
        }
        for (Mode* mode : ModesNamed(modeName, true)) {
            if (Has(mode->items, item)) continue;
            mode->items.push_back(kivo::Retain(&item));
            mode->Changed(mWaiting);
            entered.push_back(mode);
        }
        NoticeChange();
    }
    for (const Mode* mode : entered)
        item.WasAdded(*this, mode->name.Get());
}

void RunLoop::Remove(RunLoopItem& item, CFStringRef modeName) {
    const auto keep = kivo::Retain(&item);
    std::vector<Mode*> left;
    {
        const std::lock_guard lock(RunLoopLock());
        if (modeName == kCFRunLoopCommonModes) {
            const auto found = Find(mCommonItems, item);
            if (found == mCommonItems.end()) return;
            mCommonItems.erase(found);
        }
        left = EraseFrom(ModesNamed(modeName, false), item);
        NoticeChange();
    }
    NotifyRemoved(item, left);
}

bool RunLoop::Contains(const RunLoopItem& item, CFStringRef modeName) const {
    const std::lock_guard lock(RunLoopLock());
    if (modeName == kCFRunLoopCommonModes) return Has(mCommonItems, item);
    const Mode* mode = FindMode(modeName);
    return mode != nullptr && Has(mode->items, item);
}

bool RunLoop::Holds(const RunLoopItem& item) const {
    return Has(mCommonItems, item) ||
           std::any_of(mModes.begin(), mModes.end(),
                       [&](const auto& mode) { return Has(mode->items, item); });
}

bool RunLoop::IsElsewhere(const RunLoopItem& item) const {
    return std::any_of(AllLoops().begin(), AllLoops().end(),
                       [&](const RunLoop* loop) { return loop != this && loop->Holds(item); });
}

std::vector<RunLoop::Mode*> RunLoop::EraseFrom(const std::vector<Mode*>& modes,
                                               const RunLoopItem& item) {
    std::vector<Mode*> left;
    for (Mode* mode : modes) {
        const auto found = Find(mode->items, item);
        if (found == mode->items.end()) continue;
        mode->items.erase(found);
        mode->Changed(mWaiting);
        left.push_back(mode);
    }
    return left;
}

std::vector<RunLoop::Mode*> RunLoop::EraseEverywhere(const RunLoopItem& item) {
    const auto common = Find(mCommonItems, item);
    if (common != mCommonItems.end()) mCommonItems.erase(common);
    std::vector<Mode*> all;
    for (const auto& mode : mModes)
        all.push_back(mode.get());
    return EraseFrom(all, item);
}

void RunLoop::NotifyRemoved(RunLoopItem& item, const std::vector<Mode*>& modes) {
    for (const Mode* mode : modes)
        item.WasRemoved(*this, mode->name.Get());
}

void RunLoop::RemoveFromAllLoops(RunLoopItem& item) {
    const auto keep = kivo::Retain(&item);
    std::vector<std::pair<CFRef<RunLoop*>, std::vector<Mode*>>> left;
    {
        const std::lock_guard lock(RunLoopLock());
        for (RunLoop* loop : AllLoops()) {
            if (!loop->Holds(item)) continue;
            left.emplace_back(kivo::Retain(loop), loop->EraseEverywhere(item));
            loop->NoticeChange();
        }
    }
    for (const auto& [loop, modes] : left)
        loop.Get()->NotifyRemoved(item, modes);
}

void RunLoopItem::Invalidate() {
    const auto keep = kivo::Retain(this);
    if (!mValid.exchange(false, std::memory_order_acq_rel)) return;
    RunLoop::RemoveFromAllLoops(*this);
    WasInvalidated();
}

void RunLoop::Dismantle() {
    Items items;
    {
        const std::lock_guard lock(RunLoopLock());
        std::erase(AllLoops(), this);
        items = mCommonItems;
        for (const auto& mode : mModes) {
            items.insert(items.end(), mode->items.begin(), mode->items.end());
        }
    }
    for (const auto& item : items) {
        std::vector<Mode*> left;
        {
            const std::lock_guard lock(RunLoopLock());
            left = EraseEverywhere(*item.Get());
        }
        NotifyRemoved(*item.Get(), left);
    }
}

// From any thread.

/// A loop that waits now was told of a change by another thread, and has to look anew.
void RunLoop::NoticeChange() const {
    if (mWaiting) WakeUp();
}

void RunLoop::TimerMoved(const RunLoopTimer& timer) {
    for (const RunLoop* loop : AllLoops()) {
        if (loop->mWaiting && loop->Holds(timer)) loop->WakeUp();
    }
}

void RunLoop::WakeUp() const {
    const int savedErrno = errno;
    const uint64_t one = 1;
    // Fails only when the counter is full, and then the loop is woken anyway.
    [[maybe_unused]] const ssize_t written = write(mWake, &one, sizeof one);
    errno = savedErrno;
}

void RunLoop::Stop() {
    const std::lock_guard lock(RunLoopLock());
    if (mInnermost == nullptr) return;
    mInnermost->isStopped.store(true, std::memory_order_release);
    NoticeChange();
}

CFStringRef RunLoop::CopyCurrentMode() const {
    const std::lock_guard lock(RunLoopLock());
    return mInnermost == nullptr ? nullptr : CFRef(mInnermost->mode.name).Release();
}

// Running, on the loop's own thread.

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
