#pragma once

#include <memory>
#include <string>

#include "keyboard/guard/Ward.h"
#include "keyboard/x11/Xkb.h"

namespace kivo::keyboard {

/// The keyboards that a tap's connection to an X server has grabbed.
class X11Ward final : public Ward {
  public:
    /// `resource` belongs to the tap's connection. Null when the display cannot be reached.
    static std::unique_ptr<X11Ward> Open(const std::string& display, std::uint32_t resource);
    ~X11Ward() override;

    void Free() override;

  private:
    X11Ward(xcb_connection_t* connection, std::uint32_t resource)
        : mConnection(connection), mResource(resource) {}

    void Wait();
    void ReleaseWhatIsUp();

    xcb_connection_t* const mConnection;
    const std::uint32_t mResource;
};

}  // namespace kivo::keyboard
