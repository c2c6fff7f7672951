#pragma once

namespace kivo {

/// Writes one line to the log if the user has not allowed what windows and keys need; at the first
/// call only. Looks and never asks: macOS asks the user by itself, once, when the tap is made or
/// when windows are first read.
void ReportMissingPermissions();

}  // namespace kivo
