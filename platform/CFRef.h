#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace kivo {

/// Owns one reference to a Core Foundation object and releases it when it goes.
///
/// Two verbs say where the reference comes from: `Adopt` takes over one that a Create or Copy
/// call handed out, `Retain` adds one to an object that a Get call lent. Both take null.
template <typename Ref>
class CFRef {
  public:
    CFRef() = default;
    [[nodiscard]] static CFRef Adopt(Ref object) { return CFRef(object); }
    [[nodiscard]] static CFRef Retain(Ref object) {
        if (object != nullptr) CFRetain(object);
        return CFRef(object);
    }

    CFRef(const CFRef& other) : CFRef(Retain(other.mObject)) {}
    CFRef(CFRef&& other) noexcept : mObject(std::exchange(other.mObject, nullptr)) {}
    CFRef& operator=(CFRef other) noexcept {
        std::swap(mObject, other.mObject);
        return *this;
    }
    ~CFRef() {
        if (mObject != nullptr) CFRelease(mObject);
    }

    /// The object, still owned by this reference; null when there is none.
    Ref Get() const { return mObject; }
    explicit operator bool() const { return mObject != nullptr; }

    /// Hands the reference to the caller, who releases it.
    [[nodiscard]] Ref Release() { return std::exchange(mObject, nullptr); }

    /// For out-arguments that hand out an owned object: drops what is held, then lends the place.
    Ref* Receive() {
        *this = CFRef();
        return &mObject;
    }

  private:
    explicit CFRef(Ref object) : mObject(object) {}

    Ref mObject = nullptr;
};

/// Deduces the reference type of `CFRef::Adopt`.
template <typename Ref>
[[nodiscard]] CFRef<Ref> Adopt(Ref object) {
    return CFRef<Ref>::Adopt(object);
}

/// Deduces the reference type of `CFRef::Retain`.
template <typename Ref>
[[nodiscard]] CFRef<Ref> Retain(Ref object) {
    return CFRef<Ref>::Retain(object);
}

/// A string object of a valid UTF-8 text; none when it is not valid.
[[nodiscard]] inline CFRef<CFStringRef> MakeString(const char* text) {
    return Adopt(CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8));
}

}  // namespace kivo
