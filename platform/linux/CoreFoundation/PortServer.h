#pragma once

// Inside of the layer only: the clients of a message port.

#include <CoreFoundation/MessageFrame.h>
#include <CoreFoundation/MessagePortName.h>
#include <sys/types.h>

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace kivo {

/// Takes in the clients of a port and reads their messages, each client in turn, without ever
/// waiting for one. The listening socket and all connections are in one epoll instance. Knows
/// nothing of callbacks; not safe for several threads at once.
///
/// Nobody pays for another's bad manners: who is silent, stalls inside a frame, floods, does not
/// read his replies or sends nonsense keeps a place and what he has sent, at most.
class PortServer {
  public:
    struct Connection;
    using ConnectionRef = std::shared_ptr<Connection>;

    struct Message {
        ConnectionRef from;
        Frame frame;
    };

    PortServer();
    ~PortServer();
    PortServer(const PortServer&) = delete;
    PortServer& operator=(const PortServer&) = delete;

    /// Readable when `NextMessage` has something to do; for the server's whole life.
    int Descriptor() const { return mEpoll.Get(); }
    /// Begins to take in clients under a name, which is given up by `Close`.
    void Listen(OwnedPortName name);
    void GiveUpName();
    /// Closes all connections; one whose message is being served when that is done.
    void Close();
    /// Closes what is too much from now on. By default what the process's limits allow.
    void SetMostConnections(size_t most) { mMostConnections = most; }
    size_t ConnectionCount() const { return mConnections.size(); }

    /// Does what the descriptor told of and gives one client its turn: reads up to 1 MiB and
    /// returns a message if one is whole. `Finish` has to be called for each.
    std::optional<Message> NextMessage();
    /// Whether a client is waiting for its turn with what is already in memory.
    bool HasWork() const { return !mReady.empty(); }
    /// Ends the serving of a message; sends the reply when it wanted one. What the client does not
    /// take now is kept, and until it is sent nothing further is read from him.
    void Finish(const Message& message, std::span<const uint8_t> reply);

  private:
    void CollectEvents();
    void Enqueue(const ConnectionRef& connection);
    std::optional<Message> Serve(const ConnectionRef& connection);
    bool Read(Connection& connection);
    void Flush(Connection& connection);
    void Settle(const ConnectionRef& connection);
    void UpdateWatch(Connection& connection);
    void Drop(const ConnectionRef& connection);

    void AcceptSome();
    bool AcceptOne();
    void RefuseOne();
    void Admit(FileDescriptor socket, const PortPeer& peer);
    bool FindStopped(pid_t process);
    void ReleaseWaiting(pid_t process);
    bool MakeRoom();
    void LimitUnfinished();

    FileDescriptor mEpoll;
    /// Given up for a moment when there are no descriptors left, to refuse a client instead of
    /// being told of him for ever.
    FileDescriptor mReserve;
    std::optional<OwnedPortName> mName;
    size_t mMostConnections;
    /// Looking for a silent connection asks all of them. After it was in vain as many turns pass,
    /// or a crowd at the door would slow down everybody inside.
    size_t mTurnsUntilRoom = 0;
    uint64_t mLastNumber = 0;
    /// Counts what is heard; the connection with the lowest stamp was silent for longest.
    uint64_t mHeard = 0;
    /// By a number that is never used again, so that a late event finds no new connection.
    std::map<uint64_t, ConnectionRef> mConnections;
    std::deque<ConnectionRef> mReady;
};

}  // namespace kivo
