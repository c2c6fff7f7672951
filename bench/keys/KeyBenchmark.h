#pragma once

#include <functional>
#include <memory>

#include "bench/keys/Typist.h"

namespace kivo::bench {

/// Measures what a key takes from the hand to the application, without a tap, through the least
/// loop that could hold it, and through the daemon and a control center in processes of their own:
/// in turns, for the source of that name ("x11", "evdev"). The typist is made in an environment
/// that is set up for it. Prints the figures, as JSON with the argument "--json"; returns the
/// program's status.
int RunKeyBenchmark(int argc, char** argv, const char* source,
                    const std::function<std::unique_ptr<Typist>()>& makeTypist);

}  // namespace kivo::bench
