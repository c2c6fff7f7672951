#include <xcb/xinput.h>

#include "keyboard/x11/X11KeySource.h"

// The events of the server, one by one.

namespace kivo::keyboard::x11 {
namespace {

template <typename Contents>
const Contents& As(const void* event) {
    return *static_cast<const Contents*>(event);
}

template <typename KeyEventOfServer>
KeyEvent EventOf(DeviceID device, const KeyEventOfServer& key, Action action) {
    const bool isRepeat = (key.flags & XCB_INPUT_KEY_EVENT_FLAGS_KEY_REPEAT) != 0;
    return {device, CodeOf(key.detail), isRepeat ? Action::kRepeat : action};
}

/// Of the numbers of requests, which start anew.
bool IsBefore(std::uint32_t one, std::uint32_t other) {
    return static_cast<std::int32_t>(one - other) < 0;
}

}  // namespace

/// Whether it was sent before the keyboard was grabbed last. We asked then how it was, and hear
/// only now of what led to that.
bool X11KeySource::IsOldNews(const HeldKeyboard& keyboard, std::uint32_t sequence) {
    return IsBefore(sequence, keyboard.grab);
}

void X11KeySource::TakeEvent(const xcb_generic_event_t& event) {
    const auto type = event.response_type & 0x7F;
    if (type == XCB_GE_GENERIC) {
        return TakeInputEvent(As<xcb_ge_generic_event_t>(&event));
    }
    const auto* const keyboard = xcb_get_extension_data(mConnection, &xcb_xkb_id);
    if (type == keyboard->first_event) TakeKeyboardEvent(event);
}

void X11KeySource::TakeInputEvent(const xcb_ge_generic_event_t& event) {
    if (event.extension != xcb_get_extension_data(mConnection, &xcb_input_id)->major_opcode) return;
    switch (event.event_type) {
        case XCB_INPUT_KEY_PRESS:
            return TakeKey(&event, Action::kPress);
        case XCB_INPUT_KEY_RELEASE:
            return TakeKey(&event, Action::kRelease);
        case XCB_INPUT_RAW_KEY_PRESS:
            return TakeRawKey(&event, Action::kPress);
        case XCB_INPUT_RAW_KEY_RELEASE:
            return TakeRawKey(&event, Action::kRelease);
        case XCB_INPUT_HIERARCHY:
            return TakeHierarchy(&event);
        default:
            break;
    }
}

/// A key of a keyboard that is grabbed, or was when it was pressed.
void X11KeySource::TakeKey(const void* event, Action action) {
    const auto& key = As<xcb_input_key_press_event_t>(event);
    const auto keyboard = Find(key.deviceid);
    if (keyboard == mKeyboards.end() || IsOldNews(keyboard->second, key.full_sequence)) return;
    mGate->Feed(EventOf(keyboard->first, key, action));
}

/// A key of a keyboard that was given back, and not taken again then: the session got it as well.
void X11KeySource::TakeRawKey(const void* event, Action action) {
    const auto& key = As<xcb_input_raw_key_press_event_t>(event);
    const auto keyboard = Find(key.deviceid);
    if (keyboard == mKeyboards.end()) return;
    const HeldKeyboard& held = keyboard->second;
    if (IsBefore(key.full_sequence, held.ungrab)) return;
    if (held.isGrabbed && !IsOldNews(held, key.full_sequence)) return;
    mGate->Overhear(EventOf(keyboard->first, key, action));
}

/// A keyboard that was disabled and enabled, as on suspending, or attached once more, is the
/// session's although the grab holds on, and both get its keys. So it counts as gone as soon as
/// anything of that happens, and is grabbed anew.
void X11KeySource::TakeHierarchy(const void* event) {
    constexpr std::uint32_t kCame = XCB_INPUT_HIERARCHY_MASK_SLAVE_ADDED |
                                    XCB_INPUT_HIERARCHY_MASK_SLAVE_ATTACHED |
                                    XCB_INPUT_HIERARCHY_MASK_DEVICE_ENABLED;
    constexpr std::uint32_t kWent =
        XCB_INPUT_HIERARCHY_MASK_SLAVE_REMOVED | XCB_INPUT_HIERARCHY_MASK_DEVICE_DISABLED;
    const auto& hierarchy = As<xcb_input_hierarchy_event_t>(event);
    auto info = xcb_input_hierarchy_infos_iterator(&hierarchy);
    for (; info.rem > 0; xcb_input_hierarchy_info_next(&info)) {
        const auto keyboard = Find(info.data->deviceid);
        if ((info.data->flags & (kCame | kWent)) == 0 || keyboard == mKeyboards.end()) continue;
        if (IsOldNews(keyboard->second, hierarchy.full_sequence)) continue;
        // If the grab outlived this connection, the server would die of the next key.
        if (keyboard->second.isGrabbed) Ungrab(keyboard->second);
        keyboard->second.number = 0;
        mGate->Close(keyboard->first);
    }
    xcb_flush(mConnection);
    if ((hierarchy.flags & kCame) != 0 && mIsHolding) GrabAll();
}

void X11KeySource::TakeKeyboardEvent(const xcb_generic_event_t& event) {
    const std::uint8_t kind = event.pad0;
    if (kind == XCB_XKB_STATE_NOTIFY) {
        const auto& state = As<xcb_xkb_state_notify_event_t>(&event);
        mGate->SetCapsLock((state.lockedMods & XCB_MOD_MASK_LOCK) != 0);
    }
    if (kind != XCB_XKB_NEW_KEYBOARD_NOTIFY && kind != XCB_XKB_MAP_NOTIFY) return;
    // The events of both kinds have the keyboard in the same place.
    const auto keyboard = Find(As<xcb_xkb_map_notify_event_t>(&event).deviceID);
    if (keyboard == mKeyboards.end()) return SpreadChangedMap();
    keyboard->second.map = KeyboardMap::Read(mConnection, keyboard->second.number);
    Wake();
}

}  // namespace kivo::keyboard::x11
