#pragma once

// Inside of the layer only, never installed.

#include <string_view>

namespace kivo {

/// Whether dictionaries and arrays in a property list in XML lie no deeper inside of each other
/// than kDeepestPropertyList. To be asked before libplist is given the text, which recurses without
/// a limit when it frees what it read.
bool IsXMLNestedWithinLimit(std::string_view xml);

}  // namespace kivo
