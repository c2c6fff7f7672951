#pragma once

#include <functional>
#include <memory>

#include "keyboard/KeyGate.h"

namespace kivo::keyboard {

/// Something in the session that can hold back the events of its keyboards: it feeds them to a
/// gate, and does to the session what the gate says. Everything belongs to the main thread, and
/// nothing throws.
class KeySource : public KeySession {
  public:
    /// What the log calls it.
    virtual const char* Name() const = 0;
    /// Called once, before anything else. The gate outlives every other call.
    virtual void Attach(KeyGate& gate) = 0;
    /// Readable when `Read` has something to do; the same for the source's whole life.
    virtual int Descriptor() const = 0;
    /// Feeds the gate what has come; does not wait.
    virtual void Read() = 0;
    /// Takes hold of the keyboards, of those too that come later, and opens each at the gate.
    virtual void Hold() = 0;
    /// Gives the keyboards back, and listens on for as long as the gate owes them something.
    virtual void LetGo() = 0;
};

/// What can hold key events back here: evdev with uinput, else X11, else null. KIVO_KEYBOARD in the
/// environment, "evdev", "x11" or "none", has only that one tried. Takes hold of nothing.
std::unique_ptr<KeySource> ChooseSource();

/// Has `ChooseSource` make its sources by `make`; null for the session's own again. For tests.
void InstallSource(std::function<std::unique_ptr<KeySource>()> make);

}  // namespace kivo::keyboard
