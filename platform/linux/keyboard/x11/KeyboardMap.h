#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "keyboard/x11/Xkb.h"

namespace kivo::keyboard::x11 {

/// What the keys of one keyboard mean: the server keeps a map for each.
class KeyboardMap {
  public:
    /// No map: equal to no keyboard's.
    KeyboardMap() = default;
    /// The map of a keyboard; no map when the server does not give it. Waits for the answer.
    static KeyboardMap Read(xcb_connection_t* connection, xcb_xkb_device_spec_t keyboard);

    /// Gives the map to a keyboard. Does not wait. Nothing without a map.
    void Write(xcb_connection_t* connection, xcb_xkb_device_spec_t keyboard) const;

    explicit operator bool() const { return mReply != nullptr; }
    /// Long, some thousand bytes, unless one is a copy of the other.
    bool operator==(const KeyboardMap& other) const;

  private:
    const xcb_xkb_get_map_reply_t& Header() const;
    xcb_xkb_set_map_request_t RequestFor(xcb_xkb_device_spec_t keyboard) const;
    std::vector<std::uint8_t> ValuesToWrite() const;

    /// The server's reply, less what differs between equal maps; copies share it.
    std::shared_ptr<const std::vector<std::uint8_t>> mReply;
};

}  // namespace kivo::keyboard::x11
