#pragma once

#include <sys/types.h>

#include <memory>
#include <vector>

namespace kivo::desktop::x11 {

/// Stands between xcb and the server, so that xcb never waits for the server.
///
/// xcb reads without waiting only as long as there is nothing to read: once a reply has begun to
/// arrive it waits, without a limit, for the rest. Servers send a reply's head and its data in two
/// writes, so one that is stopped often stops between them. It also waits, without a limit, when
/// the socket takes no more requests. The relay keeps what it has read until a packet is whole, and
/// what it could not send until there is room, and only then hands it on.
class Relay {
  public:
    /// Takes the place of a connected socket: from now on what is read from `descriptor` has come
    /// through the relay, and what is written to it goes through it. Null when the system has no
    /// descriptors left.
    static std::unique_ptr<Relay> TakePlaceOf(int descriptor);
    ~Relay();
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    /// Readable when the server has sent something, and writable when it takes more.
    int Server() const { return mServer; }
    bool HasUnsent() const { return !mUnsent.empty(); }
    /// The server is gone.
    bool IsBroken() const { return mIsBroken; }

    /// Sends on what xcb has written, as far as the server takes it. Does not wait.
    void Send();
    /// Takes what the server has sent, and hands whole packets to xcb. True when there is something
    /// for xcb to read. Does not wait.
    bool Receive();

  private:
    Relay(int server, int inner) : mServer(server), mInner(inner) {}

    void TakeFromXCB();
    void TakeFromServer();
    /// How many bytes of `mReceived` are whole packets, as many as can be handed on at a time.
    std::size_t WholePackets();
    /// Puts an error into the place of the packet of `length` bytes at `begin`, which is too long
    /// to be handed on. Any client can make a reply as long as it likes, by its number of windows.
    void DropData(std::size_t begin, std::size_t length);

    const int mServer;
    const int mInner;  ///< its other end is where xcb believes the server to be
    std::vector<char> mReceived;
    std::size_t mToSkip = 0;  ///< bytes still to come of a packet that is not handed on
    std::vector<char> mUnsent;
    bool mIsBroken = false;
};

}  // namespace kivo::desktop::x11
