#pragma once

// Inside of the layer only, never installed: what every object behind a CF reference is.

#include <CoreFoundation/CFBase.h>

#include <atomic>
#include <limits>
#include <string>
#include <utility>

namespace kivo {

/// The base of every object that a CF name hands out. A reference such as CFStringRef is the
/// address of an object of a class derived from this one, which must be its first base, so that a
/// CFTypeRef can be turned back by `AsObject`.
///
/// Objects are born with one reference, owned by the creator. The count is atomic; everything
/// else belongs to the type.
class CFObject {
  public:
    CFObject(const CFObject&) = delete;
    CFObject& operator=(const CFObject&) = delete;

    virtual CFTypeID TypeID() const = 0;
    /// Whether `other`, of the same type, has an equal value. Identity unless a type says more.
    virtual bool Equal(const CFObject& other) const { return this == &other; }
    /// Equal objects have equal hashes.
    virtual CFHashCode Hash() const { return reinterpret_cast<CFHashCode>(this); }
    /// What %@ prints, as UTF-8.
    virtual std::string Description() const;

    void Retain() const;
    /// Destroys the object when this was the last reference.
    void Release() const;
    CFIndex RetainCount() const { return mRetainCount.load(std::memory_order_relaxed); }
    /// Takes the object out of counting: constants and singletons live for ever.
    void MakeImmortal() const;

  protected:
    struct Immortal {};

    CFObject() = default;
    /// A constant, which needs no initialisation at start-up.
    constexpr explicit CFObject(Immortal) : mRetainCount(kImmortalCount) {}
    virtual ~CFObject() = default;

  private:
    static constexpr CFIndex kImmortalCount = std::numeric_limits<CFIndex>::max();

    mutable std::atomic<CFIndex> mRetainCount{1};
};

/// Holds a constant object that is never destroyed, so that it may be used until the very end of
/// the process.
template <typename T>
union Forever {
    template <typename... Arguments>
    constexpr explicit Forever(Arguments&&... arguments)
        : object(std::forward<Arguments>(arguments)...) {}
    constexpr ~Forever() {}

    T object;
};

/// Registers a type once, under a name that descriptions show. `name` must live for ever.
///
///     CFTypeID CFDataGetTypeID() {
///         static const CFTypeID id = kivo::RegisterType("CFData");
///         return id;
///     }
CFTypeID RegisterType(const char* name);

/// The name that a type was registered under; "CFType" when there is no such type.
const char* TypeName(CFTypeID id);

/// The object behind a reference that is not null.
inline const CFObject& AsObject(CFTypeRef reference) {
    return *static_cast<const CFObject*>(reference);
}

}  // namespace kivo
