#pragma once

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/desktop/XSession.h"

namespace kivo::bench {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

/// Properties asked for by nothing but xcb: each reply is awaited without a limit.
class BareX : public test::XClient {
  public:
    using Property = std::unique_ptr<xcb_get_property_reply_t, Free>;

    xcb_get_property_cookie_t Ask(xcb_window_t window, xcb_atom_t property) {
        return xcb_get_property(Get(), false, window, property, XCB_ATOM_ANY, 0, kMostUnits);
    }
    Property Take(xcb_get_property_cookie_t cookie) {
        Property reply(xcb_get_property_reply(Get(), cookie, nullptr));
        if (reply == nullptr) throw std::runtime_error("a window went away");
        return reply;
    }
    static std::vector<xcb_window_t> WindowsIn(const Property& reply) {
        const auto* first = static_cast<const xcb_window_t*>(xcb_get_property_value(reply.get()));
        return {first, first + (reply->format == 32 ? reply->value_len : 0)};
    }

  private:
    static constexpr std::uint32_t kMostUnits = 65536 / 4;
};

/// The windows of an application that has many, by number.
inline std::vector<test::TestWindow> ManyWindows(std::size_t count) {
    std::vector<test::TestWindow> windows;
    for (std::size_t i = 0; i < count; ++i) {
        windows.push_back(
            {.title = "Benchmark window " + std::to_string(i), .className = "kivo-bench"});
    }
    return windows;
}

}  // namespace kivo::bench
