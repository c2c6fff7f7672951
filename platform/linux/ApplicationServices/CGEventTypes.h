#pragma once

#include <CoreFoundation/CoreFoundation.h>

/// The types and numbers of Quartz events, as Apple's CGEventTypes.h has them; the subset in use.

typedef struct __CGEvent* CGEventRef;
typedef struct __CGEventSource* CGEventSourceRef;
typedef struct __CGEventTapProxy* CGEventTapProxy;

typedef uint16_t CGKeyCode;

typedef CF_ENUM(uint32_t, CGEventType) {
    kCGEventNull = 0,
    kCGEventKeyDown = 10,
    kCGEventKeyUp = 11,
    kCGEventFlagsChanged = 12,
    /// These two come unasked, and mean that the tap is off until it is enabled again.
    kCGEventTapDisabledByTimeout = 0xFFFFFFFE,
    kCGEventTapDisabledByUserInput = 0xFFFFFFFF
};

typedef uint64_t CGEventMask;
#define CGEventMaskBit(eventType) (static_cast<CGEventMask>(1) << (eventType))

typedef CF_OPTIONS(uint64_t, CGEventFlags) {
    kCGEventFlagMaskAlphaShift = 0x00010000,
    kCGEventFlagMaskShift = 0x00020000,
    kCGEventFlagMaskControl = 0x00040000,
    kCGEventFlagMaskAlternate = 0x00080000,
    kCGEventFlagMaskCommand = 0x00100000,
    kCGEventFlagMaskNumericPad = 0x00200000,
    kCGEventFlagMaskHelp = 0x00400000,
    kCGEventFlagMaskSecondaryFn = 0x00800000,
    kCGEventFlagMaskNonCoalesced = 0x00000100
};

typedef CF_ENUM(uint32_t, CGEventField) {
    kCGKeyboardEventAutorepeat = 8,
    kCGKeyboardEventKeycode = 9,
    kCGKeyboardEventKeyboardType = 10,
    kCGEventSourceUserData = 42
};

typedef CF_ENUM(uint32_t, CGEventTapLocation) {
    kCGHIDEventTap = 0,
    kCGSessionEventTap = 1,
    kCGAnnotatedSessionEventTap = 2
};

typedef CF_ENUM(uint32_t, CGEventTapPlacement) {
    kCGHeadInsertEventTap = 0,
    kCGTailAppendEventTap = 1
};

typedef CF_ENUM(uint32_t, CGEventTapOptions) {
    kCGEventTapOptionDefault = 0,
    kCGEventTapOptionListenOnly = 1
};

typedef CF_ENUM(int32_t, CGEventSourceStateID) {
    kCGEventSourceStatePrivate = -1,
    kCGEventSourceStateCombinedSessionState = 0,
    kCGEventSourceStateHIDSystemState = 1
};

/// What a tap calls for each event, which is lent. The same event lets it through, null swallows
/// it. Another event, which is then released, lets the first through as it was: events are not
/// exchanged here. What a tap that only listens returns is ignored.
typedef CGEventRef (*CGEventTapCallBack)(CGEventTapProxy proxy, CGEventType type, CGEventRef event,
                                         void* userInfo);
