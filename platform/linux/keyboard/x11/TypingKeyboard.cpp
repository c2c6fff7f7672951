#include "keyboard/x11/TypingKeyboard.h"

#include <utility>

namespace kivo::keyboard::x11 {

TypingKeyboard::TypingKeyboard(xcb_connection_t* connection)
    : mConnection(connection), mNumber(KeyboardForPrograms(connection).value_or(0)) {}

void TypingKeyboard::TakeOver() {
    mMap = KeyboardMap::Read(mConnection, mNumber);
    if (!mMapBefore) mMapBefore = mMap;
}

void TypingKeyboard::Restore() {
    if (mMap != mMapBefore) mMapBefore.Write(mConnection, mNumber);
    mMapBefore = {};
    mTyped = {};
}

bool TypingKeyboard::Press(std::uint8_t keycode, KeyboardMap* map) {
    if (mTyped[keycode]++ > 0) return false;
    return Type(keycode, map, true);
}

bool TypingKeyboard::Release(std::uint8_t keycode, KeyboardMap* map, PressedBy by) {
    if (by == PressedBy::kGate) --mTyped[keycode];
    if (mTyped[keycode] > 0) return false;
    return Type(keycode, map, false);
}

bool TypingKeyboard::Type(std::uint8_t keycode, KeyboardMap* map, bool isDown) {
    const bool hasWaited = UseMap(map);
    TypeKey(mConnection, keycode, isDown);
    xcb_flush(mConnection);
    return hasWaited;
}

bool TypingKeyboard::UseMap(KeyboardMap* map) {
    if (map == nullptr || !*map) return false;
    const bool isAnother = *map != mMap;
    if (isAnother) {
        map->Write(mConnection, mNumber);
        mMap = KeyboardMap::Read(mConnection, mNumber);
    }
    // A copy, so that to compare them with the next key is little work.
    *map = mMap;
    return isAnother;
}

KeyboardMap TypingKeyboard::TakeChangedMap() {
    KeyboardMap map = KeyboardMap::Read(mConnection, mNumber);
    if (!map || map == mMap) return {};
    mMap = std::move(map);
    mMapBefore = mMap;
    return mMap;
}

}  // namespace kivo::keyboard::x11
