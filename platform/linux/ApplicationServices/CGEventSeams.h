#pragma once

// Inside of the layer only, never installed: what an event is made of.

#include <ApplicationServices/CGEventTypes.h>
#include <CFRef.h>
#include <CoreFoundation/CFRuntime.h>

#include <cstdint>

namespace kivo {

/// A Quartz event.
class Event final : public CFObject {
  public:
    CFTypeID TypeID() const override;
    /// The place of an integer field; null when the event has no such field.
    std::int64_t* Field(CGEventField field);

    CGEventType type = kCGEventNull;
    CGEventFlags flags = 0;
    std::int64_t keyCode = 0;
    std::int64_t autorepeat = 0;
    std::int64_t keyboardType = 0;
    std::int64_t userData = 0;
};

Event& EventOf(CGEventRef event);

/// An event in which everything but the type is 0.
CFRef<CGEventRef> MakeEvent(CGEventType type);

}  // namespace kivo
