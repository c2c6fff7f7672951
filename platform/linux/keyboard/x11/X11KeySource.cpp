#include "keyboard/x11/X11KeySource.h"

#include <linux/input-event-codes.h>
#include <xcb/xinput.h>

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include <Workspace.h>
#include "CoreFoundation/PipeSignalBlocked.h"
#include "keyboard/x11/RepeatRate.h"

namespace kivo::keyboard::x11 {
namespace {

using Event = Reply<xcb_generic_event_t>;

/// How an event mask of the input extension travels: a header and the mask.
struct InputMask {
    xcb_input_event_mask_t header;
    std::uint32_t mask;
};

constexpr std::uint32_t kKeyMask =
    XCB_INPUT_XI_EVENT_MASK_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_KEY_RELEASE;
constexpr std::uint16_t kMapChanges =
    XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
constexpr std::uint32_t kRawKeyMask =
    XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE;

std::uint8_t KeycodeOf(KeyCode code) {
    return static_cast<std::uint8_t>(code + kFirstKeycode);
}

std::vector<KeyCode> CodesOf(const KeySet& keys) {
    std::vector<KeyCode> codes;
    for (std::size_t key = kFirstKeycode; key < keys.size(); ++key) {
        if (keys[key]) codes.push_back(CodeOf(static_cast<std::uint32_t>(key)));
    }
    return codes;
}

KeySet WhereTwoAgree(const KeySet& one, const KeySet& other, const KeySet& third) {
    return (one & other) | (one & third) | (other & third);
}

void LogThatKeyboardsAreGivenBack() {
    NSLog(
        CFSTR("The keyboards were given back to the session, because the daemon made no progress "
              "or lost its guard or the X server; restart it to forward keys again"));
}

}  // namespace

std::unique_ptr<X11KeySource> X11KeySource::Open() {
    // xcb leaves the signal in force, here and wherever else it may write.
    const PipeSignalBlocked blocked;
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection) != 0 || !CanHoldKeys(connection)) {
        xcb_disconnect(connection);
        return nullptr;
    }
    return std::unique_ptr<X11KeySource>(new X11KeySource(connection));
}

X11KeySource::X11KeySource(xcb_connection_t* connection)
    : mConnection(connection),
      mRoot(RootWindow(connection)),
      mResource(xcb_generate_id(connection)),
      mTyping(connection) {
    xcb_create_window(connection, 0, mResource, mRoot, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_flush(connection);
    mPoll.Watch(xcb_get_file_descriptor(connection));
}

X11KeySource::~X11KeySource() {
    xcb_disconnect(mConnection);
}

/// Waiting for a reply may have read events, of which the descriptor then tells nothing.
void X11KeySource::Wake() {
    xcb_flush(mConnection);
    mPoll.Wake();
}

// Holding

void X11KeySource::Hold() {
    const PipeSignalBlocked blocked;
    if (mIsLost) return;
    mIsHolding = true;
    StartGuard();
    if (mIsGuardReady) GrabAll();
}

void X11KeySource::LetGo() {
    const PipeSignalBlocked blocked;
    mIsHolding = false;
    if (mIsLost || !mIsListening) return;
    SelectEvents(true);
    CopySessionsRepeatRate();
    UngrabAll();
    TakeWhatWasHeld();
    StopListening();
    Wake();
}

void X11KeySource::SelectEvents(bool isListening) {
    const std::uint32_t hierarchy = XCB_INPUT_XI_EVENT_MASK_HIERARCHY;
    const InputMask mask{{XCB_INPUT_DEVICE_ALL, 1}, hierarchy | (isListening ? kRawKeyMask : 0)};
    xcb_input_xi_select_events(mConnection, mRoot, 1, &mask.header);
    SelectKeyboardEvents(kSessionKeyboard, kMapChanges | XCB_XKB_EVENT_TYPE_STATE_NOTIFY);
}

void X11KeySource::SelectKeyboardEvents(xcb_xkb_device_spec_t keyboard, std::uint16_t kinds) {
    xcb_xkb_select_events(mConnection, keyboard, kinds, 0, kinds, 0xFF, 0xFF, nullptr);
}

void X11KeySource::GrabAll() {
    SelectEvents(true);
    mPoll.SetBeating(true);
    mIsListening = true;
    mTyping.TakeOver();
    for (const Keyboard& keyboard : AttachedKeyboards(mConnection)) {
        // Each takes some answers of the server, which may be slow.
        mGuard.Beat();
        if (!IsGrabbed(keyboard.number)) Grab(keyboard.number);
    }
    // To one that another program has meanwhile a key may still be owed.
    if (AreAllGrabbed()) SelectEvents(false);
    mGuard.Beat();
    ReadCapsLock();
    Wake();
}

/// It may be attached all the same: then we are going to hear of that, after the keys that were
/// typed until then.
bool X11KeySource::IsGrabbed(DeviceNumber number) {
    const auto known = Find(number);
    return known != mKeyboards.end() && known->second.isGrabbed;
}

/// All that are there.
bool X11KeySource::AreAllGrabbed() const {
    return std::all_of(mKeyboards.begin(), mKeyboards.end(), [](const auto& one) {
        return one.second.isGrabbed || one.second.number == 0;
    });
}

X11KeySource::Keyboards::iterator X11KeySource::Find(DeviceNumber number) {
    return std::find_if(mKeyboards.begin(), mKeyboards.end(),
                        [number](const auto& one) { return one.second.number == number; });
}

void X11KeySource::Grab(DeviceNumber number) {
    // Once it is grabbed the keyboard's map does not follow the session's any more.
    KeyboardMap map = KeyboardMap::Read(mConnection, number);
    // Keys go on being typed meanwhile, so all is asked in one go. The session follows the keyboard
    // up to the grab and not beyond: a key that was pressed since is only on the keyboard now, and
    // one that was let go of since is only not there.
    const KeysQuestion before = AskKeysDownOn(mConnection, number);
    // By itself its focus is at the pointer, which is the same. But the server dies when the grab
    // of a disabled keyboard ends, unless the focus is on the grab's window.
    xcb_input_xi_set_focus(mConnection, mRoot, XCB_CURRENT_TIME, number);
    const auto request = RequestGrab(number);
    const KeysQuestion now = AskKeysDownOn(mConnection, number);
    const KeySet down = WhereTwoAgree(KeysDownInSession(mConnection), KeysDown(mConnection, before),
                                      KeysDown(mConnection, now));
    if (!IsGranted(number, request)) return;
    const auto known = Find(number);
    const DeviceID id = known != mKeyboards.end() ? known->first : ++mLastID;
    const auto [place, isNew] = mKeyboards.try_emplace(id);
    HeldKeyboard& keyboard = place->second;
    keyboard.number = number;
    keyboard.map = std::move(map);
    keyboard.isGrabbed = true;
    keyboard.grab = request.sequence;
    // Of what the session got of it before we have heard a part at best.
    if (isNew) keyboard.ungrab = request.sequence;
    SelectKeyboardEvents(number, kMapChanges);
    mGate->Open(id, CodesOf(down));
}

xcb_input_xi_grab_device_cookie_t X11KeySource::RequestGrab(DeviceNumber number) {
    return xcb_input_xi_grab_device(mConnection, mRoot, XCB_CURRENT_TIME, XCB_NONE, number,
                                    XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_MODE_22_ASYNC, 0,
                                    1, &kKeyMask);
}

bool X11KeySource::IsGranted(DeviceNumber number, xcb_input_xi_grab_device_cookie_t request) {
    const Reply<xcb_input_xi_grab_device_reply_t> reply(
        xcb_input_xi_grab_device_reply(mConnection, request, nullptr));
    if (reply && reply->status == XCB_GRAB_STATUS_SUCCESS) return true;
    NSLog(CFSTR("Keyboard %d is not held (status %d): if another program has grabbed it, end that "
                "program and switch forwarding on again"),
          static_cast<int>(number), reply ? reply->status : -1);
    return false;
}

void X11KeySource::UngrabAll() {
    for (auto& [id, keyboard] : mKeyboards) {
        if (keyboard.isGrabbed) Ungrab(keyboard);
    }
}

void X11KeySource::Ungrab(HeldKeyboard& keyboard) {
    const auto request = xcb_input_xi_ungrab_device(mConnection, XCB_CURRENT_TIME, keyboard.number);
    keyboard.ungrab = request.sequence;
    keyboard.isGrabbed = false;
}

/// The keys that were typed until the keyboards were given back have reached nobody else.
void X11KeySource::TakeWhatWasHeld() {
    // Whatever the server sent before this reply is there with it.
    const Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(mConnection, xcb_get_input_focus(mConnection), nullptr));
    ReadServer();
}

/// Leaves the keyboards to which nothing is owed, and all events when none is left.
void X11KeySource::StopListening() {
    if (mIsHolding || !mIsListening) return;
    for (auto one = mKeyboards.begin(); one != mKeyboards.end();) {
        if (mGate->IsOwing(one->first)) {
            ++one;
            continue;
        }
        mGate->Leave(one->first);
        one = mKeyboards.erase(one);
    }
    if (!mKeyboards.empty()) return;
    mIsListening = false;
    mTyping.Restore();
    const InputMask nothing{{XCB_INPUT_DEVICE_ALL, 1}, 0};
    xcb_input_xi_select_events(mConnection, mRoot, 1, &nothing.header);
    mPoll.SetBeating(false);
}

// What the gate says

void X11KeySource::Press(DeviceID device, KeyCode code) {
    const PipeSignalBlocked blocked;
    if (mTyping.Press(KeycodeOf(code), MapOf(device))) Wake();
    if (code == KEY_CAPSLOCK) ReadCapsLock();
}

void X11KeySource::Release(DeviceID device, KeyCode code, PressedBy by) {
    const PipeSignalBlocked blocked;
    if (mTyping.Release(KeycodeOf(code), MapOf(device), by)) Wake();
    // It is locked with the press and unlocked with a release.
    if (code == KEY_CAPSLOCK) ReadCapsLock();
}

void X11KeySource::Close(DeviceID device) {
    mKeyboards.erase(device);
}

// Events

/// Keys come first, and with them seldom anything else. That waits for its turn, though not for so
/// long that the guard would miss the beats.
void X11KeySource::Read() {
    const PipeSignalBlocked blocked;
    constexpr int kTurnsOfKeysAlone = 4;
    const bool isAny = !mIsLost && !mGuard.IsFreed() && ReadServer();
    if (!isAny || ++mTurnsOfKeys >= kTurnsOfKeysAlone) {
        mTurnsOfKeys = 0;
        mPoll.ReadReady([this](int descriptor) { ReadOther(descriptor); });
    }
    StopListening();
}

void X11KeySource::ReadOther(int descriptor) {
    if (descriptor == mGuard.Descriptor()) ReadGuard();
}

/// Takes in what the server has sent; false when that was nothing. xcb reads 4 KiB at a time, so
/// after a few events it need not be asked whether there are more.
bool X11KeySource::ReadServer() {
    constexpr int kFew = 8;
    bool isAny = false;
    int count = 0;
    do {
        // Waiting for replies may have read some already.
        TakeEvents(xcb_poll_for_queued_event);
        count = TakeEvents(xcb_poll_for_event);
        isAny |= count > 0;
    } while (count > kFew);
    if (xcb_connection_has_error(mConnection) != 0) Lose();
    return isAny;
}

/// Takes the first event that `poll` gives, and those that are in memory with it.
int X11KeySource::TakeEvents(xcb_generic_event_t* (*poll)(xcb_connection_t*)) {
    int count = 0;
    for (Event event(poll(mConnection)); event;
         event.reset(xcb_poll_for_queued_event(mConnection))) {
        TakeEvent(*event);
        ++count;
    }
    return count;
}

// Maps

/// Null for a keyboard that is not known.
KeyboardMap* X11KeySource::MapOf(DeviceID device) {
    const auto keyboard = mKeyboards.find(device);
    return keyboard == mKeyboards.end() ? nullptr : &keyboard->second.map;
}

/// The session's layout was changed. Keyboards that are grabbed are not told, and would bring the
/// old one back as soon as they are the session's again.
void X11KeySource::SpreadChangedMap() {
    if (!mIsListening) return;
    const KeyboardMap map = mTyping.TakeChangedMap();
    if (!map) return;
    mGuard.Beat();
    for (auto& [id, keyboard] : mKeyboards) {
        map.Write(mConnection, keyboard.number);
        keyboard.map = map;
    }
    Wake();
}

void X11KeySource::ReadCapsLock() {
    const Reply<xcb_xkb_get_state_reply_t> state(xcb_xkb_get_state_reply(
        mConnection, xcb_xkb_get_state(mConnection, kSessionKeyboard), nullptr));
    if (state) mGate->SetCapsLock((state->lockedMods & XCB_MOD_MASK_LOCK) != 0);
    Wake();
}

/// Keyboards that are grabbed are not told of a new repeat rate either.
void X11KeySource::CopySessionsRepeatRate() {
    for (const auto& [id, keyboard] : mKeyboards) {
        CopyRepeatRate(mConnection, kSessionKeyboard, keyboard.number);
    }
}

// The guard

void X11KeySource::StartGuard() {
    if (mGuard.IsRunning() || !mPoll.StartGuard()) return;
    const char* const display = std::getenv("DISPLAY");
    mGuard.WatchX11(display == nullptr ? "" : display, mResource);
}

void X11KeySource::ReadGuard() {
    for (;;) {
        std::uint32_t resource = 0;
        switch (mGuard.Read(&resource)) {
            case GuardLink::News::kNone:
                return;
            case GuardLink::News::kReady:
                mIsGuardReady = true;
                if (mIsHolding) GrabAll();
                break;
            case GuardLink::News::kFreed:
                mIsFreed = true;
                return Lose();
            case GuardLink::News::kGone:
                if (mIsLost) return HaveFreed();
                return mGuard.IsFreed() ? Lose() : LoseGuard();
        }
    }
}

/// Nobody could free the keyboards now. The tap lets go of them, in order, when it finds the gate
/// disabled.
void X11KeySource::LoseGuard() {
    mIsGuardReady = false;
    if (!mIsHolding) return;
    LogThatKeyboardsAreGivenBack();
    mGate->Disable(DisabledBy::kTimeout);
}

/// Where it is this connection alone that has gone, what was typed is still down; and so it is
/// where a guard went before it had freed all, which we may hear of only after the order.
void X11KeySource::HaveFreed() {
    constexpr int kGuardsAtMost = 3;
    if (mIsFreed || ++mGuardsToFree > kGuardsAtMost) return;
    StartGuard();
    mGuard.Free();
}

/// The keyboards are the session's again, and stay so.
void X11KeySource::Lose() {
    if (mIsLost) return;
    LogThatKeyboardsAreGivenBack();
    mIsLost = true;
    // Should the server still have grabs of this connection, they end with them.
    UngrabAll();
    xcb_flush(mConnection);
    mKeyboards.clear();
    HaveFreed();
    mPoll.SetBeating(false);
    mPoll.Unwatch(xcb_get_file_descriptor(mConnection));
    mGate->Forget();
    mGate->Disable(DisabledBy::kTimeout);
}

}  // namespace kivo::keyboard::x11
