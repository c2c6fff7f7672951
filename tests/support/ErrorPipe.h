#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <string>

namespace kivo::test {

/// Puts a pipe in the place of standard error.
class ErrorPipe {
  public:
    ErrorPipe() {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC), 0);
        mReadEnd = ends[0];
        mSaved = dup(STDERR_FILENO);
        dup2(ends[1], STDERR_FILENO);
        close(ends[1]);
    }
    ~ErrorPipe() {
        dup2(mSaved, STDERR_FILENO);
        close(mSaved);
        close(mReadEnd);
    }
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
    int mSaved = -1;
};

}  // namespace kivo::test
