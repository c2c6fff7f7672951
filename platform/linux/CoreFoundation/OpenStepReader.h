#pragma once

// Inside of the layer only, never installed: property lists in the old style, and strings files.

#include <CFRef.h>
#include <CoreFoundation/CFPropertyList.h>

#include <string>
#include <string_view>

namespace kivo {

/// Reads dictionaries, arrays, data and strings in the style of OpenStep, or the pairs of a strings
/// file, which make up a dictionary; text without any of them gives an empty one. None on failure,
/// with the reason in `error`.
CFRef<CFPropertyListRef> ReadOpenStep(std::u16string_view text, std::string& error);

}  // namespace kivo
