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

/// Puts a line where it belongs. Never waits.
using LineWriter = void (*)(int priority, std::string text);
/// Has `write` called with a line, at once or, while there is a pause, at its end. Lines keep their
/// order. From any thread.
void HandOver(LineWriter write, int priority, std::string text);

/// While one lives lines stay in memory, a hundred at the most: to hand one over wakes who reads
/// the log, and something that is urgent would wait for that. When the last one goes all follow. A
/// crash meanwhile loses them, so a pause is to be short.
class LogPause {
  public:
    LogPause();
    ~LogPause();
    LogPause(const LogPause&) = delete;
    LogPause& operator=(const LogPause&) = delete;
};

/// Lets a socket stand for the system log's, /dev/log, and has the place of lines chosen anew with
/// the next. For tests.
void UseSystemLogSocket(const std::string& path);

}  // namespace kivo
