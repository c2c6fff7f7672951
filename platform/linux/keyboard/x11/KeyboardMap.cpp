#include "keyboard/x11/KeyboardMap.h"

#include <sys/uio.h>
#include <xcb/xcbext.h>

#include <array>
#include <cstddef>

namespace kivo::keyboard::x11 {
namespace {

/// Types, symbols, actions, behaviours, virtual modifiers, explicit parts and both modifier maps.
constexpr std::uint16_t kAllParts = 0xFF;
constexpr std::uint16_t kResizeTypesAndRecomputeActions = 3;

// Sizes on the wire, as the protocol of the keyboard extension gives them. A type is a header, its
// entries, and as many preserved modifiers if it has any; entries are longer when read.
constexpr std::size_t kTypeHeaderSize = 8;
constexpr std::size_t kEntryCountPlace = 5;
constexpr std::size_t kHasPreservedPlace = 6;
constexpr std::size_t kReadEntrySize = 8;
constexpr std::size_t kPreservedSize = 4;

/// Copies one entry of a type: read it has level and modifiers at 2 to 5, written at 0 to 3.
void AppendEntry(const std::uint8_t* entry, std::vector<std::uint8_t>* values) {
    values->insert(values->end(), entry + 2, entry + 6);
}

/// Appends a type as it is written and returns where the next begins; null when it is cut off.
const std::uint8_t* AppendType(const std::uint8_t* type, const std::uint8_t* end,
                               std::vector<std::uint8_t>* values) {
    if (end - type < static_cast<std::ptrdiff_t>(kTypeHeaderSize)) return nullptr;
    const std::size_t entries = type[kEntryCountPlace];
    const std::size_t preserved = type[kHasPreservedPlace] != 0 ? entries * kPreservedSize : 0;
    const std::uint8_t* const firstEntry = type + kTypeHeaderSize;
    const std::uint8_t* const afterEntries = firstEntry + entries * kReadEntrySize;
    if (static_cast<std::size_t>(end - type) <
        kTypeHeaderSize + entries * kReadEntrySize + preserved) {
        return nullptr;
    }
    values->insert(values->end(), type, firstEntry);
    for (const std::uint8_t* entry = firstEntry; entry < afterEntries; entry += kReadEntrySize) {
        AppendEntry(entry, values);
    }
    values->insert(values->end(), afterEntries, afterEntries + preserved);
    return afterEntries + preserved;
}

}  // namespace

KeyboardMap KeyboardMap::Read(xcb_connection_t* connection, xcb_xkb_device_spec_t keyboard) {
    const auto cookie = xcb_xkb_get_map(connection, keyboard, kAllParts, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                        0, 0, 0, 0, 0, 0, 0);
    const Reply<xcb_xkb_get_map_reply_t> reply(xcb_xkb_get_map_reply(connection, cookie, nullptr));
    KeyboardMap map;
    if (!reply) return map;
    const std::size_t size = 32 + std::size_t{reply->length} * 4;
    reply->deviceID = 0;
    reply->sequence = 0;
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(reply.get());
    map.mReply = std::make_shared<const std::vector<std::uint8_t>>(bytes, bytes + size);
    return map;
}

bool KeyboardMap::operator==(const KeyboardMap& other) const {
    if (mReply == other.mReply) return true;
    return mReply != nullptr && other.mReply != nullptr && *mReply == *other.mReply;
}

const xcb_xkb_get_map_reply_t& KeyboardMap::Header() const {
    return *reinterpret_cast<const xcb_xkb_get_map_reply_t*>(mReply->data());
}

/// The reply's lists in the order and form of the request that sets them: only types differ.
std::vector<std::uint8_t> KeyboardMap::ValuesToWrite() const {
    const std::uint8_t* place = mReply->data() + sizeof(xcb_xkb_get_map_reply_t);
    const std::uint8_t* const end = mReply->data() + mReply->size();
    std::vector<std::uint8_t> values;
    for (int type = 0; type < Header().nTypes; ++type) {
        place = AppendType(place, end, &values);
        if (place == nullptr) return {};
    }
    values.insert(values.end(), place, end);
    return values;
}

void KeyboardMap::Write(xcb_connection_t* connection, xcb_xkb_device_spec_t keyboard) const {
    if (!*this) return;
    std::vector<std::uint8_t> values = ValuesToWrite();
    if (values.empty()) return;
    xcb_xkb_set_map_request_t request = RequestFor(keyboard);
    // Written out: xcb's own function for this request miscounts lists that need padding.
    std::array<iovec, 4> parts{};
    parts[2] = {&request, sizeof request};
    parts[3] = {values.data(), values.size()};
    const xcb_protocol_request_t protocol{2, &xcb_xkb_id, XCB_XKB_SET_MAP, 1};
    xcb_send_request(connection, 0, &parts[2], &protocol);
}

xcb_xkb_set_map_request_t KeyboardMap::RequestFor(xcb_xkb_device_spec_t keyboard) const {
    const xcb_xkb_get_map_reply_t& map = Header();
    xcb_xkb_set_map_request_t request{};
    request.deviceSpec = keyboard;
    request.present = map.present;
    request.flags = kResizeTypesAndRecomputeActions;
    request.minKeyCode = map.minKeyCode;
    request.maxKeyCode = map.maxKeyCode;
    request.firstType = map.firstType;
    request.nTypes = map.nTypes;
    request.firstKeySym = map.firstKeySym;
    request.nKeySyms = map.nKeySyms;
    request.totalSyms = map.totalSyms;
    request.firstKeyAction = map.firstKeyAction;
    request.nKeyActions = map.nKeyActions;
    request.totalActions = map.totalActions;
    request.firstKeyBehavior = map.firstKeyBehavior;
    request.nKeyBehaviors = map.nKeyBehaviors;
    request.totalKeyBehaviors = map.totalKeyBehaviors;
    request.firstKeyExplicit = map.firstKeyExplicit;
    request.nKeyExplicit = map.nKeyExplicit;
    request.totalKeyExplicit = map.totalKeyExplicit;
    request.firstModMapKey = map.firstModMapKey;
    request.nModMapKeys = map.nModMapKeys;
    request.totalModMapKeys = map.totalModMapKeys;
    request.firstVModMapKey = map.firstVModMapKey;
    request.nVModMapKeys = map.nVModMapKeys;
    request.totalVModMapKeys = map.totalVModMapKeys;
    request.virtualMods = map.virtualMods;
    return request;
}

}  // namespace kivo::keyboard::x11
