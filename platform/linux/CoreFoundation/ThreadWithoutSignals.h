#pragma once

#include <pthread.h>

#include <csignal>
#include <thread>
#include <utility>

namespace kivo {

/// Starts a thread that takes no signals: they are the main thread's. Throws std::system_error.
template <typename Body>
std::thread StartWithoutSignals(Body&& body) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    struct Restore {
        const sigset_t& mask;
        ~Restore() { pthread_sigmask(SIG_SETMASK, &mask, nullptr); }
    } const restore{before};
    return std::thread(std::forward<Body>(body));
}

}  // namespace kivo
