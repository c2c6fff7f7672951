#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <optional>

#include "desktop/x11/Question.h"

namespace kivo::desktop::x11 {

/// The processes behind the server's clients, as the server itself sees them: one request for all.
/// A client on another machine, and every client of a server that cannot tell, has none; for its
/// windows what they claim by _NET_WM_PID is to be asked for.
class ProcessIDs {
  public:
    explicit ProcessIDs(Question& question);

    /// Awaits the answer. Must come before `Of`.
    void Read();

    /// The process whose connection made the window; none when the server cannot tell.
    std::optional<pid_t> Of(xcb_window_t window) const;

  private:
    const std::uint32_t mResourceMask;
    std::optional<Pending<xcb_res_query_client_ids_cookie_t>> mRequest;
    std::map<std::uint32_t, pid_t> mByClient;
};

/// The process that a _NET_WM_PID claims; -1 when it claims none.
pid_t ClaimedProcessID(std::optional<std::uint32_t> value);

}  // namespace kivo::desktop::x11
