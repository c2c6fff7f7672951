#pragma once

#include <sys/epoll.h>

#include <array>

#include "CoreFoundation/FileDescriptor.h"
#include "keyboard/guard/GuardLink.h"

namespace kivo::keyboard {

/// All that a source of key events waits for, in one descriptor: what it watches itself, the time
/// for a beat, and the guard that the beats are for.
class GuardedPoll {
  public:
    GuardedPoll();

    /// Readable when `ReadReady` has something to do; the same for the object's whole life.
    int Descriptor() const { return mPoll.Get(); }
    GuardLink& Guard() { return mGuard; }

    /// Descriptors stay the caller's. The guard has copies of some, so closing one does not end
    /// that it is watched.
    void Watch(int descriptor);
    void Unwatch(int descriptor);

    /// Starts the guard, unless it runs. False when that cannot be done, which the log explains.
    bool StartGuard();
    /// While keyboards are held the guard expects beats, and gets them as long as somebody reads.
    void SetBeating(bool isBeating);
    /// Makes the descriptor readable once, for what no other descriptor tells of.
    void Wake();

    /// Calls `read` with each of the caller's descriptors, and the guard's, that is readable now.
    /// Does not wait.
    template <typename Function>
    void ReadReady(Function&& read) {
        std::array<epoll_event, kMostAtOnce> ready;
        const int count = epoll_wait(mPoll.Get(), ready.data(), kMostAtOnce, 0);
        for (int i = 0; i < count; ++i) {
            const int descriptor = ready[static_cast<std::size_t>(i)].data.fd;
            if (descriptor == mBeat.Get())
                Beat();
            else if (descriptor == mWake.Get())
                Consume(descriptor);
            else
                read(descriptor);
        }
    }

  private:
    /// What is ready beyond that stays so.
    static constexpr int kMostAtOnce = 64;

    void Beat();
    static bool Consume(int counter);

    const FileDescriptor mPoll;
    const FileDescriptor mBeat;
    const FileDescriptor mWake;
    GuardLink mGuard;
};

}  // namespace kivo::keyboard
