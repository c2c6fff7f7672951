#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

#include "tools/kivoctl/KeyEvent.h"

namespace kivo::ctl {

/// A program that decides on keys: for each it gets a line with a JSON object on its standard
/// input, and answers with a line that begins with "p" (the key passes) or anything else (it is
/// swallowed) on its standard output.
class Adviser {
  public:
    /// Runs `command` by the shell, until this goes. Throws Failure when that cannot be done.
    explicit Adviser(const std::string& command);
    ~Adviser();
    Adviser(const Adviser&) = delete;
    Adviser& operator=(const Adviser&) = delete;

    /// Whether the key passes; nothing when the program does not say so while the daemon waits. An
    /// answer that comes later is taken for the question that it belongs to, and dropped.
    std::optional<bool> LetsThrough(const KeyEvent& event);

  private:
    using Clock = std::chrono::steady_clock;

    bool SendQuestion(const KeyEvent& event) const;
    std::optional<std::string> ReadLine(Clock::time_point until);

    pid_t mProcess = -1;
    int mSocket = -1;
    unsigned long mOpenQuestions = 0;
    std::string mUnread;
};

}  // namespace kivo::ctl
