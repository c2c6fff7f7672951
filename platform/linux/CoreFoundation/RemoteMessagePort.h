#pragma once

// Inside of the layer only: the sending end of a message port.

#include <CoreFoundation/MessageFrame.h>
#include <CoreFoundation/MessagePort.h>
#include <CoreFoundation/RunLoop.h>

#include <vector>

namespace kivo {

/// Sends to the port of a name over one connection. The end of the connection is the end of the
/// port; the main loop notices it by a source in its common modes, which also takes in what comes
/// when nobody waits. Port and source keep each other until the port is invalidated.
class RemoteMessagePort final : public MessagePort {
  public:
    /// The port of this name, the same for all callers while it is valid; null when there is none
    /// or the one known so far turns out to be gone.
    static CFRef<RemoteMessagePort*> Obtain(const std::string& name);
    ~RemoteMessagePort() override;

    bool IsRemote() const override { return true; }
    bool IsValid() override;
    /// As CFMessagePortSendRequest. A null mode means that no reply is wanted.
    SInt32 SendRequest(SInt32 msgid, CFDataRef data, CFTimeInterval sendTimeout,
                       CFTimeInterval receiveTimeout, CFStringRef replyMode, CFDataRef* reply);

  private:
    class Link;
    struct Wait;

    explicit RemoteMessagePort(const std::string& name) : MessagePort(name) {}
    CFRef<Link*> CurrentLink() const;
    void Use(const CFRef<Link*>& link);
    void ReplaceHalfSent();

    SInt32 Send(const FrameHeader& header, std::span<const uint8_t> payload,
                CFTimeInterval timeout);
    void AwaitReply(Wait& wait, CFTimeInterval timeout, CFStringRef mode);
    void BeginWait(Wait& wait);
    void EndWait(const Wait& wait);
    void Deliver(Frame frame);
    void LinkEnded(const Link& link);

    void GiveUpName() override;
    void Disconnect() override;

    /// Keeps the frames of several threads apart. Taken before mLock.
    std::mutex mSendLock;
    // Guarded by mLock.
    CFRef<Link*> mLink;
    /// Former links, which may still bring replies.
    std::vector<CFRef<Link*>> mFormerLinks;
    std::vector<Wait*> mWaits;
    uint32_t mLastConversation = 0;
};

}  // namespace kivo
