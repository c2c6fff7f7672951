#include "tests/desktop/XSession.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace kivo::test {

bool Await(const std::function<bool()>& holds, double seconds) {
    const CFAbsoluteTime deadline = CFAbsoluteTimeGetCurrent() + seconds;
    while (!holds()) {
        if (CFAbsoluteTimeGetCurrent() >= deadline) return false;
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.005, true);
    }
    return true;
}

void TurnRunLoop(double seconds) {
    Await([] { return false; }, seconds);
}

XServer::XServer(const std::vector<std::string>& options) {
    Pipe display;
    std::vector<std::string> command{"Xvfb",     "-displayfd", std::to_string(display.WriteEnd()),
                                     "-noreset", "-nolisten",  "tcp",
                                     "-screen",  "0",          "1280x800x24"};
    command.insert(command.end(), options.begin(), options.end());
    mServer = Process(command, display.WriteEnd());
    display.CloseWriteEnd();
    const std::string number = display.ReadLine();
    if (number.empty()) throw std::runtime_error("Xvfb does not start");
    setenv("DISPLAY", (":" + number).c_str(), 1);
}

XClient::XClient() : mConnection(xcb_connect(nullptr, nullptr)) {
    if (xcb_connection_has_error(mConnection) != 0) {
        throw std::runtime_error("no connection to the X server");
    }
    mRoot = xcb_setup_roots_iterator(xcb_get_setup(mConnection)).data->root;
}

XClient::~XClient() {
    xcb_disconnect(mConnection);
}

xcb_atom_t XClient::Atom(const std::string& name) {
    xcb_atom_t& atom = mAtoms[name];
    if (atom != XCB_ATOM_NONE) return atom;
    auto* reply = xcb_intern_atom_reply(
        mConnection,
        xcb_intern_atom(mConnection, false, static_cast<std::uint16_t>(name.size()), name.c_str()),
        nullptr);
    if (reply != nullptr) atom = reply->atom;
    std::free(reply);
    return atom;
}

xcb_window_t XClient::Create(const TestWindow& values) {
    const xcb_window_t window = xcb_generate_id(mConnection);
    xcb_create_window(mConnection, XCB_COPY_FROM_PARENT, window, mRoot, 0, 0, values.width,
                      values.height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0,
                      nullptr);
    // An application that takes the focus when the window manager gives it.
    SetValues(window, "WM_HINTS", "WM_HINTS", {1, 1, 1, 0, 0, 0, 0, 0, 0});
    if (!values.title.empty()) SetText(window, "_NET_WM_NAME", "UTF8_STRING", values.title);
    if (!values.oldTitle.empty()) {
        SetText(window, "WM_NAME", values.oldTitleType, values.oldTitle);
    }
    if (!values.type.empty()) {
        SetValues(window, "_NET_WM_WINDOW_TYPE", "ATOM", {Atom(values.type)});
    }
    if (!values.className.empty()) {
        const std::string zero(1, '\0');
        SetText(window, "WM_CLASS", "STRING", values.className + zero + values.className + zero);
    }
    if (!values.applicationID.empty()) {
        SetText(window, "_GTK_APPLICATION_ID", "UTF8_STRING", values.applicationID);
    }
    if (values.claimedProcessID != 0) {
        SetValues(window, "_NET_WM_PID", "CARDINAL", {values.claimedProcessID});
    }
    if (!values.shadow.empty()) {
        SetValues(window, "_GTK_FRAME_EXTENTS", "CARDINAL", values.shadow);
    }
    xcb_map_window(mConnection, window);
    Sync();
    return window;
}

void XClient::SetText(xcb_window_t window, const std::string& property, const std::string& type,
                      const std::string& bytes) {
    xcb_change_property(mConnection, XCB_PROP_MODE_REPLACE, window, Atom(property), Atom(type), 8,
                        static_cast<std::uint32_t>(bytes.size()), bytes.data());
    Sync();
}

void XClient::SetValues(xcb_window_t window, const std::string& property, const std::string& type,
                        const std::vector<std::uint32_t>& values) {
    xcb_change_property(mConnection, XCB_PROP_MODE_REPLACE, window, Atom(property), Atom(type), 32,
                        static_cast<std::uint32_t>(values.size()), values.data());
    Sync();
}

void XClient::Delete(xcb_window_t window, const std::string& property) {
    xcb_delete_property(mConnection, window, Atom(property));
    Sync();
}

std::vector<std::uint32_t> XClient::Values(xcb_window_t window, const std::string& property) {
    auto* reply = xcb_get_property_reply(
        mConnection,
        xcb_get_property(mConnection, false, window, Atom(property), XCB_ATOM_ANY, 0, 4096),
        nullptr);
    std::vector<std::uint32_t> values;
    if (reply != nullptr && reply->format == 32) {
        const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply));
        values.assign(first, first + reply->value_len);
    }
    std::free(reply);
    return values;
}

void XClient::Send(xcb_window_t window, const std::string& message,
                   std::vector<std::uint32_t> data) {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = Atom(message);
    data.resize(5);
    std::memcpy(event.data.data32, data.data(), sizeof event.data.data32);
    xcb_send_event(mConnection, false, mRoot,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&event));
    Sync();
}

void XClient::Destroy(xcb_window_t window) {
    xcb_destroy_window(mConnection, window);
    Sync();
}

void XClient::WarpPointer(std::int16_t x, std::int16_t y) {
    xcb_warp_pointer(mConnection, XCB_WINDOW_NONE, mRoot, 0, 0, 0, 0, x, y);
    Sync();
}

void XClient::Sync() {
    std::free(xcb_get_input_focus_reply(mConnection, xcb_get_input_focus(mConnection), nullptr));
}

TestApplication::TestApplication(const std::vector<TestWindow>& windows) {
    const Pipe pipe;
    mProcess = Process([&] {
        XClient client;
        for (const TestWindow& window : windows) {
            dprintf(pipe.WriteEnd(), "%u\n", client.Create(window));
        }
        // Lives until it is killed or the server goes.
        while (auto* event = xcb_wait_for_event(client.Get())) {
            std::free(event);
        }
    });
    for (std::size_t i = 0; i < windows.size(); ++i) {
        mWindows.push_back(static_cast<xcb_window_t>(std::stoul(pipe.ReadLine())));
    }
}

bool IsManaged(XClient& client, xcb_window_t window) {
    const auto list = client.Values(client.Root(), "_NET_CLIENT_LIST");
    return std::find(list.begin(), list.end(), window) != list.end();
}

namespace {

std::vector<std::string> CommandFor(const std::string& program) {
    if (program == "i3") return {program, "-c", "/dev/null"};
    return {program};
}

/// A manager says that it is there before it looks after windows; only a window can tell.
bool TakesWindowsOn(XClient& client) {
    const xcb_window_t probe = client.Create({.title = "probe"});
    const bool taken = Await([&] {
        // Some read our first requests before their event loop runs, and look at them with the
        // next.
        client.Send(client.Root(), "_KIVO_TEST_NUDGE", {});
        return IsManaged(client, probe);
    });
    client.Destroy(probe);
    return taken && Await([&] { return !IsManaged(client, probe); });
}

}  // namespace

RunningWindowManager::RunningWindowManager(const std::string& program)
    : mManager(CommandFor(program)) {
    XClient client;
    const bool runs = Await([&] {
        const auto check = client.Values(client.Root(), "_NET_SUPPORTING_WM_CHECK");
        return !check.empty() &&
               client.Values(check.front(), "_NET_SUPPORTING_WM_CHECK") == check &&
               !client.Values(client.Root(), "_NET_SUPPORTED").empty();
    });
    if (!runs || !TakesWindowsOn(client)) throw std::runtime_error(program + " does not come up");
}

}  // namespace kivo::test
