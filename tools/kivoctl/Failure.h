#pragma once

#include <stdexcept>
#include <string>

namespace kivo::ctl {

/// What the program ends with. Scripts rely on the numbers; help and man page list them.
enum class ExitCode {
    kAnswered = 0,   ///< answered, or what was awaited came
    kNotFound = 1,   ///< answered: there is no such window, or no controller
    kUsage = 2,      ///< the command line or a file cannot be understood; nothing was sent
    kNoDaemon = 3,   ///< no daemon is running
    kNoAnswer = 4,   ///< the daemon runs but did not answer, or what was awaited did not come
    kBroken = 5,     ///< the link broke, the answer makes no sense, or MIDI cannot be reached
    kNameTaken = 6,  ///< another program is the control center already
};

/// The one way in which kivoctl's own functions fail. `what()` is one line for people: what was
/// being done, what went wrong and what to do. Never crosses a callback of the run loop.
class Failure : public std::runtime_error {
  public:
    Failure(ExitCode status, const std::string& text) : std::runtime_error(text), mStatus(status) {}
    ExitCode Status() const { return mStatus; }

  private:
    ExitCode mStatus;
};

/// A failure that is the caller's to mend: nothing has been sent.
class UsageFailure : public Failure {
  public:
    explicit UsageFailure(const std::string& text) : Failure(ExitCode::kUsage, text) {}
};

}  // namespace kivo::ctl
