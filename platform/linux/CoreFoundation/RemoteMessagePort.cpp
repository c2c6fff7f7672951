#include <CoreFoundation/CFDataSeams.h>
#include <CoreFoundation/MessagePortName.h>
#include <CoreFoundation/RemoteMessagePort.h>
#include <errno.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace kivo {
namespace {

constexpr CFTimeInterval kLongestSendWait = 10.0 * 24 * 60 * 60;
constexpr CFTimeInterval kLongestReplyWait = 504911232;
constexpr size_t kMostReadAtOnce = 1 << 20;

std::mutex sTableLock;

/// The valid remote ports of the process by name. A port takes itself out when it ends.
std::map<std::string, RemoteMessagePort*>& Table() {
    static auto& table = *new std::map<std::string, RemoteMessagePort*>;
    return table;
}

/// Whole milliseconds; less than one means not to wait, ten days and more for ever.
std::optional<LoopInstant> SendDeadline(CFTimeInterval timeout) {
    if (timeout >= kLongestSendWait) return std::nullopt;
    if (!(timeout >= 0.001)) return LoopInstant{};
    return LoopClock::Current().Now() +
           std::chrono::milliseconds(static_cast<int64_t>(std::floor(timeout * 1000)));
}

std::optional<LoopInstant> ReplyDeadline(CFTimeInterval timeout) {
    if (!(timeout > 0)) return LoopInstant{};
    if (timeout > kLongestReplyWait) return std::nullopt;
    return LoopClock::Current().Now() + InstantFromSeconds(timeout);
}

/// Blocks until the frame is sent or time is up.
OutgoingFrame::Progress SendInTime(OutgoingFrame& frame, int socket, CFTimeInterval timeout) {
    auto progress = frame.Send(socket);
    if (progress != OutgoingFrame::Progress::kBlocked) return progress;
    const auto deadline = SendDeadline(timeout);
    LoopClock& clock = LoopClock::Current();
    pollfd polled{socket, POLLOUT, 0};
    bool isInTime = true;
    while (progress == OutgoingFrame::Progress::kBlocked && isInTime) {
        clock.Wait({&polled, 1}, deadline);
        // Tried once more when time is up: less may be free than makes the socket ready.
        isInTime = !deadline || clock.Now() < *deadline;
        progress = frame.Send(socket);
    }
    return progress;
}

/// A data object of a reply, which the caller keeps for as long as he likes: it holds no more
/// memory than it needs.
CFRef<CFDataRef> ReplyData(Frame& frame) {
    const auto count = static_cast<CFIndex>(frame.payload.size());
    if (frame.storage.Capacity() == 0) {
        return Adopt(CFDataCreate(nullptr, frame.payload.data(), count));
    }
    const auto owner = std::make_shared<GrowingBuffer>(std::move(frame.storage));
    owner->Resize(frame.payload.size());
    return Adopt(CreateDataWithoutCopy({owner->Bytes(), frame.payload.size()}, owner));
}

}  // namespace

/// Somebody who waits for a reply.
struct RemoteMessagePort::Wait {
    uint32_t conversation = 0;
    RunLoop& loop = RunLoop::Current();
    CFRef<CFDataRef> reply;
    /// The reply is there, or will never come.
    std::atomic<bool> isOver{false};
};

/// A connection to the port's owner, and the source that reads it.
class RemoteMessagePort::Link final : public RunLoopSource {
  public:
    Link(RemoteMessagePort& port, FileDescriptor socket)
        : RunLoopSource(-100),
          mPort(kivo::Retain(&port)),
          mSocket(std::move(socket)),
          mPeer(PeerOf(mSocket.Get()).value_or(PortPeer{})) {}

    int Descriptor() const override { return mSocket.Get(); }
    const PortPeer& Peer() const { return mPeer; }
    /// Reads once and hands over the replies that are whole. True when there was one.
    bool Perform() override;
    /// Whether the owner has closed the connection.
    bool IsHungUp() const;
    /// Reads what an owner who has gone had still sent.
    void ReadToEnd();
    /// Ends sending; replies may still come.
    void EndSending() { shutdown(mSocket.Get(), SHUT_WR); }

    /// Ends both directions; the owner learns of it now.
    void Close() { shutdown(mSocket.Get(), SHUT_RDWR); }

  private:
    struct Progress {
        bool hasRead = false;
        bool hasReply = false;
        bool isAtEnd = false;
    };
    Progress Read();

    const CFRef<RemoteMessagePort*> mPort;
    const FileDescriptor mSocket;
    const PortPeer mPeer;
    /// Two loops may have the same link.
    std::mutex mReadLock;
    FrameReader mReader;
};

bool RemoteMessagePort::Link::Perform() {
    const Progress progress = Read();
    if (progress.isAtEnd) mPort.Get()->LinkEnded(*this);
    return progress.hasReply || progress.isAtEnd;
}

void RemoteMessagePort::Link::ReadToEnd() {
    Progress progress;
    do {
        progress = Read();
    } while (progress.hasRead && !progress.isAtEnd);
    if (progress.isAtEnd) mPort.Get()->LinkEnded(*this);
}

RemoteMessagePort::Link::Progress RemoteMessagePort::Link::Read() {
    const std::lock_guard lock(mReadLock);
    auto space = mReader.Space();
    space = space.first(std::min(space.size(), kMostReadAtOnce));
    const ssize_t count = recv(mSocket.Get(), space.data(), space.size(), MSG_DONTWAIT);
    Progress progress;
    progress.isAtEnd = count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR);
    if (count <= 0) return progress;
    progress.hasRead = true;
    mReader.Commit(static_cast<size_t>(count));
    auto state = mReader.Check();
    for (; state == FrameReader::State::kFrame; state = mReader.Check()) {
        Frame frame = mReader.Take();
        // An owner that sends anything else is no owner of a port.
        progress.isAtEnd = frame.header.kind != FrameKind::kReply;
        if (progress.isAtEnd) return progress;
        mPort.Get()->Deliver(std::move(frame));
        progress.hasReply = true;
    }
    progress.isAtEnd = state == FrameReader::State::kMalformed;
    return progress;
}

bool RemoteMessagePort::Link::IsHungUp() const {
    pollfd polled{mSocket.Get(), POLLRDHUP, 0};
    return poll(&polled, 1, 0) > 0;
}

CFRef<RemoteMessagePort*> RemoteMessagePort::Obtain(const std::string& name) {
    CFRef<RemoteMessagePort*> port;
    {
        const std::lock_guard lock(sTableLock);
        const auto found = Table().find(name);
        if (found == Table().end()) {
            FileDescriptor socket = ConnectToPort(name);
            if (!socket) return {};
            port = Adopt(new RemoteMessagePort(name));
            port.Get()->Use(Adopt(new Link(*port.Get(), std::move(socket))));
            Table().emplace(name, port.Get());
            return port;
        }
        port = kivo::Retain(found->second);
    }
    return port.Get()->IsValid() ? port : CFRef<RemoteMessagePort*>();
}

RemoteMessagePort::~RemoteMessagePort() {
    InvalidateAtLast();
}

bool RemoteMessagePort::IsValid() {
    const auto keep = kivo::Retain(this);
    const auto link = CurrentLink();
    if (link && link.Get()->IsHungUp()) link.Get()->ReadToEnd();
    return IsMarkedValid();
}

CFRef<RemoteMessagePort::Link*> RemoteMessagePort::CurrentLink() const {
    const std::lock_guard lock(mLock);
    return mLink;
}

void RemoteMessagePort::Use(const CFRef<Link*>& link) {
    {
        const std::lock_guard lock(mLock);
        if (mLink) mFormerLinks.push_back(mLink);
        mLink = link;
    }
    RunLoop::Main().Add(*link.Get(), kCFRunLoopCommonModes);
}

SInt32 RemoteMessagePort::SendRequest(SInt32 msgid, CFDataRef data, CFTimeInterval sendTimeout,
                                      CFTimeInterval receiveTimeout, CFStringRef replyMode,
                                      CFDataRef* reply) {
    const auto payload = data == nullptr ? std::span<const UInt8>() : BytesOf(data);
    if (payload.size() > kLongestPayload) return kCFMessagePortTransportError;
    if (!IsMarkedValid()) return kCFMessagePortIsInvalid;
    const auto keep = kivo::Retain(this);
    FrameHeader header{FrameKind::kOneWay, 0, msgid, static_cast<uint32_t>(payload.size())};
    if (replyMode == nullptr) return Send(header, payload, sendTimeout);

    Wait wait;
    BeginWait(wait);
    header.kind = FrameKind::kRequest;
    header.conversation = wait.conversation;
    const SInt32 status = Send(header, payload, sendTimeout);
    if (status == kCFMessagePortSuccess) AwaitReply(wait, receiveTimeout, replyMode);
    EndWait(wait);
    if (status != kCFMessagePortSuccess) return status;
    if (!wait.reply) {
        return IsMarkedValid() ? kCFMessagePortReceiveTimeout : kCFMessagePortBecameInvalidError;
    }
    if (reply != nullptr) *reply = wait.reply.Release();
    return kCFMessagePortSuccess;
}

/// Blocks until the kernel has the whole frame. A frame that could not be finished in time ends its
/// connection: the owner drops the half, and what comes next needs another.
SInt32 RemoteMessagePort::Send(const FrameHeader& header, std::span<const uint8_t> payload,
                               CFTimeInterval timeout) {
    const std::lock_guard lock(mSendLock);
    const auto link = CurrentLink();
    if (!link) return kCFMessagePortTransportError;
    OutgoingFrame frame(header, payload);
    const auto progress = SendInTime(frame, link.Get()->Descriptor(), timeout);
    if (progress == OutgoingFrame::Progress::kDone) return kCFMessagePortSuccess;
    if (progress == OutgoingFrame::Progress::kBroken) return kCFMessagePortTransportError;
    if (frame.IsBegun()) ReplaceHalfSent();
    return kCFMessagePortSendTimeout;
}

/// Without a new connection to the same owner the port is about to end: sends fail until the end of
/// the former link is noticed.
void RemoteMessagePort::ReplaceHalfSent() {
    const auto former = CurrentLink();
    if (!former) return;
    former.Get()->EndSending();
    FileDescriptor socket = ConnectToPort(NameBytes());
    if (!socket) return;
    auto link = Adopt(new Link(*this, std::move(socket)));
    if (link.Get()->Peer().process == former.Get()->Peer().process) Use(link);
}

// Replies.

void RemoteMessagePort::BeginWait(Wait& wait) {
    const std::lock_guard lock(mLock);
    if (++mLastConversation == 0) ++mLastConversation;
    wait.conversation = mLastConversation;
    mWaits.push_back(&wait);
}

void RemoteMessagePort::EndWait(const Wait& wait) {
    const std::lock_guard lock(mLock);
    std::erase(mWaits, &wait);
}

void RemoteMessagePort::AwaitReply(Wait& wait, CFTimeInterval timeout, CFStringRef mode) {
    const auto link = CurrentLink();
    if (!link) return;
    const bool isAdded = !wait.loop.Contains(*link.Get(), mode);
    if (isAdded) wait.loop.Add(*link.Get(), mode);
    LoopClock& clock = LoopClock::Current();
    const RunLimits limits{ReplyDeadline(timeout), true, &wait.isOver};
    bool isInTime = true;
    bool isRunnable = true;
    while (!wait.isOver && isInTime && isRunnable) {
        isRunnable = wait.loop.Run(mode, limits) != kCFRunLoopRunFinished;
        isInTime = wait.isOver || !limits.deadline || clock.Now() < *limits.deadline;
    }
    if (isAdded) wait.loop.Remove(*link.Get(), mode);
    // A mode that cannot be run brings no reply, but the time passes all the same.
    if (!isRunnable && !wait.isOver) clock.Wait({}, limits.deadline);
    // A reply that came while something else was served counts.
    if (isRunnable && !wait.isOver) link.Get()->Perform();
    if (!wait.isOver) IsValid();
}

void RemoteMessagePort::Deliver(Frame frame) {
    const std::lock_guard lock(mLock);
    for (Wait* wait : mWaits) {
        if (wait->conversation != frame.header.conversation || wait->isOver) continue;
        wait->reply = ReplyData(frame);
        wait->isOver.store(true, std::memory_order_release);
        if (&wait->loop != &RunLoop::Current()) wait->loop.WakeUp();
    }
}

// The end.

void RemoteMessagePort::LinkEnded(const Link& link) {
    CFRef<Link*> former;
    {
        const std::lock_guard lock(mLock);
        for (auto& candidate : mFormerLinks) {
            if (candidate.Get() == &link) former = candidate;
        }
        std::erase_if(mFormerLinks, [&](const auto& other) { return other.Get() == &link; });
    }
    if (former) {
        former.Get()->Invalidate();
    } else {
        Invalidate();
    }
}

void RemoteMessagePort::GiveUpName() {
    const std::lock_guard lock(sTableLock);
    const auto found = Table().find(NameBytes());
    if (found != Table().end() && found->second == this) Table().erase(found);
}

void RemoteMessagePort::Disconnect() {
    std::vector<CFRef<Link*>> links;
    {
        const std::lock_guard lock(mLock);
        links = std::exchange(mFormerLinks, {});
        if (mLink) links.push_back(std::exchange(mLink, {}));
        for (Wait* wait : mWaits) {
            wait->isOver.store(true, std::memory_order_release);
            if (&wait->loop != &RunLoop::Current()) wait->loop.WakeUp();
        }
    }
    for (const auto& link : links) {
        link.Get()->Close();
        link.Get()->Invalidate();
    }
}

}  // namespace kivo
