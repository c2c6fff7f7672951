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

    /// Orders. False when the guard is gone.
    bool WatchX11(const std::string& display, std::uint32_t resource);
    bool Arm(bool isArmed);
    /// Shows that the daemon makes progress.
    void Beat() { mPage->beats.fetch_add(1, std::memory_order_relaxed); }

    enum class News { kNone, kReady, kFreed, kGone };
    /// The next report; `kNone` when there is none.
    News Read();
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
