#pragma once

#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <string_view>
#include <vector>

#include "bench/Comparison.h"
#include "tests/support/TemporaryFolder.h"

namespace kivo::bench {

/// The main function of a benchmark program: measures, in a run-time folder of its own so that
/// no port of the session is met, and prints for people or, with --json, for bench/table.py.
inline int RunProgram(int argc, char** argv,
                      const std::function<std::vector<Comparison>()>& measure) {
    const bool isForTable = argc > 1 && std::string_view(argv[1]) == "--json";
    try {
        const test::TemporaryFolder folder;
        setenv("XDG_RUNTIME_DIR", folder.Path().c_str(), 1);
        const std::vector<Comparison> comparisons = measure();
        isForTable ? PrintAsJSON(comparisons) : PrintAsText(comparisons);
        return 0;
    } catch (const std::exception& failure) {
        std::cerr << argv[0] << ": " << failure.what() << '\n';
        return 1;
    }
}

}  // namespace kivo::bench
