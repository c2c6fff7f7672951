#pragma once

// Inside of the layer only, never installed: the bodies of the platform's calls.

namespace kivo {

/// Runs `answer` so that nothing it throws reaches a caller in C; `otherwise` is the result then.
template <typename Result, typename Answer>
Result WithoutExceptions(Result otherwise, Answer answer) noexcept {
    try {
        return answer();
    } catch (...) {
        return otherwise;
    }
}

/// The same for a call that has no result.
template <typename Action>
void WithoutExceptions(Action action) noexcept {
    try {
        action();
    } catch (...) {
        // The caller has no way to be told.
    }
}

}  // namespace kivo
