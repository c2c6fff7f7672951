// Application Services as Apple documents it: Accessibility, Quartz events and their taps.

#include <ApplicationServices/ApplicationServices.h>
#include <gtest/gtest.h>

#include "tests/native/signatures/Signature.h"

// Accessibility
ENUMERATION(AXError, SInt32);
CONSTANT(kAXErrorSuccess, 0);
CONSTANT(kAXErrorFailure, -25200);
CONSTANT(kAXErrorIllegalArgument, -25201);
CONSTANT(kAXErrorInvalidUIElement, -25202);
CONSTANT(kAXErrorInvalidUIElementObserver, -25203);
CONSTANT(kAXErrorCannotComplete, -25204);
CONSTANT(kAXErrorAttributeUnsupported, -25205);
CONSTANT(kAXErrorActionUnsupported, -25206);
CONSTANT(kAXErrorNotificationUnsupported, -25207);
CONSTANT(kAXErrorNotImplemented, -25208);
CONSTANT(kAXErrorNotificationAlreadyRegistered, -25209);
CONSTANT(kAXErrorNotificationNotRegistered, -25210);
CONSTANT(kAXErrorAPIDisabled, -25211);
CONSTANT(kAXErrorNoValue, -25212);
CONSTANT(kAXErrorParameterizedAttributeUnsupported, -25213);
CONSTANT(kAXErrorNotEnoughPrecision, -25214);
TYPE(AXUIElementRef, const struct __AXUIElement*);
FUNCTION(AXUIElementGetTypeID, CFTypeID());
FUNCTION(AXUIElementCreateApplication, AXUIElementRef(pid_t));
FUNCTION(AXUIElementCopyAttributeValue, AXError(AXUIElementRef, CFStringRef, CFTypeRef*));
FUNCTION(AXUIElementSetAttributeValue, AXError(AXUIElementRef, CFStringRef, CFTypeRef));
TYPE(AXValueRef, const struct __AXValue*);
ENUMERATION(AXValueType, UInt32);
CONSTANT(kAXValueTypeIllegal, 0U);
CONSTANT(kAXValueTypeCGPoint, 1U);
CONSTANT(kAXValueTypeCGSize, 2U);
CONSTANT(kAXValueTypeCGRect, 3U);
CONSTANT(kAXValueTypeCFRange, 4U);
CONSTANT(kAXValueTypeAXError, 5U);
FUNCTION(AXValueGetTypeID, CFTypeID());
FUNCTION(AXValueCreate, AXValueRef(AXValueType, const void*));
FUNCTION(AXValueGetType, AXValueType(AXValueRef));
FUNCTION(AXValueGetValue, Boolean(AXValueRef, AXValueType, void*));

// Quartz events
TYPE(CGEventRef, struct __CGEvent*);
TYPE(CGEventSourceRef, struct __CGEventSource*);
TYPE(CGEventTapProxy, struct __CGEventTapProxy*);
TYPE(CGKeyCode, uint16_t);
ENUMERATION(CGEventType, uint32_t);
CONSTANT(kCGEventNull, 0U);
CONSTANT(kCGEventKeyDown, 10U);
CONSTANT(kCGEventKeyUp, 11U);
CONSTANT(kCGEventFlagsChanged, 12U);
CONSTANT(kCGEventTapDisabledByTimeout, 0xFFFFFFFEU);
CONSTANT(kCGEventTapDisabledByUserInput, 0xFFFFFFFFU);
TYPE(CGEventMask, uint64_t);
EXPRESSION(CGEventMaskBit(kCGEventKeyUp), CGEventMask);
CONSTANT(CGEventMaskBit(kCGEventKeyUp), 0x800U);
TYPE(CGEventFlags, uint64_t);
CONSTANT(kCGEventFlagMaskAlphaShift, 0x00010000U);
CONSTANT(kCGEventFlagMaskShift, 0x00020000U);
CONSTANT(kCGEventFlagMaskControl, 0x00040000U);
CONSTANT(kCGEventFlagMaskAlternate, 0x00080000U);
CONSTANT(kCGEventFlagMaskCommand, 0x00100000U);
CONSTANT(kCGEventFlagMaskNumericPad, 0x00200000U);
CONSTANT(kCGEventFlagMaskHelp, 0x00400000U);
CONSTANT(kCGEventFlagMaskSecondaryFn, 0x00800000U);
CONSTANT(kCGEventFlagMaskNonCoalesced, 0x00000100U);
ENUMERATION(CGEventField, uint32_t);
CONSTANT(kCGKeyboardEventAutorepeat, 8U);
CONSTANT(kCGKeyboardEventKeycode, 9U);
CONSTANT(kCGKeyboardEventKeyboardType, 10U);
CONSTANT(kCGEventSourceUserData, 42U);
ENUMERATION(CGEventSourceStateID, int32_t);
CONSTANT(kCGEventSourceStatePrivate, -1);
CONSTANT(kCGEventSourceStateCombinedSessionState, 0);
CONSTANT(kCGEventSourceStateHIDSystemState, 1);
FUNCTION(CGEventSourceGetTypeID, CFTypeID());
FUNCTION(CGEventSourceCreate, CGEventSourceRef(CGEventSourceStateID));
FUNCTION(CGEventSourceGetSourceStateID, CGEventSourceStateID(CGEventSourceRef));
FUNCTION(CGEventGetTypeID, CFTypeID());
FUNCTION(CGEventCreate, CGEventRef(CGEventSourceRef));
FUNCTION(CGEventCreateKeyboardEvent, CGEventRef(CGEventSourceRef, CGKeyCode, bool));
FUNCTION(CGEventGetType, CGEventType(CGEventRef));
FUNCTION(CGEventGetFlags, CGEventFlags(CGEventRef));
FUNCTION(CGEventSetFlags, void(CGEventRef, CGEventFlags));
FUNCTION(CGEventGetIntegerValueField, int64_t(CGEventRef, CGEventField));
FUNCTION(CGEventSetIntegerValueField, void(CGEventRef, CGEventField, int64_t));

// Taps
ENUMERATION(CGEventTapLocation, uint32_t);
CONSTANT(kCGHIDEventTap, 0U);
CONSTANT(kCGSessionEventTap, 1U);
CONSTANT(kCGAnnotatedSessionEventTap, 2U);
ENUMERATION(CGEventTapPlacement, uint32_t);
CONSTANT(kCGHeadInsertEventTap, 0U);
CONSTANT(kCGTailAppendEventTap, 1U);
ENUMERATION(CGEventTapOptions, uint32_t);
CONSTANT(kCGEventTapOptionDefault, 0U);
CONSTANT(kCGEventTapOptionListenOnly, 1U);
TYPE(CGEventTapCallBack, CGEventRef (*)(CGEventTapProxy, CGEventType, CGEventRef, void*));
FUNCTION(CGEventTapCreate, CFMachPortRef(CGEventTapLocation, CGEventTapPlacement, CGEventTapOptions,
                                         CGEventMask, CGEventTapCallBack, void*));
FUNCTION(CGEventTapEnable, void(CFMachPortRef, bool));
FUNCTION(CGEventTapIsEnabled, bool(CFMachPortRef));

// What a text says shows when it runs only.
#define TEXT(name, text) EXPECT_TRUE(CFEqual(name, CFSTR(text))) << #name

TEST(ApplicationServicesTexts, AreThoseOfAccessibility) {
    TEXT(kAXRoleAttribute, "AXRole");
    TEXT(kAXTitleAttribute, "AXTitle");
    TEXT(kAXWindowsAttribute, "AXWindows");
    TEXT(kAXPositionAttribute, "AXPosition");
    TEXT(kAXSizeAttribute, "AXSize");
    TEXT(kAXMainAttribute, "AXMain");
    TEXT(kAXApplicationRole, "AXApplication");
    TEXT(kAXWindowRole, "AXWindow");
}
