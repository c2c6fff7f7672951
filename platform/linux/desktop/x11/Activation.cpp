#include "desktop/x11/Activation.h"

#include <poll.h>

namespace kivo::desktop::x11 {
namespace {

/// How a window stands at one moment.
struct Standing {
    bool exists;
    bool isShown;
    bool isActive;
    bool isManaged;  ///< there is a window manager to ask
};

/// Compositing managers keep a minimised window mapped, for its picture; only its state tells.
bool IsIconic(const PropertyReply& state) {
    constexpr std::uint32_t kIconicState = 3;
    return FirstValueOf(state) == kIconicState;
}

Standing Look(Question& question, WindowManager& manager, xcb_window_t window) {
    const xcb_atom_t windowState = question.Names().windowState;
    auto state = AskProperty(question, window, windowState, windowState);
    Pending attributes(question, xcb_get_window_attributes(question.Get(), window));
    auto check = manager.Ask(question);
    auto active = AskProperty(question, question.Facts().root, question.Names().activeWindow,
                              XCB_ATOM_WINDOW);
    const bool isManaged = manager.IsRunning(question, check);
    const auto reply = attributes.Take();
    const bool isViewable = reply != nullptr && reply->map_state == XCB_MAP_STATE_VIEWABLE;
    return {reply != nullptr, isViewable && !IsIconic(state.Take()),
            isManaged && FirstValueOf(active.Take()) == window, isManaged};
}

void SendRequest(Question& question, xcb_window_t window) {
    constexpr std::uint32_t kFromPager = 2;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = question.Names().activeWindow;
    message.data.data32[0] = kFromPager;
    // The time of the user's last act and our own active window: no window of ours had either.
    message.data.data32[1] = XCB_CURRENT_TIME;
    message.data.data32[2] = XCB_WINDOW_NONE;
    xcb_send_event(question.Get(), false, question.Facts().root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    question.Flush();
}

/// Waits until more than `changes` changes have been seen or the deadline has come.
void WaitForChange(Connection& connection, unsigned long changes, LoopInstant deadline) {
    LoopClock& clock = LoopClock::Current();
    while (connection.TakeEvents() == changes && !connection.IsBroken() && clock.Now() < deadline) {
        pollfd server{connection.Descriptor(), POLLIN, 0};
        clock.Wait({&server, 1}, deadline);
    }
}

}  // namespace

Status Activate(Connection& connection, WindowManager& manager, xcb_window_t window) {
    std::optional<LoopInstant> deadline;
    for (;;) {
        const unsigned long changes = connection.TakeEvents();
        Question question(connection);
        if (!question.IsAnswered()) return Status::kNoAnswer;
        const Standing standing = Look(question, manager, window);
        if (!question.IsAnswered()) return Status::kNoAnswer;
        if (!standing.exists) return Status::kWindowGone;
        // One that was minimised a moment ago may still be called active, but has to be restored.
        if (standing.isActive && standing.isShown) return Status::kOk;
        if (!standing.isManaged) return Status::kRefused;
        if (!deadline) {
            SendRequest(question, window);
            deadline = LoopClock::Current().Now() + kActivationTimeout;
        } else if (LoopClock::Current().Now() >= *deadline) {
            // Rolled up, a window is active without being shown.
            return standing.isActive ? Status::kOk : Status::kRefused;
        }
        WaitForChange(connection, changes, *deadline);
    }
}

}  // namespace kivo::desktop::x11
