#include "tests/unit/keyboard/KeyScript.h"

#include <libevdev/libevdev.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace kivo::test {

using keyboard::Action;
using keyboard::DeviceID;
using keyboard::KeyCode;

namespace {

std::string WithCase(std::string text, int (*convert)(int)) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [convert](unsigned char letter) { return static_cast<char>(convert(letter)); });
    return text;
}

KeyCode CodeOf(const std::string& name) {
    const std::string kernelName = "KEY_" + WithCase(name, std::toupper);
    const int code = libevdev_event_code_from_name(EV_KEY, kernelName.c_str());
    if (code < 0) throw std::runtime_error("no key is called " + name);
    return static_cast<KeyCode>(code);
}

std::string NameOf(KeyCode code) {
    const std::string kernelName = libevdev_event_code_get_name(EV_KEY, code);
    return WithCase(kernelName.substr(std::string("KEY_").size()), std::tolower);
}

std::vector<KeyCode> CodesOf(std::vector<std::string>::const_iterator first,
                             std::vector<std::string>::const_iterator last) {
    std::vector<KeyCode> codes;
    std::transform(first, last, std::back_inserter(codes), CodeOf);
    return codes;
}

}  // namespace

void KeyScript::Play(const std::string& line) {
    if (line.starts_with('>')) {
        mMeanwhile.push_back(line.substr(1));
        return;
    }
    Execute(line);
    while (!mIsBurst && mGate.HasWork()) {
        mGate.DecideNext();
    }
}

void KeyScript::Execute(const std::string& line) {
    std::istringstream stream(line);
    Words words{std::istream_iterator<std::string>(stream), {}};
    DeviceID device = 1;
    if (!words.empty() && words.front() == "2:") {
        device = 2;
        words.erase(words.begin());
    }
    if (words.empty() || words.front().starts_with('#')) return;
    if (!PlayKeyboard(device, words) && !PlayUser(words)) {
        throw std::runtime_error("not understood: " + line);
    }
}

bool KeyScript::PlayKeyboard(DeviceID device, Words words) {
    const bool isOverheard = words.front() == "overheard";
    if (isOverheard) words.erase(words.begin());
    const std::string& verb = words.front();
    const auto feed = [&](Action action) {
        const keyboard::KeyEvent event{device, CodeOf(words.at(1)), action};
        isOverheard ? mGate.Overhear(event) : mGate.Feed(event);
    };
    if (verb == "down")
        feed(Action::kPress);
    else if (verb == "up")
        feed(Action::kRelease);
    else if (verb == "repeat")
        feed(Action::kRepeat);
    else if (verb == "open")
        mGate.Open(device, CodesOf(words.begin() + 1, words.end()));
    else if (verb == "close")
        mGate.Close(device);
    else if (verb == "owing")
        Note(device, mGate.IsOwing(device) ? "something is owed" : "nothing is owed");
    else
        return false;
    return true;
}

bool KeyScript::PlayUser(const Words& words) {
    const std::string& verb = words.front();
    if (verb == "hold")
        mGate.Hold();
    else if (verb == "let")
        mGate.LetGo();
    else if (verb == "enable")
        mGate.Enable();
    else if (verb == "caps")
        mGate.SetCapsLock(words.at(1) == "on");
    else if (verb == "answer")
        TakeAnswer(words);
    else if (verb == "burst")
        mIsBurst = true;
    else if (verb == "end")
        mIsBurst = false;
    else if (verb == "freed") {
        mGate.Forget();
        mGate.Disable(keyboard::DisabledBy::kTimeout);
    } else
        return false;
    return true;
}

void KeyScript::TakeAnswer(const Words& words) {
    mSwallows = words.at(1) == "swallow";
    mSwallowsOnce = words.size() > 2;
}

void KeyScript::PlayMeanwhile() {
    const std::vector<std::string> lines = std::move(mMeanwhile);
    mMeanwhile.clear();
    for (const std::string& line : lines) {
        Execute(line);
        // What a nested run of the loop would do: nothing may be decided now.
        if (mGate.HasWork()) Note(1, "decides although it is asking");
        mGate.DecideNext();
    }
}

void KeyScript::Press(DeviceID device, KeyCode code) {
    Note(device, "press " + NameOf(code));
}

void KeyScript::Release(DeviceID device, KeyCode code, keyboard::PressedBy by) {
    const bool isBefore = by == keyboard::PressedBy::kDevice;
    Note(device, "release " + NameOf(code) + (isBefore ? " of the keyboard itself" : ""));
}

void KeyScript::Close(DeviceID device) {
    Note(device, "close");
}

bool KeyScript::LetsThrough(const keyboard::TappedKey& key) {
    char text[80];
    std::snprintf(text, sizeof text, "ask %s 0x%02X flags 0x%llX%s", key.isDown ? "down" : "up",
                  unsigned{key.virtualCode}, static_cast<unsigned long long>(key.flags),
                  key.isRepeat ? " repeat" : "");
    mHappened.emplace_back(text);
    PlayMeanwhile();
    const bool isLetThrough = !mSwallows;
    if (mSwallowsOnce) mSwallows = mSwallowsOnce = false;
    return isLetThrough;
}

void KeyScript::TapDisabled(keyboard::DisabledBy reason) {
    const bool isByUser = reason == keyboard::DisabledBy::kUserInput;
    mHappened.push_back(isByUser ? "disabled by user input" : "disabled by time-out");
    PlayMeanwhile();
}

void KeyScript::Note(DeviceID device, const std::string& text) {
    mHappened.push_back(device == 1 ? text : std::to_string(device) + ": " + text);
}

}  // namespace kivo::test
