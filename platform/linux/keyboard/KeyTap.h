#pragma once

#include <memory>

#include "keyboard/KeyGate.h"
#include "keyboard/KeySource.h"

namespace kivo::keyboard {

/// The session's one tap: a source, the gate that it feeds, and when the keyboards are held, which
/// is while forwarding is wanted and the tap is enabled.
class KeyTap {
  public:
    /// `judge` must outlive the tap. Becomes the current tap.
    KeyTap(std::unique_ptr<KeySource> source, KeyJudge& judge);
    ~KeyTap();
    KeyTap(const KeyTap&) = delete;
    KeyTap& operator=(const KeyTap&) = delete;

    /// The tap that there is; null when there is none.
    static KeyTap* Current();
    /// Lets go for ever and makes room for another tap. For tests, which the tap outlives.
    void Retire();

    int Descriptor() const { return mSource->Descriptor(); }
    bool HasWork() const { return mGate.HasWork(); }
    /// Takes in what the source has, and has the gate take one step. Also while a step that waits
    /// for an answer runs the loop: then only the first.
    void Work();

    void SetWanted(bool isWanted);
    void SetEnabled(bool isEnabled);
    bool IsEnabled() const;

  private:
    void HoldOrLetGo();

    std::unique_ptr<KeySource> mSource;
    KeyGate mGate;
    bool mIsWanted = false;
    bool mIsSwitchedOff = false;
    bool mIsHeld = false;
};

/// Says whether key events are wanted now; nothing without a tap.
void SetForwardingWanted(bool isWanted);

}  // namespace kivo::keyboard
