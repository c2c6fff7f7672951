#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <xcb/xcb.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/desktop/Process.h"

namespace kivo::test {

/// Turns the run loop until `holds`, for at most `seconds`. What it came to.
bool Await(const std::function<bool()>& holds, double seconds = 5);

/// Turns the run loop for `seconds`, in which nothing is to happen.
void TurnRunLoop(double seconds);

/// An X server of the test's own, with one screen of 1280 by 800, which $DISPLAY names.
class XServer {
  public:
    explicit XServer(const std::vector<std::string>& options = {});

    Process& Server() { return mServer; }

  private:
    Process mServer;
};

/// What a window of a test application is made with.
struct TestWindow {
    std::string title{};                  ///< _NET_WM_NAME, as bytes; none when empty
    std::string oldTitle{};               ///< WM_NAME, as bytes; none when empty
    std::string oldTitleType = "STRING";  ///< its type
    std::string type{};                   ///< of _NET_WM_WINDOW_TYPE; none when empty
    std::string className{};              ///< both parts of WM_CLASS
    std::string applicationID{};          ///< _GTK_APPLICATION_ID
    std::uint32_t claimedProcessID = 0;   ///< _NET_WM_PID; none when 0
    std::vector<std::uint32_t> shadow{};  ///< _GTK_FRAME_EXTENTS
    std::uint16_t width = 200;
    std::uint16_t height = 100;
};

/// A client of the tests' own: reads and changes what windows say, whoever made them.
class XClient {
  public:
    XClient();
    ~XClient();
    XClient(const XClient&) = delete;
    XClient& operator=(const XClient&) = delete;

    xcb_connection_t* Get() const { return mConnection; }
    xcb_window_t Root() const { return mRoot; }
    xcb_atom_t Atom(const std::string& name);

    xcb_window_t Create(const TestWindow& values);
    void SetText(xcb_window_t window, const std::string& property, const std::string& type,
                 const std::string& bytes);
    void SetValues(xcb_window_t window, const std::string& property, const std::string& type,
                   const std::vector<std::uint32_t>& values);
    void Delete(xcb_window_t window, const std::string& property);
    std::vector<std::uint32_t> Values(xcb_window_t window, const std::string& property);
    void Send(xcb_window_t window, const std::string& message, std::vector<std::uint32_t> data);
    void Destroy(xcb_window_t window);
    void WarpPointer(std::int16_t x, std::int16_t y);
    /// Waits until the server has done all that was asked.
    void Sync();

  private:
    xcb_connection_t* mConnection;
    xcb_window_t mRoot;
    std::map<std::string, xcb_atom_t> mAtoms;
};

/// A process with windows, which are shown in the order given.
class TestApplication {
  public:
    explicit TestApplication(const std::vector<TestWindow>& windows);

    pid_t ProcessID() const { return mProcess.ID(); }
    xcb_window_t Window(std::size_t index = 0) const { return mWindows.at(index); }
    std::size_t Count() const { return mWindows.size(); }
    void Kill() { mProcess.Kill(); }

  private:
    std::vector<xcb_window_t> mWindows;
    Process mProcess;
};

/// Whether the window manager lists a window.
bool IsManaged(XClient& client, xcb_window_t window);

/// A window manager, running once this is made. Throws when it does not come up.
class RunningWindowManager {
  public:
    explicit RunningWindowManager(const std::string& program);
    Process& Manager() { return mManager; }

  private:
    Process mManager;
};

}  // namespace kivo::test
