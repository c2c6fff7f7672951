#include "keyboard/x11/InputDevices.h"

#include <xcb/xtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "keyboard/x11/Xkb.h"

namespace kivo::keyboard::x11 {
namespace {

using namespace std::string_view_literals;

constexpr std::array kNotKeyboards = {"Power Button"sv, "Sleep Button"sv, "Lid Switch"sv,
                                      "Video Bus"sv};

bool IsExtensionThere(xcb_connection_t* connection, xcb_extension_t& extension) {
    const auto* const data = xcb_get_extension_data(connection, &extension);
    return data != nullptr && data->present != 0;
}

/// Tells the server which version we speak; it serves no device event to who did not say.
bool AgreeOnVersions(xcb_connection_t* connection) {
    const auto input = xcb_input_xi_query_version(connection, 2, 2);
    const auto keyboard = xcb_xkb_use_extension(connection, 1, 0);
    const Reply<xcb_input_xi_query_version_reply_t> inputReply(
        xcb_input_xi_query_version_reply(connection, input, nullptr));
    const Reply<xcb_xkb_use_extension_reply_t> keyboardReply(
        xcb_xkb_use_extension_reply(connection, keyboard, nullptr));
    return inputReply && inputReply->major_version >= 2 && keyboardReply &&
           keyboardReply->supported != 0;
}

bool HasProperty(xcb_connection_t* connection, DeviceNumber device, xcb_atom_t property) {
    if (property == XCB_ATOM_NONE) return false;
    const auto cookie =
        xcb_input_xi_get_property(connection, device, 0, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 1);
    const Reply<xcb_input_xi_get_property_reply_t> reply(
        xcb_input_xi_get_property_reply(connection, cookie, nullptr));
    return reply && reply->type != XCB_ATOM_NONE;
}

std::string NameOf(const xcb_input_xi_device_info_t* info) {
    const auto length = static_cast<std::size_t>(xcb_input_xi_device_info_name_length(info));
    return {xcb_input_xi_device_info_name(info), length};
}

/// All enabled slave keyboards.
std::vector<Keyboard> ListKeyboards(xcb_connection_t* connection) {
    const auto cookie = xcb_input_xi_query_device(connection, XCB_INPUT_DEVICE_ALL);
    const xcb_atom_t forPrograms = AtomOf(connection, "XTEST Device");
    const Reply<xcb_input_xi_query_device_reply_t> reply(
        xcb_input_xi_query_device_reply(connection, cookie, nullptr));
    std::vector<Keyboard> keyboards;
    if (!reply) return keyboards;
    auto info = xcb_input_xi_query_device_infos_iterator(reply.get());
    for (; info.rem > 0; xcb_input_xi_device_info_next(&info)) {
        if (info.data->type != XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD || info.data->enabled == 0) {
            continue;
        }
        const DeviceNumber number = info.data->deviceid;
        keyboards.push_back(
            {number, NameOf(info.data), HasProperty(connection, number, forPrograms)});
    }
    return keyboards;
}

KeySet KeysOf(const std::uint8_t (&bytes)[32]) {
    KeySet keys;
    for (std::size_t key = 0; key < keys.size(); ++key) {
        keys[key] = (bytes[key / 8] >> (key % 8) & 1) != 0;
    }
    return keys;
}

}  // namespace

bool CanHoldKeys(xcb_connection_t* connection) {
    if (!IsExtensionThere(connection, xcb_input_id) || !IsExtensionThere(connection, xcb_test_id) ||
        !IsExtensionThere(connection, xcb_xkb_id) || !AgreeOnVersions(connection)) {
        return false;
    }
    const Reply<xcb_query_extension_reply_t> wayland(xcb_query_extension_reply(
        connection, xcb_query_extension(connection, 8, "XWAYLAND"), nullptr));
    if (wayland && wayland->present != 0) return false;
    const std::vector<Keyboard> all = ListKeyboards(connection);
    return std::none_of(all.begin(), all.end(),
                        [](const Keyboard& one) { return one.name.starts_with("xwayland-"); }) &&
           KeyboardForPrograms(connection).has_value();
}

std::vector<Keyboard> AttachedKeyboards(xcb_connection_t* connection) {
    std::vector<Keyboard> keyboards = ListKeyboards(connection);
    std::erase_if(keyboards, [](const Keyboard& one) {
        return one.isForPrograms || std::find(kNotKeyboards.begin(), kNotKeyboards.end(),
                                              one.name) != kNotKeyboards.end();
    });
    return keyboards;
}

std::optional<DeviceNumber> KeyboardForPrograms(xcb_connection_t* connection) {
    for (const Keyboard& one : ListKeyboards(connection)) {
        if (one.isForPrograms) return one.number;
    }
    return std::nullopt;
}

KeySet KeysDownOn(xcb_connection_t* connection, DeviceNumber keyboard) {
    return KeysDown(connection, AskKeysDownOn(connection, keyboard));
}

KeysQuestion AskKeysDownOn(xcb_connection_t* connection, DeviceNumber keyboard) {
    return xcb_input_query_device_state(connection, static_cast<std::uint8_t>(keyboard));
}

KeySet KeysDown(xcb_connection_t* connection, KeysQuestion question) {
    const Reply<xcb_input_query_device_state_reply_t> reply(
        xcb_input_query_device_state_reply(connection, question, nullptr));
    if (!reply) return {};
    auto state = xcb_input_query_device_state_classes_iterator(reply.get());
    for (; state.rem > 0; xcb_input_input_state_next(&state)) {
        if (state.data->class_id != XCB_INPUT_INPUT_CLASS_KEY) continue;
        xcb_input_key_state_t keys;
        std::memcpy(&keys, state.data, sizeof keys);
        return KeysOf(keys.keys);
    }
    return {};
}

KeySet KeysDownInSession(xcb_connection_t* connection) {
    const Reply<xcb_query_keymap_reply_t> reply(
        xcb_query_keymap_reply(connection, xcb_query_keymap(connection), nullptr));
    return reply ? KeysOf(reply->keys) : KeySet();
}

xcb_atom_t AtomOf(xcb_connection_t* connection, std::string_view name) {
    const auto cookie =
        xcb_intern_atom(connection, 1, static_cast<std::uint16_t>(name.size()), name.data());
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

xcb_window_t RootWindow(xcb_connection_t* connection) {
    return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
}

void TypeKey(xcb_connection_t* connection, std::uint8_t keycode, bool isDown) {
    xcb_test_fake_input(connection, isDown ? XCB_KEY_PRESS : XCB_KEY_RELEASE, keycode,
                        XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
}

}  // namespace kivo::keyboard::x11
