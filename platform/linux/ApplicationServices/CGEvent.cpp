#include <ApplicationServices/CGEvent.h>
#include <CoreFoundation/CFRuntime.h>

#include "ApplicationServices/CGEventSeams.h"

namespace kivo {

CFTypeID Event::TypeID() const {
    return CGEventGetTypeID();
}

std::int64_t* Event::Field(CGEventField field) {
    switch (field) {
        case kCGKeyboardEventAutorepeat:
            return &autorepeat;
        case kCGKeyboardEventKeycode:
            return &keyCode;
        case kCGKeyboardEventKeyboardType:
            return &keyboardType;
        case kCGEventSourceUserData:
            return &userData;
        default:
            return nullptr;
    }
}

Event& EventOf(CGEventRef event) {
    return *reinterpret_cast<Event*>(event);
}

CFRef<CGEventRef> MakeEvent(CGEventType type) {
    auto* const event = new Event;
    event->type = type;
    return Adopt(reinterpret_cast<CGEventRef>(event));
}

}  // namespace kivo

CFTypeID CGEventGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("CGEvent");
    return id;
}

CGEventRef CGEventCreate(CGEventSourceRef) {
    return kivo::MakeEvent(kCGEventNull).Release();
}

CGEventRef CGEventCreateKeyboardEvent(CGEventSourceRef, CGKeyCode virtualKey, bool keyDown) {
    auto event = kivo::MakeEvent(keyDown ? kCGEventKeyDown : kCGEventKeyUp);
    kivo::EventOf(event.Get()).keyCode = virtualKey;
    return event.Release();
}

CGEventType CGEventGetType(CGEventRef event) {
    return kivo::EventOf(event).type;
}

CGEventFlags CGEventGetFlags(CGEventRef event) {
    return kivo::EventOf(event).flags;
}

void CGEventSetFlags(CGEventRef event, CGEventFlags flags) {
    kivo::EventOf(event).flags = flags;
}

int64_t CGEventGetIntegerValueField(CGEventRef event, CGEventField field) {
    const std::int64_t* const value = kivo::EventOf(event).Field(field);
    return value == nullptr ? 0 : *value;
}

void CGEventSetIntegerValueField(CGEventRef event, CGEventField field, int64_t value) {
    if (std::int64_t* const place = kivo::EventOf(event).Field(field)) *place = value;
}
