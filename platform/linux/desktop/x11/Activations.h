#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "CFRef.h"
#include "desktop/x11/Owner.h"

namespace kivo::desktop::x11 {

/// Knows who owns the active window, and tells each time that this becomes somebody else.
///
/// Nobody counts as an owner only when that lasts: most window managers name no active window for
/// a moment while the focus moves from one to the next. A change that the server did not explain
/// in time is looked into again when it answers; nothing is lost and nothing spins.
class Activations {
  public:
    Activations(Connection& connection, WindowManager& manager, DesktopFiles& files);
    ~Activations();
    Activations(const Activations&) = delete;
    Activations& operator=(const Activations&) = delete;

    /// See `Desktop::FrontApplication`.
    std::optional<Application> Front();

    /// See `Desktop::ObserveActivations`. The owner that `Front` told last counts as known, so that
    /// no change between the two is lost.
    void Observe(std::function<void(const Application&)> activated);

  private:
    /// Nobody, a process, or the identity of an owner whose process cannot be told.
    using OwnerKey = std::variant<std::monostate, pid_t, std::string>;

    void StartSource();
    void EndSource();
    static void Perform(void* info) noexcept;
    static bool IsReady(void* info) noexcept;

    /// `changes`: as many as the connection has told of so far.
    void NoteChanges(unsigned long changes);
    /// Finds out who is in front now, and tells of it if that is somebody else.
    void Settle();
    void SettleOn(const Owner& owner);
    OwnerKey KeyOf(const std::optional<Owner>& owner);

    void StartNobodyTimer();
    void EndNobodyTimer();
    static void NobodyLasted(CFRunLoopTimerRef timer, void* info) noexcept;

    Connection& mConnection;
    WindowManager& mManager;
    DesktopFiles& mFiles;

    std::function<void(const Application&)> mActivated;
    CFRef<CFRunLoopSourceRef> mSource;
    CFRef<CFRunLoopTimerRef> mNobodyTimer;
    unsigned long mChangesSeen = 0;
    bool mUnsettled = false;         ///< the owner may have changed since it was looked at
    bool mNobodyLasted = false;      ///< nobody, if it is found again, counts
    std::optional<OwnerKey> mOwner;  ///< none before the first look
};

}  // namespace kivo::desktop::x11
