#pragma once

// Inside of the layer only, never installed: property lists in the binary form.
//
// The reader is our own because libplist's ends the process on bytes that it does not like (a key
// with a NUL in it), recurses without a limit, and copies an object each time that it is named.

#include <CFRef.h>
#include <CoreFoundation/CFPropertyList.h>

#include <span>

namespace kivo {

/// The list in `bytes`, which begin with "bplist"; none when they are damaged, hold what our
/// property lists do not have (UID, set, null, integers beyond 64 bits), or go beyond the limits of
/// PropertyListLimits.h.
CFRef<CFPropertyListRef> ReadBinaryPropertyList(std::span<const UInt8> bytes);

}  // namespace kivo
