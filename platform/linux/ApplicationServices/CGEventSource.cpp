#include <ApplicationServices/CGEventSource.h>
#include <CoreFoundation/CFRuntime.h>

namespace {

class EventSource final : public kivo::CFObject {
  public:
    explicit EventSource(CGEventSourceStateID stateID) : mStateID(stateID) {}
    CFTypeID TypeID() const override { return CGEventSourceGetTypeID(); }
    CGEventSourceStateID StateID() const { return mStateID; }

  private:
    const CGEventSourceStateID mStateID;
};

}  // namespace

CFTypeID CGEventSourceGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("CGEventSource");
    return id;
}

CGEventSourceRef CGEventSourceCreate(CGEventSourceStateID stateID) {
    if (stateID < kCGEventSourceStatePrivate || stateID > kCGEventSourceStateHIDSystemState) {
        return nullptr;
    }
    return reinterpret_cast<CGEventSourceRef>(new EventSource(stateID));
}

CGEventSourceStateID CGEventSourceGetSourceStateID(CGEventSourceRef source) {
    return reinterpret_cast<EventSource*>(source)->StateID();
}
