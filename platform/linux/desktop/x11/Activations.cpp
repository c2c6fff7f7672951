#include "desktop/x11/Activations.h"

#include <CoreFoundation/RunLoopSeams.h>

#include <utility>

namespace kivo::desktop::x11 {
namespace {

/// Window managers name nobody for a few milliseconds at most when they only move the focus.
constexpr CFTimeInterval kPassingSeconds = 0.030;

}  // namespace

Activations::Activations(Connection& connection, WindowManager& manager, DesktopFiles& files)
    : mConnection(connection), mManager(manager), mFiles(files) {}

Activations::~Activations() {
    EndNobodyTimer();
    EndSource();
}

std::optional<Application> Activations::Front() {
    Question question(mConnection);
    std::optional<Owner> owner;
    if (!question.IsAnswered() || !ReadFrontOwner(question, mManager, owner)) return std::nullopt;
    if (!mActivated) mOwner = KeyOf(owner);
    if (!owner) return std::nullopt;
    return owner->Identified(mFiles.UpToDate());
}

void Activations::Observe(std::function<void(const Application&)> activated) {
    mActivated = std::move(activated);
    if (!mActivated) {
        EndNobodyTimer();
        EndSource();
        mOwner.reset();
    } else if (!mSource) {
        StartSource();
        mUnsettled = true;
    }
}

void Activations::StartSource() {
    const DescriptorSourceContext context{this, &Activations::Perform, &Activations::IsReady};
    mSource = Adopt(CreateDescriptorSource(mConnection.Descriptor(), context));
    CFRunLoopAddSource(CFRunLoopGetMain(), mSource.Get(), kCFRunLoopCommonModes);
}

void Activations::EndSource() {
    if (mSource) CFRunLoopSourceInvalidate(mSource.Get());
    mSource = {};
}

bool Activations::IsReady(void* info) noexcept {
    auto& self = *static_cast<Activations*>(info);
    self.NoteChanges(self.mConnection.TakeEventsRead());
    return self.mUnsettled && !self.mConnection.IsStalled();
}

void Activations::Perform(void* info) noexcept try {
    auto& self = *static_cast<Activations*>(info);
    self.NoteChanges(self.mConnection.TakeEvents());
    if (self.mConnection.IsBroken()) return self.EndSource();
    if (self.mUnsettled && !self.mConnection.IsStalled()) self.Settle();
} catch (...) {
    // Out of memory while an activation was looked into: it goes unreported.
}

void Activations::NoteChanges(unsigned long changes) {
    if (changes != mChangesSeen) mUnsettled = true;
    mChangesSeen = changes;
}

void Activations::Settle() {
    Question question(mConnection);
    std::optional<Owner> owner;
    if (!question.IsAnswered() || !ReadFrontOwner(question, mManager, owner)) return;
    mUnsettled = false;
    const bool nobodyLasted = std::exchange(mNobodyLasted, false);
    if (owner) return SettleOn(*owner);
    if (!mOwner || nobodyLasted) {
        mOwner = OwnerKey();
    } else if (*mOwner != OwnerKey()) {
        StartNobodyTimer();
    }
}

void Activations::SettleOn(const Owner& owner) {
    EndNobodyTimer();
    OwnerKey key = KeyOf(owner);
    const bool isFirst = !mOwner;
    if (mOwner == key) return;
    mOwner = std::move(key);
    if (isFirst) return;
    // A copy, for the one who is told may end the observation.
    const auto activated = mActivated;
    activated(owner.Identified(mFiles.UpToDate()));
}

Activations::OwnerKey Activations::KeyOf(const std::optional<Owner>& owner) {
    if (!owner) return std::monostate();
    if (owner->processID > 0) return owner->processID;
    return owner->Identified(mFiles.UpToDate()).bundleID;
}

void Activations::StartNobodyTimer() {
    if (mNobodyTimer) return;
    CFRunLoopTimerContext context{0, this, nullptr, nullptr, nullptr};
    mNobodyTimer = Adopt(CFRunLoopTimerCreate(nullptr, CFAbsoluteTimeGetCurrent() + kPassingSeconds,
                                              0, 0, 0, &Activations::NobodyLasted, &context));
    CFRunLoopAddTimer(CFRunLoopGetMain(), mNobodyTimer.Get(), kCFRunLoopCommonModes);
}

void Activations::EndNobodyTimer() {
    if (mNobodyTimer) CFRunLoopTimerInvalidate(mNobodyTimer.Get());
    mNobodyTimer = {};
}

void Activations::NobodyLasted(CFRunLoopTimerRef, void* info) noexcept try {
    auto& self = *static_cast<Activations*>(info);
    self.EndNobodyTimer();
    self.mNobodyLasted = true;
    self.mUnsettled = true;
    if (!self.mConnection.IsStalled()) self.Settle();
} catch (...) {
    // As in Perform.
}

}  // namespace kivo::desktop::x11
