#pragma once

#include "bench/BareX.h"

namespace kivo::bench {

/// What nobody can do without who looks up a window by its title: the list, all titles in one
/// batch, the activation awaited, the frame. Nothing is filtered, nothing is checked.
class BareRequests {
  public:
    BareRequests();

    /// Finds the frontmost window, makes it the active one and measures it.
    void FindWindow();
    /// Makes a window the active one and returns when it is.
    void Activate(xcb_window_t window);

  private:
    BareX mServer;
    const xcb_atom_t mList = mServer.Atom("_NET_CLIENT_LIST_STACKING");
    const xcb_atom_t mTitle = mServer.Atom("_NET_WM_NAME");
    const xcb_atom_t mActive = mServer.Atom("_NET_ACTIVE_WINDOW");
    const xcb_atom_t mFrame = mServer.Atom("_NET_FRAME_EXTENTS");
};

}  // namespace kivo::bench
