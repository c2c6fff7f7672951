#pragma once

#include <cstddef>
#include <cstdint>

namespace kivo {

/// The objects that are kept for the life of the process on purpose. There are no others.
enum class DesignedRetention {
    /// A window title read by the text form of the title search.
    kWindowTitle,
    /// A window that the start-up alert retained and then passed over for a later one.
    kAlertWindow,
    /// The reply that made a key event disappear.
    kSwallowedKeyReply,
    /// The event tap's port and its run-loop source.
    kEventTap,
    /// The MIDI client, its ports and its connection at sign-out.
    kMidiSession,
    /// The `longs` array of an SIncommingLongArraySpec that is deserialised again.
    kLongsArray,
};
inline constexpr std::size_t kDesignedRetentionKinds = 6;

/// Takes over a reference that nobody will ever release.
///
/// Every such object passes through here, so that one search finds them all. A build with
/// KIVO_COUNT_RETENTIONS (each build with tests, sanitizers or fuzz targets) counts them and keeps
/// them reachable: the leak checker then runs without a list of exceptions, and whatever it
/// reports is a mistake. Elsewhere this does nothing. Null is not counted. Main thread only.
void RetainByDesign(DesignedRetention kind, const void* object);
/// The same for a reference that is a number in a table of the platform's, which keeps what it
/// stands for; 0 is not counted.
void RetainByDesign(DesignedRetention kind, std::uint32_t reference);

/// How many objects of a kind were retained so far; always 0 without KIVO_COUNT_RETENTIONS.
std::size_t CountDesignedRetentions(DesignedRetention kind);

}  // namespace kivo
