#pragma once

namespace kivo::keyboard {

/// Keyboards that the guard can give back to the session, whatever state the daemon is in.
class Ward {
  public:
    virtual ~Ward() = default;
    /// Takes in what has come since the last time; called every `kLook` while keyboards are held.
    virtual void Listen() {}
    /// Takes the keyboards from the daemon for good, and releases in the session what is up in the
    /// hand. May wait for the display server.
    virtual void Free() = 0;
};

}  // namespace kivo::keyboard
