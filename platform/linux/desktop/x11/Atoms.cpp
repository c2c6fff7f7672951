#include "desktop/x11/Atoms.h"

#include <array>
#include <cstdlib>
#include <string_view>

namespace kivo::desktop::x11 {
namespace {

struct Name {
    std::string_view name;
    xcb_atom_t Atoms::*atom;
};

constexpr std::array kNames{
    Name{"UTF8_STRING", &Atoms::utf8String},
    Name{"COMPOUND_TEXT", &Atoms::compoundText},
    Name{"_NET_SUPPORTING_WM_CHECK", &Atoms::supportingWMCheck},
    Name{"_NET_ACTIVE_WINDOW", &Atoms::activeWindow},
    Name{"_NET_CLIENT_LIST", &Atoms::clientList},
    Name{"_NET_CLIENT_LIST_STACKING", &Atoms::clientListStacking},
    Name{"_NET_CURRENT_DESKTOP", &Atoms::currentDesktop},
    Name{"_NET_NUMBER_OF_DESKTOPS", &Atoms::numberOfDesktops},
    Name{"_NET_WM_NAME", &Atoms::windowName},
    Name{"_NET_WM_PID", &Atoms::windowPID},
    Name{"_NET_WM_DESKTOP", &Atoms::windowDesktop},
    Name{"_NET_WM_WINDOW_TYPE", &Atoms::windowType},
    Name{"WM_STATE", &Atoms::windowState},
    Name{"_NET_WM_WINDOW_TYPE_DESKTOP", &Atoms::typeDesktop},
    Name{"_NET_WM_WINDOW_TYPE_DOCK", &Atoms::typeDock},
    Name{"_NET_FRAME_EXTENTS", &Atoms::frameExtents},
    Name{"_GTK_FRAME_EXTENTS", &Atoms::gtkFrameExtents},
    Name{"_GTK_APPLICATION_ID", &Atoms::gtkApplicationID},
    Name{"_KDE_NET_WM_DESKTOP_FILE", &Atoms::kdeDesktopFile},
};

}  // namespace

Atoms Atoms::Intern(xcb_connection_t* connection) {
    std::array<xcb_intern_atom_cookie_t, kNames.size()> cookies;
    for (std::size_t i = 0; i < kNames.size(); ++i) {
        const std::string_view name = kNames[i].name;
        cookies[i] = xcb_intern_atom(connection, false, static_cast<std::uint16_t>(name.size()),
                                     name.data());
    }
    Atoms atoms;
    for (std::size_t i = 0; i < kNames.size(); ++i) {
        auto* reply = xcb_intern_atom_reply(connection, cookies[i], nullptr);
        if (reply != nullptr) atoms.*kNames[i].atom = reply->atom;
        std::free(reply);
    }
    return atoms;
}

}  // namespace kivo::desktop::x11
