#include "CoreFoundation/PipeSignalBlocked.h"

#include <pthread.h>

#include <ctime>

namespace kivo {
namespace {

sigset_t PipeSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    return signals;
}

}  // namespace

PipeSignalBlocked::PipeSignalBlocked() {
    const sigset_t pipe = PipeSignal();
    pthread_sigmask(SIG_BLOCK, &pipe, &mBefore);
}

PipeSignalBlocked::~PipeSignalBlocked() {
    // Where it was blocked before, it is somebody else's.
    if (sigismember(&mBefore, SIGPIPE) != 0) return;
    const sigset_t pipe = PipeSignal();
    const timespec now{};
    sigtimedwait(&pipe, nullptr, &now);
    pthread_sigmask(SIG_SETMASK, &mBefore, nullptr);
}

}  // namespace kivo
