#include "desktop/x11/Connection.h"

#include <xcb/randr.h>
#include <xcb/res.h>
#include <xcb/xcbext.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <system_error>
#include <thread>
#include <utility>

#include "CoreFoundation/ThreadWithoutSignals.h"

namespace kivo::desktop::x11 {
namespace {

/// Long, because a session that has just begun keeps its server busy.
constexpr std::chrono::seconds kOpenTimeout{5};

bool IsPresent(xcb_connection_t* connection, xcb_extension_t* extension) {
    const auto* data = xcb_get_extension_data(connection, extension);
    return data != nullptr && data->present;
}

xcb_window_t RootOf(const xcb_setup_t* setup, int screen) {
    auto roots = xcb_setup_roots_iterator(setup);
    for (; screen > 0 && roots.rem > 1; --screen) {
        xcb_screen_next(&roots);
    }
    return roots.data->root;
}

bool TellsProcessIDs(xcb_connection_t* connection) {
    if (!IsPresent(connection, &xcb_res_id)) return false;
    auto* version =
        xcb_res_query_version_reply(connection, xcb_res_query_version(connection, 1, 2), nullptr);
    const bool tells =
        version != nullptr &&
        (version->server_major > 1 || (version->server_major == 1 && version->server_minor >= 2));
    std::free(version);
    return tells;
}

bool TellsMonitors(xcb_connection_t* connection) {
    if (!IsPresent(connection, &xcb_randr_id)) return false;
    auto* version = xcb_randr_query_version_reply(
        connection, xcb_randr_query_version(connection, 1, 5), nullptr);
    const bool tells =
        version != nullptr && (version->major_version > 1 ||
                               (version->major_version == 1 && version->minor_version >= 5));
    std::free(version);
    return tells;
}

}  // namespace

std::unique_ptr<Connection> Connection::Open() try {
    const char* display = std::getenv("DISPLAY");
    if (display == nullptr || *display == '\0') return nullptr;
    // xcb waits for the server's first answers without a limit, so another thread does the waiting.
    std::packaged_task<std::unique_ptr<Connection>()> connect(&Connection::Connect);
    auto connection = connect.get_future();
    std::thread thread = StartWithoutSignals(std::move(connect));
    if (connection.wait_for(kOpenTimeout) != std::future_status::ready) {
        thread.detach();
        return nullptr;
    }
    thread.join();
    return connection.get();
} catch (const std::system_error&) {
    return nullptr;  // no thread to be had
}

std::unique_ptr<Connection> Connection::Connect() {
    int screen = 0;
    std::unique_ptr<Connection> connection(new Connection(xcb_connect(nullptr, &screen)));
    xcb_connection_t* const opened = connection->mConnection;
    if (xcb_connection_has_error(opened) != 0) return nullptr;
    connection->FindOutAboutServer(screen);
    connection->mRelay = Relay::TakePlaceOf(xcb_get_file_descriptor(opened));
    if (connection->mRelay == nullptr || connection->IsBroken()) return nullptr;
    return connection;
}

void Connection::FindOutAboutServer(int screen) {
    xcb_prefetch_extension_data(mConnection, &xcb_res_id);
    xcb_prefetch_extension_data(mConnection, &xcb_randr_id);
    mServer.atoms = Atoms::Intern(mConnection);
    mServer.tellsProcessIDs = TellsProcessIDs(mConnection);
    mServer.tellsMonitors = TellsMonitors(mConnection);
    const xcb_setup_t* setup = xcb_get_setup(mConnection);
    mServer.resourceMask = setup->resource_id_mask;
    mServer.root = RootOf(setup, screen);
    SelectEvents();
}

void Connection::SelectEvents() {
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(mConnection, mServer.root, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(mConnection);
}

Connection::~Connection() {
    xcb_disconnect(mConnection);
}

void Connection::Flush() {
    mMayHoldEvents = true;
    xcb_flush(mConnection);
    mRelay->Send();
}

bool Connection::PollForReply(unsigned sequence, void*& reply) {
    mMayHoldEvents = true;
    do {
        xcb_generic_error_t* error = nullptr;
        const bool came = xcb_poll_for_reply(mConnection, sequence, &reply, &error) != 0;
        std::free(error);
        if (came) return true;
    } while (mRelay->Receive());
    return false;
}

unsigned long Connection::TakeEvents() {
    do {
        while (auto* event = xcb_poll_for_event(mConnection)) {
            NoteEvent(*event);
            std::free(event);
        }
    } while (mRelay->Receive());
    mMayHoldEvents = false;
    return mChanges;
}

void Connection::NoteEvent(const xcb_generic_event_t& event) {
    constexpr int kSentFlag = 0x80;
    if ((event.response_type & ~kSentFlag) != XCB_PROPERTY_NOTIFY) return;
    const auto& notice = reinterpret_cast<const xcb_property_notify_event_t&>(event);
    if (notice.atom == Names().activeWindow || notice.atom == Names().supportingWMCheck) {
        ++mChanges;
    }
}

bool Connection::IsStalled() {
    if (!mOverdue) return false;
    void* reply = nullptr;
    if (!PollForReply(*mOverdue, reply)) return true;
    std::free(reply);
    mOverdue.reset();
    return false;
}

void Connection::NoteOverdue(unsigned sequence) {
    if (mOverdue) {
        xcb_discard_reply(mConnection, sequence);
    } else {
        mOverdue = sequence;
    }
}

}  // namespace kivo::desktop::x11
