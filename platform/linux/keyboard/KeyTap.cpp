#include "keyboard/KeyTap.h"

#include <utility>

#include "Log/LogLine.h"

namespace kivo::keyboard {
namespace {

KeyTap* gCurrent = nullptr;

}  // namespace

KeyTap::KeyTap(std::unique_ptr<KeySource> source, KeyJudge& judge)
    : mSource(std::move(source)), mGate(*mSource, judge) {
    mSource->Attach(mGate);
    gCurrent = this;
}

KeyTap::~KeyTap() {
    Retire();
}

KeyTap* KeyTap::Current() {
    return gCurrent;
}

void KeyTap::Retire() {
    SetWanted(false);
    if (gCurrent == this) gCurrent = nullptr;
}

void KeyTap::Work() {
    mSource->Read();
    HoldOrLetGo();
    {
        // The key first, and then the log of how it was decided.
        const LogPause pause;
        mGate.DecideNext();
    }
    HoldOrLetGo();
}

void KeyTap::SetWanted(bool isWanted) {
    mIsWanted = isWanted;
    HoldOrLetGo();
}

void KeyTap::SetEnabled(bool isEnabled) {
    if (isEnabled) mGate.Enable();
    mIsSwitchedOff = !isEnabled;
    HoldOrLetGo();
}

bool KeyTap::IsEnabled() const {
    return !mIsSwitchedOff && mGate.IsEnabled();
}

/// Brings the hold in line with what is wanted. The gate disables itself in the middle of things,
/// and is then looked at when they are over.
void KeyTap::HoldOrLetGo() {
    const bool isToBeHeld = mIsWanted && IsEnabled();
    if (isToBeHeld == mIsHeld) return;
    mIsHeld = isToBeHeld;
    if (isToBeHeld) {
        mSource->Hold();
        mGate.Hold();
        return;
    }
    // What is still on its way here reached nobody else.
    mSource->Read();
    mGate.LetGo();
    mSource->LetGo();
}

void SetForwardingWanted(bool isWanted) {
    if (gCurrent != nullptr) gCurrent->SetWanted(isWanted);
}

}  // namespace kivo::keyboard
