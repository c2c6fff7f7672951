#include <CoreFoundation/CFString.h>
#include <CoreFoundation/MessagePort.h>

namespace kivo {
namespace {

constexpr CFIndex kLongestName = 128;

CFRef<CFStringRef> NameFromBytes(const std::string& bytes) {
    if (bytes.empty()) return {};
    return Adopt(CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                                         static_cast<CFIndex>(bytes.size()), kCFStringEncodingUTF8,
                                         false));
}

}  // namespace

std::string PortNameBytes(CFStringRef name) {
    if (name == nullptr) return {};
    UInt8 bytes[kLongestName];
    CFIndex count = 0;
    CFStringGetBytes(name, CFRangeMake(0, CFStringGetLength(name)), kCFStringEncodingUTF8, 0, false,
                     bytes, kLongestName, &count);
    const std::string text(reinterpret_cast<const char*>(bytes), static_cast<size_t>(count));
    return text.find('\0') == std::string::npos ? text : std::string();
}

MessagePort::MessagePort(const std::string& name) : mNameBytes(name), mName(NameFromBytes(name)) {}

CFTypeID MessagePort::TypeID() const {
    return CFMessagePortGetTypeID();
}

CFStringRef MessagePort::Name() const {
    const std::lock_guard lock(mLock);
    return mName.Get();
}

std::string MessagePort::NameBytes() const {
    const std::lock_guard lock(mLock);
    return mNameBytes;
}

void MessagePort::SetNameBytes(const std::string& name) {
    auto newName = NameFromBytes(name);
    const std::lock_guard lock(mLock);
    mNameBytes = name;
    std::swap(mName, newName);
}

void MessagePort::Invalidate() {
    const auto keep = kivo::Retain(this);
    if (!mValid.exchange(false, std::memory_order_acq_rel)) return;
    GiveUpName();
    if (const auto callback = mInvalidation.exchange(nullptr)) {
        callback(reinterpret_cast<CFMessagePortRef>(this), Context().info);
    }
    ReleaseInfo();
    Disconnect();
}

void MessagePort::InvalidateAtLast() {
    // The callback may retain and release the port once more.
    MakeImmortal();
    Invalidate();
}

void MessagePort::SetInvalidationCallBack(CFMessagePortInvalidationCallBack callback) {
    if (callback != nullptr && !IsMarkedValid()) {
        callback(reinterpret_cast<CFMessagePortRef>(this), Context().info);
    } else {
        mInvalidation.store(callback);
    }
}

}  // namespace kivo
