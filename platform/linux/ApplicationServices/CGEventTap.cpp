#include <ApplicationServices/CGEvent.h>
#include <CoreFoundation/CFMachPortSeams.h>
#include <CoreFoundation/WithoutExceptions.h>

#include <memory>
#include <utility>

#include "ApplicationServices/CGEventSeams.h"
#include "keyboard/KeyTap.h"

namespace kivo {
namespace {

using keyboard::DisabledBy;
using keyboard::KeySource;
using keyboard::KeyTap;
using keyboard::TappedKey;

/// A tap: the keys that a source can hold, and the callback that decides on them.
class EventTap final : public MachPortClient, keyboard::KeyJudge {
  public:
    EventTap(std::unique_ptr<KeySource> source, CGEventTapOptions options, CGEventMask mask,
             CGEventTapCallBack callback, void* userInfo)
        : mOptions(options),
          mMask(mask),
          mCallback(callback),
          mUserInfo(userInfo),
          mTap(std::move(source), *this) {}

    int Descriptor() const override { return mTap.Descriptor(); }
    bool HasWork() override { return mTap.HasWork(); }
    void Deliver() override { mTap.Work(); }

    KeyTap& Tap() { return mTap; }

  private:
    bool LetsThrough(const TappedKey& key) override {
        const CGEventType type = key.isDown ? kCGEventKeyDown : kCGEventKeyUp;
        if ((mMask & CGEventMaskBit(type)) == 0) return true;
        const auto event = MakeEvent(type);
        EventOf(event.Get()).flags = key.flags;
        EventOf(event.Get()).keyCode = key.virtualCode;
        EventOf(event.Get()).autorepeat = key.isRepeat ? 1 : 0;
        const CGEventRef answer = Call(type, event.Get());
        return answer != nullptr || mOptions == kCGEventTapOptionListenOnly;
    }

    void TapDisabled(DisabledBy reason) override {
        const CGEventType type = reason == DisabledBy::kTimeout ? kCGEventTapDisabledByTimeout
                                                                : kCGEventTapDisabledByUserInput;
        Call(type, MakeEvent(type).Get());
    }

    /// Returns the callback's answer, for comparison with null only.
    CGEventRef Call(CGEventType type, CGEventRef event) {
        const CGEventRef answer = mCallback(nullptr, type, event, mUserInfo);
        const bool isAnother = answer != nullptr && answer != event;
        if (isAnother) CFRelease(answer);
        return answer;
    }

    const CGEventTapOptions mOptions;
    const CGEventMask mMask;
    const CGEventTapCallBack mCallback;
    void* const mUserInfo;
    KeyTap mTap;
};

CFMachPortRef CreateTap(CGEventTapOptions options, CGEventMask mask, CGEventTapCallBack callback,
                        void* userInfo) {
    if (KeyTap::Current() != nullptr) return nullptr;
    auto source = keyboard::ChooseSource();
    if (!source) return nullptr;
    return CreateMachPort(
        std::make_shared<EventTap>(std::move(source), options, mask, callback, userInfo));
}

}  // namespace
}  // namespace kivo

CFMachPortRef CGEventTapCreate(CGEventTapLocation tap, CGEventTapPlacement,
                               CGEventTapOptions options, CGEventMask eventsOfInterest,
                               CGEventTapCallBack callback, void* userInfo) {
    constexpr CGEventMask kKeys = CGEventMaskBit(kCGEventKeyDown) | CGEventMaskBit(kCGEventKeyUp);
    if (tap != kCGSessionEventTap || callback == nullptr || (eventsOfInterest & kKeys) == 0) {
        return nullptr;
    }
    return kivo::WithoutExceptions<CFMachPortRef>(
        nullptr, [&] { return kivo::CreateTap(options, eventsOfInterest, callback, userInfo); });
}

void CGEventTapEnable(CFMachPortRef tap, bool enable) {
    auto* const client = static_cast<kivo::EventTap*>(kivo::ClientOf(tap));
    if (client != nullptr) client->Tap().SetEnabled(enable);
}

bool CGEventTapIsEnabled(CFMachPortRef tap) {
    auto* const client = static_cast<kivo::EventTap*>(kivo::ClientOf(tap));
    return client != nullptr && client->Tap().IsEnabled();
}
