#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <optional>
#include <string>

namespace kivo::test {

/// Puts a descriptor in the place of standard error. It stays the caller's.
class StandardError {
  public:
    explicit StandardError(int place) : mSaved(dup(STDERR_FILENO)) { dup2(place, STDERR_FILENO); }
    ~StandardError() {
        dup2(mSaved, STDERR_FILENO);
        close(mSaved);
    }
    StandardError(const StandardError&) = delete;
    StandardError& operator=(const StandardError&) = delete;

  private:
    const int mSaved;
};

/// Puts a pipe in the place of standard error.
class ErrorPipe {
  public:
    ErrorPipe() {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC), 0);
        mReadEnd = ends[0];
        mPlace.emplace(ends[1]);
        close(ends[1]);
    }
    ~ErrorPipe() { close(mReadEnd); }
    ErrorPipe(const ErrorPipe&) = delete;
    ErrorPipe& operator=(const ErrorPipe&) = delete;

    /// All that was written so far.
    std::string Read() {
        std::string text;
        std::array<char, 4096> part;
        ssize_t count;
        while ((count = read(mReadEnd, part.data(), part.size())) > 0)
            text.append(part.data(), static_cast<size_t>(count));
        return text;
    }

  private:
    int mReadEnd = -1;
    std::optional<StandardError> mPlace;
};

}  // namespace kivo::test
