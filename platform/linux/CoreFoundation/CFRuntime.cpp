#include <CoreFoundation/CFRuntime.h>

#include <array>
#include <cstdio>

namespace kivo {

namespace {

/// Names by type, filled from 1 upward. Types are registered once each, so a fixed table serves and
/// needs neither lock nor destruction.
constexpr size_t kMaximumTypes = 64;
std::array<std::atomic<const char*>, kMaximumTypes> gTypeNames;
std::atomic<CFTypeID> gLastType{0};

}  // namespace

CFTypeID RegisterType(const char* name) {
    const CFTypeID id = ++gLastType;
    if (id >= kMaximumTypes) __builtin_trap();
    gTypeNames[id] = name;
    return id;
}

const char* TypeName(CFTypeID id) {
    const char* name = id < kMaximumTypes ? gTypeNames[id].load() : nullptr;
    return name != nullptr ? name : "CFType";
}

std::string CFObject::Description() const {
    char text[64];
    std::snprintf(text, sizeof text, "<%s %p>", TypeName(TypeID()), static_cast<const void*>(this));
    return text;
}

void CFObject::Retain() const {
    if (RetainCount() != kImmortalCount) mRetainCount.fetch_add(1, std::memory_order_relaxed);
}

void CFObject::Release() const {
    if (RetainCount() == kImmortalCount) return;
    if (mRetainCount.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

void CFObject::MakeImmortal() const {
    mRetainCount.store(kImmortalCount, std::memory_order_relaxed);
}

}  // namespace kivo
