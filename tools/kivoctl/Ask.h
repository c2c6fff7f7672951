#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include "tools/kivoctl/Questions.h"

namespace kivo::ctl {

/// How long a question waits for its answer unless told otherwise.
inline constexpr double kDefaultTimeoutSeconds = 5;

/// Whether some program owns the message port of that name now. Makes no port and does not wait.
bool IsPortOwned(const char* name);

/// Asks the daemon, which is looked up anew each time. Waits up to `timeoutSeconds` to send and as
/// long again for the answer, running the calling thread's loop in `mode`. Throws Failure:
/// kNoDaemon, kNoAnswer or kBroken.
Answer Ask(const Question& question, double timeoutSeconds, CFRunLoopMode mode);

/// Whether a daemon and a control center are running; kNoDaemon without a daemon.
Answer TellStatus();

}  // namespace kivo::ctl
