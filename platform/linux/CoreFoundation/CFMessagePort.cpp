#include <CoreFoundation/LocalMessagePort.h>
#include <CoreFoundation/RemoteMessagePort.h>

namespace {

using kivo::LocalMessagePort;
using kivo::MessagePort;
using kivo::RemoteMessagePort;

MessagePort& Port(CFMessagePortRef port) {
    return *reinterpret_cast<MessagePort*>(port);
}

LocalMessagePort* AsLocal(CFMessagePortRef port) {
    return Port(port).IsRemote() ? nullptr : static_cast<LocalMessagePort*>(&Port(port));
}

CFMessagePortRef Reference(MessagePort* port) {
    return reinterpret_cast<CFMessagePortRef>(port);
}

}  // namespace

CFTypeID CFMessagePortGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("CFMessagePort");
    return id;
}

CFMessagePortRef CFMessagePortCreateLocal(CFAllocatorRef, CFStringRef name,
                                          CFMessagePortCallBack callout,
                                          CFMessagePortContext* context, Boolean* shouldFreeInfo) {
    bool isNew = false;
    auto port = LocalMessagePort::Obtain(kivo::PortNameBytes(name), callout, context, isNew);
    if (shouldFreeInfo != nullptr) *shouldFreeInfo = !isNew;
    return Reference(port.Release());
}

CFMessagePortRef CFMessagePortCreateRemote(CFAllocatorRef, CFStringRef name) {
    const std::string bytes = kivo::PortNameBytes(name);
    if (bytes.empty()) return nullptr;
    return Reference(RemoteMessagePort::Obtain(bytes).Release());
}

Boolean CFMessagePortIsRemote(CFMessagePortRef port) {
    return Port(port).IsRemote();
}

CFStringRef CFMessagePortGetName(CFMessagePortRef port) {
    return Port(port).Name();
}

Boolean CFMessagePortSetName(CFMessagePortRef port, CFStringRef name) {
    LocalMessagePort* local = AsLocal(port);
    return local != nullptr && local->Rename(kivo::PortNameBytes(name));
}

void CFMessagePortGetContext(CFMessagePortRef port, CFMessagePortContext* context) {
    *context = Port(port).Context();
}

void CFMessagePortInvalidate(CFMessagePortRef port) {
    Port(port).Invalidate();
}

Boolean CFMessagePortIsValid(CFMessagePortRef port) {
    return Port(port).IsValid();
}

CFMessagePortInvalidationCallBack CFMessagePortGetInvalidationCallBack(CFMessagePortRef port) {
    return Port(port).InvalidationCallBack();
}

void CFMessagePortSetInvalidationCallBack(CFMessagePortRef port,
                                          CFMessagePortInvalidationCallBack callout) {
    Port(port).SetInvalidationCallBack(callout);
}

SInt32 CFMessagePortSendRequest(CFMessagePortRef remote, SInt32 msgid, CFDataRef data,
                                CFTimeInterval sendTimeout, CFTimeInterval rcvTimeout,
                                CFStringRef replyMode, CFDataRef* returnData) {
    // A local port sends to itself, as any remote port of its name does.
    const bool isLocal = !Port(remote).IsRemote();
    const auto toItself = isLocal ? RemoteMessagePort::Obtain(Port(remote).NameBytes())
                                  : kivo::CFRef<RemoteMessagePort*>();
    if (isLocal && !toItself) return kCFMessagePortIsInvalid;
    auto* target = isLocal ? toItself.Get() : static_cast<RemoteMessagePort*>(&Port(remote));
    return target->SendRequest(msgid, data, sendTimeout, rcvTimeout, replyMode, returnData);
}

CFRunLoopSourceRef CFMessagePortCreateRunLoopSource(CFAllocatorRef, CFMessagePortRef local,
                                                    CFIndex order) {
    LocalMessagePort* port = AsLocal(local);
    if (port == nullptr) return nullptr;
    return reinterpret_cast<CFRunLoopSourceRef>(port->Source(order).Release());
}
