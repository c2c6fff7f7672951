#include "keyboard/guard/GuardedPoll.h"

#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include <Workspace.h>

namespace kivo::keyboard {

GuardedPoll::GuardedPoll()
    : mPoll(epoll_create1(EPOLL_CLOEXEC)),
      mBeat(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
      mWake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    Watch(mBeat.Get());
    Watch(mWake.Get());
}

void GuardedPoll::Watch(int descriptor) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = descriptor;
    epoll_ctl(mPoll.Get(), EPOLL_CTL_ADD, descriptor, &event);
}

void GuardedPoll::Unwatch(int descriptor) {
    epoll_ctl(mPoll.Get(), EPOLL_CTL_DEL, descriptor, nullptr);
}

bool GuardedPoll::StartGuard() {
    if (mGuard.IsRunning()) return true;
    const std::string failure = mGuard.Start();
    if (!failure.empty()) {
        NSLog(CFSTR("Keyboards are not held, because nobody could free them: %s"), failure.c_str());
        return false;
    }
    Watch(mGuard.Descriptor());
    return true;
}

void GuardedPoll::SetBeating(bool isBeating) {
    const auto nanoseconds =
        isBeating ? std::chrono::duration_cast<std::chrono::nanoseconds>(kBeat).count() : 0;
    const itimerspec interval{{0, nanoseconds}, {0, nanoseconds}};
    timerfd_settime(mBeat.Get(), 0, &interval, nullptr);
    mGuard.Arm(isBeating);
}

void GuardedPoll::Wake() {
    eventfd_write(mWake.Get(), 1);
}

void GuardedPoll::Beat() {
    if (Consume(mBeat.Get())) mGuard.Beat();
}

bool GuardedPoll::Consume(int counter) {
    std::uint64_t count = 0;
    return read(counter, &count, sizeof count) > 0;
}

}  // namespace kivo::keyboard
