#pragma once

// Inside of the layer only, never installed: data objects over bytes that were not copied.

#include <CoreFoundation/CFData.h>

#include <memory>
#include <span>

namespace kivo {

/// A data object over bytes that stay where they are. `owner` keeps them alive and is dropped with
/// the object's last reference; without one the caller promises that the bytes outlive the object
/// and each reference to it. Create rule.
CFDataRef CreateDataWithoutCopy(std::span<const UInt8> bytes,
                                std::shared_ptr<const void> owner = nullptr);

/// The bytes of a data object that is not null.
inline std::span<const UInt8> BytesOf(CFDataRef data) {
    return {CFDataGetBytePtr(data), static_cast<size_t>(CFDataGetLength(data))};
}

}  // namespace kivo
