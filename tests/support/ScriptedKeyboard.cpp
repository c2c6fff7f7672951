#include "tests/support/ScriptedKeyboard.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <memory>
#include <utility>

namespace kivo::test {

using keyboard::Action;
using keyboard::DeviceID;
using keyboard::KeyCode;

class ScriptedKeyboard::Source final : public keyboard::KeySource {
  public:
    explicit Source(ScriptedKeyboard& script) : mScript(&script) { script.mSource = this; }
    ~Source() override {
        if (mScript != nullptr) mScript->mSource = nullptr;
        close(mEvents);
    }
    /// The tap lives on when the test is over.
    void LoseScript() { mScript = nullptr; }

    const char* Name() const override { return "scripted"; }
    void Attach(keyboard::KeyGate& gate) override { mGate = &gate; }
    int Descriptor() const override { return mEvents; }
    void Hold() override {
        mGate->Open(kDevice, {});
        if (mScript != nullptr) mScript->mIsHeld = true;
    }
    void LetGo() override {
        if (mScript != nullptr) mScript->mIsHeld = false;
    }

    void Read() override {
        eventfd_t count = 0;
        eventfd_read(mEvents, &count);
        for (const keyboard::KeyEvent& event : std::exchange(mTyped, {})) {
            mGate->Feed(event);
        }
        if (!std::exchange(mIsFreed, false)) return;
        mGate->Forget();
        mGate->Disable(keyboard::DisabledBy::kTimeout);
    }

    void Press(DeviceID, KeyCode code) override { Note("down ", code); }
    void Release(DeviceID, KeyCode code, keyboard::PressedBy) override { Note("up ", code); }
    void Close(DeviceID) override {}

    void Type(KeyCode code, Action action) {
        mTyped.push_back({kDevice, code, action});
        eventfd_write(mEvents, 1);
    }
    void BeFreed() {
        mIsFreed = true;
        eventfd_write(mEvents, 1);
    }

  private:
    static constexpr DeviceID kDevice = 1;

    void Note(const char* what, KeyCode code) {
        if (mScript != nullptr) mScript->session.push_back(what + std::to_string(code));
    }

    ScriptedKeyboard* mScript;
    keyboard::KeyGate* mGate = nullptr;
    const int mEvents = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    std::vector<keyboard::KeyEvent> mTyped;
    bool mIsFreed = false;
};

ScriptedKeyboard::ScriptedKeyboard() {
    keyboard::InstallSource([this] { return std::make_unique<Source>(*this); });
}

ScriptedKeyboard::~ScriptedKeyboard() {
    keyboard::InstallSource(nullptr);
    if (mSource != nullptr) mSource->LoseScript();
    if (keyboard::KeyTap* const tap = keyboard::KeyTap::Current()) tap->Retire();
}

void ScriptedKeyboard::Type(KeyCode code, Action action) {
    if (mSource != nullptr) mSource->Type(code, action);
}

void ScriptedKeyboard::BeFreed() {
    if (mSource != nullptr) mSource->BeFreed();
}

}  // namespace kivo::test
