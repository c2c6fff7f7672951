#pragma once

#include <string>
#include <vector>

#include "keyboard/KeyGate.h"

namespace kivo::test {

/// Plays a script of lines to a gate and writes down what the gate does, a line each.
///
///     hold | let go | enable      what the tap's user wants
///     down KEY | up KEY | repeat KEY
///     overheard down KEY ...      the same of a keyboard that is not held
///     open [KEY...] | close       the keyboard is taken with these keys down; is gone
///     owing                       asks whether something is owed to the keyboard
///     caps on | caps off          the session's Caps Lock
///     freed                       the guard freed the keyboards
///     answer pass | answer swallow | answer swallow once
///     > LINE                      the same, while the judge is asked the next time
///     burst | end burst           what is between is fed before anything is decided
///
/// A line that begins with "2:" is about a second keyboard. Keys are the kernel's names without
/// "KEY_", in small letters.
class KeyScript final : keyboard::KeySession, keyboard::KeyJudge {
  public:
    /// Throws std::runtime_error for a line that it does not know.
    void Play(const std::string& line);
    const std::vector<std::string>& Happened() const { return mHappened; }

  private:
    using Words = std::vector<std::string>;

    void Press(keyboard::DeviceID device, keyboard::KeyCode code) override;
    void Release(keyboard::DeviceID device, keyboard::KeyCode code,
                 keyboard::PressedBy by) override;
    void Close(keyboard::DeviceID device) override;
    bool LetsThrough(const keyboard::TappedKey& key) override;
    void TapDisabled(keyboard::DisabledBy reason) override;

    void Execute(const std::string& line);
    bool PlayKeyboard(keyboard::DeviceID device, Words words);
    bool PlayUser(const Words& words);
    void TakeAnswer(const Words& words);
    void PlayMeanwhile();
    void Note(keyboard::DeviceID device, const std::string& text);

    keyboard::KeyGate mGate{*this, *this};
    std::vector<std::string> mHappened;
    std::vector<std::string> mMeanwhile;
    bool mSwallows = false;
    bool mSwallowsOnce = false;
    bool mIsBurst = false;
};

}  // namespace kivo::test
