#pragma once

#include <cstddef>

#include "ZYNCommon/ZYN_Driver_TargetWindowInfo.h"

namespace kivo {

/// Most records that a target-window request may hold; decoded they take about 73 MiB.
inline constexpr unsigned int kMaxTargetWindowRecords = 16384;

/// How many 0 bytes must follow the copy of a payload that `Deserialize` is given.
///
/// The sender's size leaves the alternate length and text of the last target-window record out in
/// part or whole, so the record may be read past the received end: at most the four bytes of the
/// length and the units that it may announce.
inline constexpr std::size_t kZeroBytesAfterPayload = 4 + 2 * kTargetWindowTextUnits;

/// Whether a spec may deserialise `length` received bytes, followed by `kZeroBytesAfterPayload`
/// zero bytes, without leaving them or its own fields. There is a check for each message spec.
///
/// Longer than needed is complete. Not complete is what is shorter than its fixed fields, a string
/// that does not end inside the bytes or has no room in its field, a count above its array or above
/// `kMaxTargetWindowRecords`, and counted data that do not lie inside the bytes. One exception: of
/// the last record of a target-window request the alternate length and text may be missing or
/// cut; the count is judged as it will be read.
template <typename Spec>
bool PayloadIsComplete(const unsigned char* bytes, std::size_t length);

}  // namespace kivo
