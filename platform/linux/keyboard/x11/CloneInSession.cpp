#include "keyboard/x11/CloneInSession.h"

#include <memory>
#include <optional>
#include <string_view>

#include "CoreFoundation/PipeSignalBlocked.h"
#include "keyboard/x11/InputDevices.h"
#include "keyboard/x11/KeyboardMap.h"
#include "keyboard/x11/RepeatRate.h"
#include "keyboard/x11/Xkb.h"

namespace kivo::keyboard::x11 {
namespace {

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

/// The path of the device node that the server reads a keyboard from; empty when it does not say.
std::string NodeOf(xcb_connection_t* connection, DeviceNumber keyboard, xcb_atom_t property) {
    constexpr std::uint32_t kLongest = 64;  // words of four bytes
    const auto cookie =
        xcb_input_xi_get_property(connection, keyboard, 0, property, XCB_ATOM_STRING, 0, kLongest);
    const Reply<xcb_input_xi_get_property_reply_t> reply(
        xcb_input_xi_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 8) return {};
    const auto* const text = static_cast<const char*>(xcb_input_xi_get_property_items(reply.get()));
    // It is written with the zero that ends it.
    const std::string_view node(text, reply->num_items);
    return std::string(node.substr(0, node.find('\0')));
}

std::optional<DeviceNumber> KeyboardAt(xcb_connection_t* connection, const std::string& node) {
    const xcb_atom_t property = AtomOf(connection, "Device Node");
    if (property == XCB_ATOM_NONE) return std::nullopt;
    for (const Keyboard& one : AttachedKeyboards(connection)) {
        if (NodeOf(connection, one.number, property) == node) return one.number;
    }
    return std::nullopt;
}

}  // namespace

bool LikenClone(const std::string& clone, const std::string& keyboard) {
    const PipeSignalBlocked blocked;
    const Connection connection(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(connection.get()) != 0 || !CanHoldKeys(connection.get())) {
        return true;
    }
    const auto from = KeyboardAt(connection.get(), keyboard);
    if (!from) return true;
    const auto to = KeyboardAt(connection.get(), clone);
    if (!to) return false;
    KeyboardMap::Read(connection.get(), *from).Write(connection.get(), *to);
    CopyRepeatRate(connection.get(), *from, *to);
    // Carried out before the keyboard is grabbed: the server answers in order.
    AtomOf(connection.get(), "Device Node");
    return true;
}

}  // namespace kivo::keyboard::x11
