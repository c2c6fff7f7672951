#pragma once

#include <string>
#include <vector>

#include "platform/linux/keyboard/KeyTap.h"

namespace kivo::test {

/// A keyboard whose keys a test presses, in place of the session's sources. What reaches the
/// session is written down in `session`, as "down 30" and "up 30" by the kernel's key codes.
class ScriptedKeyboard {
  public:
    /// Makes the session's source of key events a scripted one until it is destroyed.
    ScriptedKeyboard();
    ~ScriptedKeyboard();
    ScriptedKeyboard(const ScriptedKeyboard&) = delete;
    ScriptedKeyboard& operator=(const ScriptedKeyboard&) = delete;

    std::vector<std::string> session;

    bool IsHeld() const { return mIsHeld; }
    /// The hand does something; the tap hears of it when the run loop runs.
    void Press(keyboard::KeyCode code) { Type(code, keyboard::Action::kPress); }
    void Release(keyboard::KeyCode code) { Type(code, keyboard::Action::kRelease); }
    void Repeat(keyboard::KeyCode code) { Type(code, keyboard::Action::kRepeat); }
    /// The guard frees the keyboards.
    void BeFreed();

  private:
    class Source;

    void Type(keyboard::KeyCode code, keyboard::Action action);

    Source* mSource = nullptr;
    bool mIsHeld = false;
};

}  // namespace kivo::test
