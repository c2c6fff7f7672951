#include <CFRef.h>
#include <CoreFoundation/CFMachPort.h>
#include <CoreFoundation/CFMachPortSeams.h>
#include <CoreFoundation/CFRuntime.h>
#include <CoreFoundation/RunLoopSeams.h>

#include <utility>

namespace kivo {
namespace {

class MachPort final : public CFObject {
  public:
    explicit MachPort(std::shared_ptr<MachPortClient> client) : mClient(std::move(client)) {}
    ~MachPort() override { Invalidate(); }

    CFTypeID TypeID() const override { return CFMachPortGetTypeID(); }
    MachPortClient* Client() const { return mClient.get(); }

    CFRunLoopSourceRef CopySource() {
        if (!mClient) return nullptr;
        if (!mSource) {
            const DescriptorSourceContext context = {
                .info = this, .perform = DeliverEntry, .isReady = HasWorkEntry};
            mSource = Adopt(CreateDescriptorSource(mClient->Descriptor(), context));
        }
        CFRetain(mSource.Get());
        return mSource.Get();
    }

    void Invalidate() {
        if (mSource) CFRunLoopSourceInvalidate(mSource.Get());
        mSource = {};
        mClient.reset();
    }

  private:
    /// The client stays while it delivers, though it may have its own port invalidated.
    static void DeliverEntry(void* info) {
        if (const auto client = static_cast<MachPort*>(info)->mClient) client->Deliver();
    }
    static bool HasWorkEntry(void* info) {
        const auto& client = static_cast<MachPort*>(info)->mClient;
        return client && client->HasWork();
    }

    std::shared_ptr<MachPortClient> mClient;
    CFRef<CFRunLoopSourceRef> mSource;
};

MachPort& PortOf(CFMachPortRef port) {
    return *reinterpret_cast<MachPort*>(port);
}

}  // namespace

CFMachPortRef CreateMachPort(std::shared_ptr<MachPortClient> client) {
    return reinterpret_cast<CFMachPortRef>(new MachPort(std::move(client)));
}

MachPortClient* ClientOf(CFMachPortRef port) {
    return PortOf(port).Client();
}

}  // namespace kivo

CFTypeID CFMachPortGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("CFMachPort");
    return id;
}

CFRunLoopSourceRef CFMachPortCreateRunLoopSource(CFAllocatorRef, CFMachPortRef port, CFIndex) {
    return kivo::PortOf(port).CopySource();
}

void CFMachPortInvalidate(CFMachPortRef port) {
    kivo::PortOf(port).Invalidate();
}

Boolean CFMachPortIsValid(CFMachPortRef port) {
    return kivo::ClientOf(port) != nullptr;
}
