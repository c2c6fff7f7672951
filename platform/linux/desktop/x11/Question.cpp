#include "desktop/x11/Question.h"

#include <poll.h>
#include <time.h>
#include <xcb/xcbext.h>

#include "desktop/Desktop.h"

namespace kivo::desktop::x11 {
namespace {

bool IsPipeSignalPending() {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
}

sigset_t PipeSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    return signals;
}

}  // namespace

Question::Question(Connection& connection)
    : mConnection(connection),
      mDeadline(LoopClock::Current().Now() + kAnswerTimeout),
      mPipeSignalWasPending(IsPipeSignalPending()) {
    const sigset_t pipe = PipeSignal();
    pthread_sigmask(SIG_BLOCK, &pipe, &mMaskBefore);
    while (mConnection.IsStalled() && mAnswered) {
        WaitForServer();
    }
    if (mConnection.IsBroken()) mAnswered = false;
}

Question::~Question() {
    // A signal that our own writing raised is taken back before it can be delivered.
    if (!mPipeSignalWasPending && IsPipeSignalPending()) {
        const sigset_t pipe = PipeSignal();
        const timespec now{};
        sigtimedwait(&pipe, nullptr, &now);
    }
    pthread_sigmask(SIG_SETMASK, &mMaskBefore, nullptr);
}

void* Question::Await(unsigned sequence) {
    for (;;) {
        void* reply = nullptr;
        xcb_generic_error_t* error = nullptr;
        if (xcb_poll_for_reply(Get(), sequence, &reply, &error)) {
            std::free(error);
            if (mConnection.IsBroken()) mAnswered = false;
            return reply;
        }
        if (!mAnswered) {
            mConnection.NoteOverdue(sequence);
            return nullptr;
        }
        xcb_flush(Get());
        WaitForServer();
    }
}

void Question::WaitForServer() {
    LoopClock& clock = LoopClock::Current();
    pollfd server{mConnection.Descriptor(), POLLIN, 0};
    clock.Wait({&server, 1}, mDeadline);
    if (clock.Now() >= mDeadline) mAnswered = false;
}

}  // namespace kivo::desktop::x11
