#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>

/// What the daemon and its guard say to each other, over a pair of packet sockets and a page of
/// memory that both have. Both come from one build, so records travel as they lie in memory.
namespace kivo::keyboard {

/// The guard's end of the pair; the daemon has it there when it starts the guard.
inline constexpr int kGuardSocket = 3;

/// How often the daemon shows that it makes progress while it holds keyboards.
inline constexpr std::chrono::milliseconds kBeat{100};
/// How often the guard looks, and after how many looks without progress in a row it acts. Looks are
/// counted rather than time, so that a machine that stands still as a whole is no reason to act;
/// together they are well under the second in which the keyboard has to work again.
inline constexpr std::chrono::milliseconds kLook{50};
inline constexpr int kLooksWithoutProgress = 15;
// A beat right after a look is worth one look more. What is left of the second is for freeing.
static_assert((kLooksWithoutProgress + 1) * kLook <= std::chrono::milliseconds{850});
// Nor is a daemon given up for a few beats that are late.
static_assert(5 * kBeat <= kLooksWithoutProgress * kLook);

/// The page that both have.
struct GuardPage {
    std::atomic<std::uint32_t> beats{0};
    /// Set by the guard before it frees anything: the daemon must touch the keyboards no more.
    std::atomic<std::uint32_t> isFreed{0};
};
static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

/// From the daemon.
enum class GuardOrder : std::uint32_t {
    kTakePage,      ///< with the page's descriptor; the first
    kWatchX11,      ///< `number` is a resource of the tap's connection, `text` the display
    kWatchDevice,   ///< `number` is the daemon's; with the descriptors of device and clone
    kForgetDevice,  ///< `number` as in the order to watch
    kArm,           ///< keyboards are held: progress is expected
    kDisarm,
    kFree,  ///< the daemon has lost the keyboards, and cannot release what it typed
};

struct GuardMessage {
    GuardOrder order = GuardOrder::kTakePage;
    std::uint32_t number = 0;
    std::array<char, 248> text{};
};

/// From the guard.
enum class GuardNews : std::uint32_t {
    kReady,    ///< it can free what `number` says, as the order to watch did
    kRefused,  ///< it cannot
    kFreed,    ///< it has freed everything
};

struct GuardReport {
    GuardNews news = GuardNews::kReady;
    std::uint32_t number = 0;
};

}  // namespace kivo::keyboard
