#pragma once

// Inside of the layer only: the receiving end of a message port.

#include <CoreFoundation/MessagePort.h>
#include <CoreFoundation/PortServer.h>

namespace kivo {

class RunLoopSource;

/// Hands what clients send under a name to a callback, one message an iteration of the loop that
/// has the port's source.
class LocalMessagePort final : public MessagePort {
  public:
    /// The port of this name in the process if it is valid, else a new one, as `isNew` says; null
    /// when the name is taken.
    static CFRef<LocalMessagePort*> Obtain(const std::string& name, CFMessagePortCallBack callback,
                                           const CFMessagePortContext* context, bool& isNew);
    ~LocalMessagePort() override;

    bool IsRemote() const override { return false; }
    CFMessagePortContext Context() const override;
    /// Gives up the present name, and its connections, for another; false when that is taken.
    bool Rename(const std::string& name);
    /// The port's only source, made by the first call; null once the port is invalid.
    CFRef<RunLoopSource*> Source(CFIndex order);

  private:
    class PortSource;

    LocalMessagePort(const std::string& name, CFMessagePortCallBack callback);
    void AdoptContext(const CFMessagePortContext* context);
    void GiveUpName() override;
    void ReleaseInfo() override;
    void Disconnect() override;
    bool HasWork() const;
    bool ServeOne();
    CFRef<CFDataRef> Call(const FrameHeader& header, CFDataRef data);

    const CFMessagePortCallBack mCallback;
    CFMessagePortContext mContext{};
    CFRef<RunLoopSource*> mSource;
    PortServer mServer;
};

}  // namespace kivo
