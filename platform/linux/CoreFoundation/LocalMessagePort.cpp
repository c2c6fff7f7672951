#include <CoreFoundation/CFDataSeams.h>
#include <CoreFoundation/LocalMessagePort.h>
#include <CoreFoundation/RunLoopItems.h>

#include <cstdio>

namespace kivo {
namespace {

std::mutex sTableLock;

/// The valid local ports of the process by name. A port takes itself out when it ends.
std::map<std::string, LocalMessagePort*>& Table() {
    static auto& table = *new std::map<std::string, LocalMessagePort*>;
    return table;
}

/// A data object of what was received. A long payload is not copied; its memory is used again when
/// the object goes.
CFRef<CFDataRef> DataOf(Frame& frame) {
    if (frame.storage.Capacity() == 0) {
        return Adopt(CFDataCreate(nullptr, frame.payload.data(),
                                  static_cast<CFIndex>(frame.payload.size())));
    }
    const std::shared_ptr<GrowingBuffer> owner(new GrowingBuffer(std::move(frame.storage)),
                                               [](GrowingBuffer* buffer) {
                                                   SpareBuffer::Give(std::move(*buffer));
                                                   delete buffer;
                                               });
    return Adopt(CreateDataWithoutCopy(frame.payload, owner));
}

std::span<const UInt8> ReplyBytes(CFDataRef data) {
    if (data == nullptr) return {};
    const auto bytes = BytesOf(data);
    if (bytes.size() <= kLongestPayload) return bytes;
    std::fprintf(
        stderr,
        "message ports: a reply of %zu bytes is over the limit of %u; an empty one is sent\n",
        bytes.size(), kLongestPayload);
    return {};
}

}  // namespace

/// Tells the loop of the port's clients. Keeps the port, which lets go of it when it ends.
class LocalMessagePort::PortSource final : public RunLoopSource {
  public:
    PortSource(LocalMessagePort& port, CFIndex order)
        : RunLoopSource(order), mPort(kivo::Retain(&port)) {}

    int Descriptor() const override { return mDescriptor; }
    bool HasKeptWork() override { return mPort.Get()->HasWork(); }
    bool Perform() override { return mPort.Get()->ServeOne(); }

  private:
    const CFRef<LocalMessagePort*> mPort;
    const int mDescriptor = mPort.Get()->mServer.Descriptor();
};

CFRef<LocalMessagePort*> LocalMessagePort::Obtain(const std::string& name,
                                                  CFMessagePortCallBack callback,
                                                  const CFMessagePortContext* context,
                                                  bool& isNew) {
    isNew = false;
    CFRef<LocalMessagePort*> port;
    {
        const std::lock_guard lock(sTableLock);
        const auto found = Table().find(name);
        if (found != Table().end()) return kivo::Retain(found->second);
        auto owned = name.empty() ? std::nullopt : OwnedPortName::Take(name);
        if (!name.empty() && !owned) return {};
        port = Adopt(new LocalMessagePort(name, callback));
        if (owned) {
            port.Get()->mServer.Listen(std::move(*owned));
            Table().emplace(name, port.Get());
        }
    }
    port.Get()->AdoptContext(context);
    isNew = true;
    return port;
}

LocalMessagePort::LocalMessagePort(const std::string& name, CFMessagePortCallBack callback)
    : MessagePort(name), mCallback(callback) {}

LocalMessagePort::~LocalMessagePort() {
    InvalidateAtLast();
}

void LocalMessagePort::AdoptContext(const CFMessagePortContext* context) {
    if (context == nullptr) return;
    CFMessagePortContext copy = *context;
    if (copy.retain != nullptr) copy.info = const_cast<void*>(copy.retain(copy.info));
    const std::lock_guard lock(mLock);
    mContext = copy;
}

CFMessagePortContext LocalMessagePort::Context() const {
    const std::lock_guard lock(mLock);
    return mContext;
}

bool LocalMessagePort::Rename(const std::string& name) {
    const std::lock_guard lock(sTableLock);
    if (!IsMarkedValid() || name.empty() || Table().contains(name)) return false;
    auto owned = OwnedPortName::Take(name);
    if (!owned) return false;
    Table().erase(NameBytes());
    SetNameBytes(name);
    Table().emplace(name, this);
    const std::lock_guard portLock(mLock);
    mServer.Close();
    mServer.Listen(std::move(*owned));
    return true;
}

CFRef<RunLoopSource*> LocalMessagePort::Source(CFIndex order) {
    const std::lock_guard lock(mLock);
    if (!IsMarkedValid()) return {};
    if (!mSource) mSource = Adopt<RunLoopSource*>(new PortSource(*this, order));
    return mSource;
}

void LocalMessagePort::GiveUpName() {
    const std::lock_guard lock(sTableLock);
    const auto found = Table().find(NameBytes());
    if (found != Table().end() && found->second == this) Table().erase(found);
    const std::lock_guard portLock(mLock);
    mServer.GiveUpName();
}

void LocalMessagePort::ReleaseInfo() {
    CFMessagePortContext ended{};
    {
        const std::lock_guard lock(mLock);
        ended = mContext;
        mContext.info = nullptr;
    }
    if (ended.release != nullptr) ended.release(ended.info);
}

void LocalMessagePort::Disconnect() {
    CFRef<RunLoopSource*> source;
    {
        const std::lock_guard lock(mLock);
        std::swap(source, mSource);
    }
    if (source) source.Get()->Invalidate();
    const std::lock_guard lock(mLock);
    mServer.Close();
}

bool LocalMessagePort::HasWork() const {
    const std::lock_guard lock(mLock);
    return mServer.HasWork();
}

/// One turn of one client. True when it brought a message.
bool LocalMessagePort::ServeOne() {
    std::optional<PortServer::Message> message;
    CFRef<CFDataRef> data;
    {
        const std::lock_guard lock(mLock);
        message = mServer.NextMessage();
        if (!message) return false;
        data = DataOf(message->frame);
    }
    const CFRef<CFDataRef> reply = Call(message->frame.header, data.Get());
    const std::lock_guard lock(mLock);
    mServer.Finish(*message, ReplyBytes(reply.Get()));
    return true;
}

CFRef<CFDataRef> LocalMessagePort::Call(const FrameHeader& header, CFDataRef data) {
    const CFMessagePortContext context = Context();
    void* info = context.info;
    if (context.retain != nullptr) info = const_cast<void*>(context.retain(info));
    auto reply =
        Adopt<CFDataRef>(mCallback == nullptr ? nullptr
                                              : mCallback(reinterpret_cast<CFMessagePortRef>(this),
                                                          header.msgid, data, info));
    if (context.release != nullptr) context.release(info);
    return reply;
}

}  // namespace kivo
