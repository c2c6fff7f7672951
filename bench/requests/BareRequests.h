#pragma once

#include <xcb/xcb.h>

#include <vector>

namespace kivo::bench {

/// What nobody can do without who looks up a window by its title: the list, all titles in one
/// batch, the activation awaited, the frame. Nothing is filtered, nothing is checked.
class BareRequests {
  public:
    BareRequests();
    ~BareRequests();
    BareRequests(const BareRequests&) = delete;
    BareRequests& operator=(const BareRequests&) = delete;

    /// Finds the frontmost window, makes it the active one and measures it.
    void FindWindow();
    /// Makes a window the active one and returns when it is.
    void Activate(xcb_window_t window);

  private:
    xcb_atom_t Intern(const char* name);
    xcb_get_property_cookie_t Ask(xcb_window_t window, xcb_atom_t property);
    std::vector<xcb_window_t> Take(xcb_get_property_cookie_t cookie);

    xcb_connection_t* mConnection;
    xcb_window_t mRoot;
    xcb_atom_t mList;
    xcb_atom_t mTitle;
    xcb_atom_t mActive;
    xcb_atom_t mFrame;
};

}  // namespace kivo::bench
