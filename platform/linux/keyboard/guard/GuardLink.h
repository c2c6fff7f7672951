#pragma once

#include <sys/types.h>

#include <span>
#include <string>

#include "CoreFoundation/FileDescriptor.h"
#include "keyboard/guard/GuardProtocol.h"

namespace kivo::keyboard {

/// The daemon's end of the link to its guard. No call waits for the guard.
class GuardLink {
  public:
    GuardLink() = default;
    ~GuardLink();
    GuardLink(const GuardLink&) = delete;
    GuardLink& operator=(const GuardLink&) = delete;

    /// Starts the guard, unless it runs; an empty text, or why it cannot be started.
    std::string Start();
    bool IsRunning() const { return static_cast<bool>(mSocket); }
    /// Readable when the guard reports; -1 before it was started.
    int Descriptor() const { return mSocket.Get(); }

    /// Orders. False when the guard is gone, and when it did not take the order: then it is given
    /// up, and `Read` tells that it is gone.
    bool WatchX11(const std::string& display, std::uint32_t resource);
    /// `device` and `clone` stay the caller's, who numbers what is watched.
    bool WatchDevice(std::uint32_t number, int device, int clone);
    bool ForgetDevice(std::uint32_t number);
    bool Arm(bool isArmed);
    /// Has the guard do what it does when the daemon is gone.
    bool Free();
    /// Shows that the daemon makes progress.
    void Beat() { mPage->beats.fetch_add(1, std::memory_order_relaxed); }

    enum class News { kNone, kReady, kFreed, kGone };
    /// The next report; `kNone` when there is none. `*number` is that of what is ready. What the
    /// guard cannot watch is never ready, and goes to the log.
    News Read(std::uint32_t* number);
    /// Whether the guard has taken the keyboards away, maybe without having reported it yet.
    bool IsFreed() const { return mPage != nullptr && mPage->isFreed.load() != 0; }

  private:
    std::string MakePage();
    std::string Spawn(int socketOfGuard);
    bool Send(const GuardMessage& message, std::span<const int> descriptors = {});

    FileDescriptor mSocket;
    pid_t mProcess = -1;
    GuardPage* mPage = nullptr;
};

}  // namespace kivo::keyboard
