#include "desktop/x11/Question.h"

#include <poll.h>

#include "desktop/Desktop.h"

namespace kivo::desktop::x11 {

Question::Question(Connection& connection)
    : mConnection(connection), mDeadline(LoopClock::Current().Now() + kAnswerTimeout) {
    while (mAnswered && mConnection.IsStalled()) {
        WaitForServer();
    }
    if (mConnection.IsBroken()) mAnswered = false;
}

void* Question::Await(unsigned sequence) {
    void* reply = nullptr;
    while (!mConnection.PollForReply(sequence, reply)) {
        if (!mAnswered) {
            mConnection.NoteOverdue(sequence);
            return nullptr;
        }
        WaitForServer();
    }
    return reply;
}

void Question::WaitForServer() {
    mConnection.Flush();
    LoopClock& clock = LoopClock::Current();
    const int writable = mConnection.HasUnsent() ? POLLOUT : 0;
    pollfd server{mConnection.Descriptor(), static_cast<short>(POLLIN | writable), 0};
    clock.Wait({&server, 1}, mDeadline);
    if (clock.Now() >= mDeadline || mConnection.IsBroken()) mAnswered = false;
}

}  // namespace kivo::desktop::x11
