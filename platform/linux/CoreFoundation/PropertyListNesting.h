#pragma once

// Inside of the layer only, never installed: how deep property lists may be nested.
//
// Reading and freeing them is recursive, in libplist and in objects alike, so that a small hostile
// file could use up the stack; and a binary one may name an object many times over, which libplist
// copies each time. Both are looked for before it is given the bytes.

#include <CoreFoundation/CFBase.h>

#include <span>
#include <string_view>

namespace kivo {

constexpr size_t kDeepestPropertyList = 512;

/// The most objects that a binary property list may come to once shared ones are copied.
constexpr size_t kMostPropertyListObjects = size_t{1} << 17;

/// Whether dictionaries and arrays in XML are nested no deeper than that.
bool IsXMLNestedWithinLimit(std::string_view xml);

/// Whether a binary property list is nested no deeper than that, without cycles, and not too large.
/// Its objects, as far as they hold others, then lie inside of the bytes.
bool IsBinaryNestedWithinLimit(std::span<const UInt8> bytes);

}  // namespace kivo
