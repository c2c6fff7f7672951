#include <CoreFoundation/RunLoopMode.h>
#include <errno.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace kivo {
namespace {

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

}  // namespace kivo
