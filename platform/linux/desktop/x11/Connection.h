#pragma once

#include <xcb/xcb.h>

#include <memory>
#include <optional>

#include "desktop/x11/Atoms.h"
#include "desktop/x11/Relay.h"

namespace kivo::desktop::x11 {

/// What is found out about a server when the connection to it is opened.
struct Server {
    xcb_window_t root = XCB_WINDOW_NONE;
    /// The bits of an identifier that a client chooses; the others say which client it is.
    std::uint32_t resourceMask = 0;
    bool tellsProcessIDs = false;  ///< X-Resource 1.2 or later
    bool tellsMonitors = false;    ///< RandR 1.5 or later
    Atoms atoms;
};

/// A connection to the X server of the session. Once it is open nothing here waits: see `Question`.
///
/// When the server goes, the connection is broken for good: there is no other session to connect
/// to. Nothing of that ends the process or raises a signal.
class Connection {
  public:
    /// Connects to $DISPLAY. Null when there is no server, or when it does not answer in five
    /// seconds; then a thread is left behind that waits for it and closes the connection.
    static std::unique_ptr<Connection> Open();
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    xcb_connection_t* Get() const { return mConnection; }
    const Server& Facts() const { return mServer; }
    const Atoms& Names() const { return mServer.atoms; }

    /// Readable when the server has sent something.
    int Descriptor() const { return mRelay->Server(); }
    bool IsBroken() const {
        return mRelay->IsBroken() || xcb_connection_has_error(mConnection) != 0;
    }

    /// Sends the requests that have been made, as far as the server takes them.
    void Flush();
    bool HasUnsent() const { return mRelay->HasUnsent(); }

    /// Takes the reply, or null for an error, to a request. False when it has not come yet.
    bool PollForReply(unsigned sequence, void*& reply);

    /// Takes all events that have come, and returns how many of all so far said that the active
    /// window, or the window manager that tells it, changed. Does not wait.
    unsigned long TakeEvents();
    /// The same without asking the system: takes only what was read while a reply was awaited.
    unsigned long TakeEventsRead() { return mMayHoldEvents ? TakeEvents() : mChanges; }

    /// A reply is overdue. Until it has come nothing is to be sent: what a stopped server does not
    /// read would fill the socket, and then sending would wait without a limit. Looks for the reply
    /// without waiting.
    bool IsStalled();
    /// Notes a request whose reply did not come in time. It is thrown away when it comes.
    void NoteOverdue(unsigned sequence);

  private:
    explicit Connection(xcb_connection_t* connection) : mConnection(connection) {}

    static std::unique_ptr<Connection> Connect();
    void FindOutAboutServer(int screen);
    void SelectEvents();
    void NoteEvent(const xcb_generic_event_t& event);

    xcb_connection_t* const mConnection;
    std::unique_ptr<Relay> mRelay;
    Server mServer;
    std::optional<unsigned> mOverdue;  ///< the request's sequence number
    unsigned long mChanges = 0;
    bool mMayHoldEvents = true;  ///< xcb has read, and maybe events, since they were last taken
};

}  // namespace kivo::desktop::x11
