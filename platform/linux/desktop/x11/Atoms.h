#pragma once

#include <xcb/xcb.h>

namespace kivo::desktop::x11 {

/// The names that the room speaks of: the Extended Window Manager Hints (EWMH), and the
/// properties that toolkits add.
struct Atoms {
    xcb_atom_t utf8String = XCB_ATOM_NONE;
    xcb_atom_t compoundText = XCB_ATOM_NONE;

    // On the root window, by the window manager
    xcb_atom_t supportingWMCheck = XCB_ATOM_NONE;
    xcb_atom_t activeWindow = XCB_ATOM_NONE;
    xcb_atom_t clientList = XCB_ATOM_NONE;
    xcb_atom_t clientListStacking = XCB_ATOM_NONE;
    xcb_atom_t currentDesktop = XCB_ATOM_NONE;
    xcb_atom_t numberOfDesktops = XCB_ATOM_NONE;

    // On an application's window
    xcb_atom_t windowName = XCB_ATOM_NONE;
    xcb_atom_t windowPID = XCB_ATOM_NONE;
    xcb_atom_t windowDesktop = XCB_ATOM_NONE;
    xcb_atom_t windowType = XCB_ATOM_NONE;
    xcb_atom_t windowState = XCB_ATOM_NONE;  ///< WM_STATE, by the window manager (ICCCM 4.1.3.1)
    xcb_atom_t typeDesktop = XCB_ATOM_NONE;
    xcb_atom_t typeDock = XCB_ATOM_NONE;
    xcb_atom_t frameExtents = XCB_ATOM_NONE;     ///< by the window manager
    xcb_atom_t gtkFrameExtents = XCB_ATOM_NONE;  ///< the shadow that the application draws
    xcb_atom_t gtkApplicationID = XCB_ATOM_NONE;
    xcb_atom_t kdeDesktopFile = XCB_ATOM_NONE;

    /// Asks for all of them in one batch; waits for the server without a limit. A name that the
    /// server did not tell stays XCB_ATOM_NONE.
    static Atoms Intern(xcb_connection_t* connection);
};

}  // namespace kivo::desktop::x11
