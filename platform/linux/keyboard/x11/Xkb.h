#pragma once

// xcb's header of the keyboard extension has a member that C++ reserves the name of.
#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wkeyword-macro"
#endif
#define explicit explicitKeys
#include <xcb/xkb.h>
#undef explicit
#ifdef __clang__
#pragma clang diagnostic pop
#endif

#include <cstdlib>
#include <memory>

namespace kivo::keyboard::x11 {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
/// A reply or an event of the server.
template <typename Contents>
using Reply = std::unique_ptr<Contents, Free>;

/// The keyboard of the session, which the keyboards that are attached to it feed.
inline constexpr xcb_xkb_device_spec_t kSessionKeyboard = 0x100;  // XkbUseCoreKbd

}  // namespace kivo::keyboard::x11
