#pragma once

// Inside of the layer only, never installed: what a property list may come to, whatever its form.
// Reading and releasing one is recursive, so that a small hostile file could use up the stack.

#include <cstddef>

namespace kivo {

/// How deep dictionaries and arrays may lie inside of each other.
constexpr size_t kDeepestPropertyList = 512;

/// How many objects a binary list may come to, an object counted in each place that names it.
constexpr size_t kMostPropertyListObjects = size_t{1} << 17;

}  // namespace kivo
