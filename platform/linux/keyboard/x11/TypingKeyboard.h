#pragma once

#include <xcb/xcb.h>

#include <array>
#include <cstdint>

#include "keyboard/KeyGate.h"
#include "keyboard/x11/InputDevices.h"
#include "keyboard/x11/KeyboardMap.h"

namespace kivo::keyboard::x11 {

/// The server's keyboard for programs, on which is typed what is let through. A key means what it
/// does on its own keyboard, so this one gets that one's map.
class TypingKeyboard {
  public:
    /// Of a server that has one. The connection stays the caller's.
    explicit TypingKeyboard(xcb_connection_t* connection);

    /// Takes note of the map, which may be replaced until `Restore`. Waits for the server.
    void TakeOver();
    /// Puts back the map that was there, and counts no key as down any more.
    void Restore();

    /// Type a key of a keyboard that has `map`; null where that is not known. A key that is down on
    /// several keyboards goes down with the first and up with the last. `map` becomes a copy of
    /// what the server made of it. True when the server had to be waited for.
    bool Press(std::uint8_t keycode, KeyboardMap* map);
    bool Release(std::uint8_t keycode, KeyboardMap* map, PressedBy by);

    /// The map that somebody else has given it since it was looked at; none when nobody has. It
    /// stays after `Restore`. Waits for the server.
    KeyboardMap TakeChangedMap();

  private:
    bool UseMap(KeyboardMap* map);
    bool Type(std::uint8_t keycode, KeyboardMap* map, bool isDown);

    xcb_connection_t* const mConnection;
    const DeviceNumber mNumber;
    /// On how many keyboards a key is down that was let through.
    std::array<int, 256> mTyped{};
    /// The map that it has now, as the server keeps it, and had before.
    KeyboardMap mMap;
    KeyboardMap mMapBefore;
};

}  // namespace kivo::keyboard::x11
