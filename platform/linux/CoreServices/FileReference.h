#pragma once

// Inside of the layer only, never installed: what a file reference stands for.

#include <CoreServices/CoreServices.h>

#include <optional>
#include <string>

namespace kivo {

/// Makes `reference` stand for an absolute path. Equal paths give equal references. A process keeps
/// the paths of its last 64 different references; an older reference is stale.
void MakeReference(const std::string& path, FSRef& reference);

/// The path that a reference stands for; none when it is stale or was never made.
std::optional<std::string> PathOfReference(const FSRef& reference);

}  // namespace kivo
