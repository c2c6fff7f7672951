#pragma once

// Inside of the layer only, never installed: what the Foundation's log and the system's share.

#include <string>

namespace kivo {

/// The text with control characters made visible, since parts of it may come from other programs:
/// "\n" for a newline, "\x1b" for an escape. One newline at the end is dropped.
std::string Printable(std::string text);

/// Writes a text and a newline to standard error in one piece, without ever waiting: what finds no
/// room is lost, and the next line says so. Longer texts than 4,000 bytes are cut. From any thread.
void WriteToStandardError(std::string text);

/// Lets a socket stand for the system log's, /dev/log, and has the place of lines chosen anew with
/// the next. For tests.
void UseSystemLogSocket(const std::string& path);

}  // namespace kivo
