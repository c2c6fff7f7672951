#include <CoreFoundation/PortServer.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <utility>

namespace kivo {
namespace {

constexpr uint64_t kListener = 0;
constexpr int kEventsAtOnce = 64;
constexpr int kAcceptedAtOnce = 16;
/// What a long message may take of a turn, so that it does not hold up short ones.
constexpr size_t kMostReadInTurn = 1 << 20;
/// What the unfinished messages of all clients may hold together.
constexpr size_t kMostUnfinishedBytes = size_t{512} << 20;
constexpr size_t kDescriptorsLeftToOthers = 128;
constexpr size_t kFewestConnections = 64;
constexpr size_t kMostConnections = 4096;

size_t ConnectionsAllowed() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return kFewestConnections;
    const auto files = static_cast<size_t>(std::min<rlim_t>(limit.rlim_cur, 1 << 20));
    const size_t allowed = files - std::min(files, kDescriptorsLeftToOthers);
    return std::clamp(allowed, kFewestConnections, kMostConnections);
}

FileDescriptor OpenReserve() {
    return FileDescriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

}  // namespace

/// A client. What it is watched for follows from its state, see `UpdateWatch`.
struct PortServer::Connection {
    uint64_t number;
    FileDescriptor socket;
    pid_t process;
    FrameReader reader;
    /// What is left of replies that the client did not take yet.
    std::vector<uint8_t> unsent;
    size_t unsentBegin = 0;
    uint32_t watchedFor = 0;
    /// Messages of it that are being served; more than one when serving one runs the loop.
    int beingServed = 0;
    uint64_t lastHeard = 0;
    bool isQueued = false;
    /// Its client had stopped sending when a later connection of the same process came.
    bool hasStopped = false;
    /// An earlier connection of the same process has to be served to its end first.
    bool isWaiting = false;
    bool hasEnded = false;
    bool isBroken = false;

    bool IsBlocked() const { return unsentBegin < unsent.size(); }
    bool HasUnread() const {
        char byte = 0;
        return recv(socket.Get(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) >= 0;
    }
};

PortServer::PortServer()
    : mEpoll(epoll_create1(EPOLL_CLOEXEC)),
      mReserve(OpenReserve()),
      mMostConnections(ConnectionsAllowed()) {}

PortServer::~PortServer() = default;

void PortServer::Listen(OwnedPortName name) {
    mName.emplace(std::move(name));
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = kListener;
    epoll_ctl(mEpoll.Get(), EPOLL_CTL_ADD, mName->Listener(), &event);
}

void PortServer::GiveUpName() {
    mName.reset();
}

void PortServer::Close() {
    GiveUpName();
    mReady.clear();
    for (const auto& [number, connection] : std::exchange(mConnections, {})) {
        connection->hasEnded = true;
        UpdateWatch(*connection);
    }
}

// Turns.

std::optional<PortServer::Message> PortServer::NextMessage() {
    if (mTurnsUntilRoom > 0) --mTurnsUntilRoom;
    CollectEvents();
    if (mReady.empty()) return std::nullopt;
    const ConnectionRef connection = mReady.front();
    mReady.pop_front();
    connection->isQueued = false;
    return Serve(connection);
}

void PortServer::CollectEvents() {
    epoll_event events[kEventsAtOnce];
    const int count = epoll_wait(mEpoll.Get(), events, kEventsAtOnce, 0);
    for (int i = 0; i < count; ++i) {
        const std::uint64_t identifier = events[i].data.u64;  // The event itself is packed.
        if (identifier == kListener) {
            AcceptSome();
            continue;
        }
        const auto found = mConnections.find(identifier);
        if (found == mConnections.end()) continue;
        const ConnectionRef connection = found->second;
        if (connection->IsBlocked()) Flush(*connection);
        if (!connection->IsBlocked()) Enqueue(connection);
        Settle(connection);
    }
}

void PortServer::Enqueue(const ConnectionRef& connection) {
    if (std::exchange(connection->isQueued, true)) return;
    mReady.push_back(connection);
}

/// Gives a client its turn.
std::optional<PortServer::Message> PortServer::Serve(const ConnectionRef& connection) {
    std::optional<Message> message;
    if (connection->IsBlocked()) return message;
    FrameReader& reader = connection->reader;
    auto state = reader.Check();
    if (state == FrameReader::State::kIncomplete && Read(*connection)) state = reader.Check();
    if (state == FrameReader::State::kMalformed) connection->isBroken = true;
    if (state == FrameReader::State::kFrame) {
        message.emplace(Message{connection, reader.Take()});
        if (message->frame.header.kind == FrameKind::kReply) {
            connection->isBroken = true;
            message.reset();
        } else {
            ++connection->beingServed;
            if (reader.Check() != FrameReader::State::kIncomplete) Enqueue(connection);
        }
    }
    Settle(connection);
    return message;
}

/// Reads once; true when bytes came.
bool PortServer::Read(Connection& connection) {
    auto space = connection.reader.Space();
    space = space.first(std::min(space.size(), kMostReadInTurn));
    const ssize_t count = recv(connection.socket.Get(), space.data(), space.size(), MSG_DONTWAIT);
    if (count > 0) {
        connection.reader.Commit(static_cast<size_t>(count));
        connection.lastHeard = ++mHeard;
        if (connection.reader.HeldBytes() > 0) LimitUnfinished();
        return true;
    }
    if (count == 0) {
        connection.hasEnded = true;
        ReleaseWaiting(connection.process);
    }
    if (count < 0 && errno != EAGAIN && errno != EINTR) connection.isBroken = true;
    return false;
}

void PortServer::Finish(const Message& message, std::span<const uint8_t> reply) {
    Connection& connection = *message.from;
    --connection.beingServed;
    if (message.frame.header.kind == FrameKind::kRequest && !connection.isBroken) {
        FrameHeader header = message.frame.header;
        header.kind = FrameKind::kReply;
        header.length = static_cast<uint32_t>(reply.size());
        OutgoingFrame frame(header, reply);
        const auto progress = connection.IsBlocked() ? OutgoingFrame::Progress::kBlocked
                                                     : frame.Send(connection.socket.Get());
        if (progress == OutgoingFrame::Progress::kBlocked) frame.AppendRest(connection.unsent);
        if (progress == OutgoingFrame::Progress::kBroken) connection.isBroken = true;
    }
    Settle(message.from);
}

/// Sends what the client did not take before.
void PortServer::Flush(Connection& connection) {
    const size_t left = connection.unsent.size() - connection.unsentBegin;
    const ssize_t sent =
        send(connection.socket.Get(), connection.unsent.data() + connection.unsentBegin, left,
             MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0) {
        if (errno != EAGAIN && errno != EINTR) connection.isBroken = true;
        return;
    }
    connection.unsentBegin += static_cast<size_t>(sent);
    if (connection.IsBlocked()) return;
    connection.unsent = {};
    connection.unsentBegin = 0;
}

/// Brings what the connection is watched for in line with its state, or ends it when it is over.
void PortServer::Settle(const ConnectionRef& connection) {
    const bool isIdle =
        connection->beingServed == 0 && !connection->IsBlocked() && !connection->isQueued;
    if (connection->isBroken || (connection->hasEnded && isIdle)) {
        Drop(connection);
    } else if (mConnections.contains(connection->number)) {
        UpdateWatch(*connection);
    }
}

void PortServer::UpdateWatch(Connection& connection) {
    uint32_t wanted = 0;
    if (connection.IsBlocked()) {
        wanted = EPOLLOUT;
    } else if (!connection.hasEnded && !connection.isWaiting) {
        wanted = EPOLLIN;
    }
    const uint32_t watched = std::exchange(connection.watchedFor, wanted);
    if (wanted == watched) return;
    epoll_event event{};
    event.events = wanted;
    event.data.u64 = connection.number;
    // Not watched at all rather than for nothing: the end of a connection is told in any case.
    const int change = wanted == 0 ? EPOLL_CTL_DEL : watched == 0 ? EPOLL_CTL_ADD : EPOLL_CTL_MOD;
    epoll_ctl(mEpoll.Get(), change, connection.socket.Get(), &event);
}

void PortServer::Drop(const ConnectionRef& connection) {
    connection->isBroken = true;
    if (mConnections.erase(connection->number) == 0) return;
    if (connection->isQueued) std::erase(mReady, connection);
    if (connection->watchedFor != 0) {
        epoll_ctl(mEpoll.Get(), EPOLL_CTL_DEL, connection->socket.Get(), nullptr);
    }
    // A reply that is still to come finds nobody; the peer learns of the end now.
    shutdown(connection->socket.Get(), SHUT_RDWR);
    ReleaseWaiting(connection->process);
}

// Clients that come.

void PortServer::AcceptSome() {
    for (int i = 0; i < kAcceptedAtOnce && AcceptOne(); ++i) {
    }
}

/// Takes in one client; false when there is none, or no place for him now.
bool PortServer::AcceptOne() {
    const bool isFull = mConnections.size() >= mMostConnections;
    if (isFull && (mTurnsUntilRoom > 0 || !MakeRoom())) return false;
    FileDescriptor socket(
        accept4(mName->Listener(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!socket) {
        const bool isShort = errno == EMFILE || errno == ENFILE;
        if (isShort && !MakeRoom()) RefuseOne();
        return isShort || errno == ECONNABORTED || errno == EINTR;
    }
    const auto peer = PeerOf(socket.Get());
    if (peer && peer->user == geteuid()) Admit(std::move(socket), *peer);
    // Making room takes long: one at a time, so that those inside get their turns.
    return !isFull;
}

void PortServer::RefuseOne() {
    mReserve.Close();
    FileDescriptor refused(accept4(mName->Listener(), nullptr, nullptr, SOCK_CLOEXEC));
    refused.Close();
    mReserve = OpenReserve();
}

void PortServer::Admit(FileDescriptor socket, const PortPeer& peer) {
    const auto connection = std::make_shared<Connection>();
    connection->number = ++mLastNumber;
    connection->socket = std::move(socket);
    connection->process = peer.process;
    connection->lastHeard = ++mHeard;
    connection->isWaiting = FindStopped(peer.process);
    mConnections.emplace(connection->number, connection);
    UpdateWatch(*connection);
}

/// Marks the connections of a process whose clients have stopped sending; true if there are any
/// that are not served to their end yet. Their messages were sent before those of a new connection.
bool PortServer::FindStopped(pid_t process) {
    bool isAny = false;
    std::vector<Connection*> unknown;
    std::vector<pollfd> polled;
    for (const auto& [number, connection] : mConnections) {
        if (connection->process != process || connection->hasEnded) continue;
        isAny = isAny || connection->hasStopped;
        if (connection->hasStopped) continue;
        unknown.push_back(connection.get());
        polled.push_back({connection->socket.Get(), POLLRDHUP, 0});
    }
    if (!polled.empty()) poll(polled.data(), polled.size(), 0);
    for (size_t i = 0; i < polled.size(); ++i) {
        unknown[i]->hasStopped = polled[i].revents != 0;
        isAny = isAny || unknown[i]->hasStopped;
    }
    return isAny;
}

/// Lets the connections of a process go on that wait for no earlier one any more. Asks nobody:
/// this is done for each connection that ends, and hundreds may end at once.
void PortServer::ReleaseWaiting(pid_t process) {
    for (const auto& [number, connection] : mConnections) {
        if (connection->process != process) continue;
        if (std::exchange(connection->isWaiting, false)) UpdateWatch(*connection);
        if (connection->hasStopped && !connection->hasEnded) return;
    }
}

/// Ends a silent connection: of the process that has the most, the one not heard of for longest.
/// False when all of that process have something to say: others do not go in their place.
bool PortServer::MakeRoom() {
    std::map<pid_t, size_t> counts;
    for (const auto& [number, connection] : mConnections)
        ++counts[connection->process];
    size_t most = 0;
    for (const auto& [process, count] : counts)
        most = std::max(most, count);
    std::vector<ConnectionRef> candidates;
    for (const auto& [number, connection] : mConnections) {
        const bool isInUse = connection->beingServed > 0 || connection->isQueued;
        if (!isInUse && counts[connection->process] == most) candidates.push_back(connection);
    }
    std::ranges::sort(candidates, {}, [](const auto& one) { return one->lastHeard; });
    const auto silent = std::ranges::find_if(
        candidates, [](const auto& one) { return one->IsBlocked() || !one->HasUnread(); });
    if (silent == candidates.end()) {
        mTurnsUntilRoom = mConnections.size();
        return false;
    }
    Drop(*silent);
    return true;
}

/// Ends those that were not heard of for longest while the unfinished messages hold too much.
void PortServer::LimitUnfinished() {
    for (;;) {
        size_t held = 0;
        ConnectionRef oldest;
        for (const auto& [number, connection] : mConnections) {
            if (connection->reader.HeldBytes() == 0) continue;
            held += connection->reader.HeldBytes();
            if (!oldest || connection->lastHeard < oldest->lastHeard) oldest = connection;
        }
        if (held <= kMostUnfinishedBytes) return;
        Drop(oldest);
    }
}

}  // namespace kivo
