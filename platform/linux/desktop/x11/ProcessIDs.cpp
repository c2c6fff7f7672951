#include "desktop/x11/ProcessIDs.h"

#include <limits>

namespace kivo::desktop::x11 {

ProcessIDs::ProcessIDs(Question& question) : mResourceMask(question.Facts().resourceMask) {
    if (!question.Facts().tellsProcessIDs) return;
    // A specification for client 0 stands for all clients, so the list need not be known first.
    const xcb_res_client_id_spec_t all{0, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    mRequest.emplace(question, xcb_res_query_client_ids(question.Get(), 1, &all));
}

void ProcessIDs::Read() {
    if (!mRequest) return;
    const auto reply = mRequest->Take();
    if (reply == nullptr) return;
    auto ids = xcb_res_query_client_ids_ids_iterator(reply.get());
    for (; ids.rem > 0; xcb_res_client_id_value_next(&ids)) {
        if (xcb_res_client_id_value_value_length(ids.data) < 1) continue;
        const auto value = ClaimedProcessID(*xcb_res_client_id_value_value(ids.data));
        if (value > 0) mByClient.emplace(ids.data->spec.client & ~mResourceMask, value);
    }
}

std::optional<pid_t> ProcessIDs::Of(xcb_window_t window) const {
    const auto found = mByClient.find(window & ~mResourceMask);
    return found == mByClient.end() ? std::nullopt : std::optional(found->second);
}

pid_t ClaimedProcessID(std::optional<std::uint32_t> value) {
    constexpr auto kMost = static_cast<std::uint32_t>(std::numeric_limits<pid_t>::max());
    return value && *value > 0 && *value <= kMost ? static_cast<pid_t>(*value) : -1;
}

}  // namespace kivo::desktop::x11
