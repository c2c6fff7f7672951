#pragma once

#include <sys/types.h>

#include <chrono>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace kivo::test {

/// Another program, started with pipes for its standard input, output and error.
///
/// Every wait has a deadline. A program that still runs when its object goes is killed.
class ChildProgram {
  public:
    static constexpr std::chrono::seconds kPatience{20};
    enum class Errors {
        kTaken,  ///< what it prints to standard error is for `Wait`
        kShown,  ///< and goes to the test's own
    };

    /// Starts the program at the path in `words[0]`. Throws std::runtime_error.
    explicit ChildProgram(const std::vector<std::string>& words, Errors errors = Errors::kTaken);
    ~ChildProgram();
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    void Write(const std::string& text);
    void CloseInput();
    /// Stops reading what it prints: its next write to standard output fails.
    void CloseOutput();
    void Signal(int number) const;
    /// Kills it and waits until it has gone.
    void Kill();

    /// The next line that it prints, without the line end; nothing when its output has ended.
    /// Throws std::runtime_error after `kPatience`.
    std::optional<std::string> ReadLine();

    /// Waits for the end. Throws std::runtime_error after `kPatience`.
    struct Ending {
        int status;          ///< Exit status, or the negative number of the signal that ended it.
        std::string output;  ///< What was not read by lines before.
        std::string error;
    };
    Ending Wait();

  private:
    bool ReadSome(int* descriptor, std::string* text, std::chrono::steady_clock::time_point until);

    pid_t mProcess = -1;
    int mInput = -1;
    int mOutput = -1;
    int mError = -1;
    std::string mUnread;
};

/// What a failed expectation shows.
void PrintTo(const ChildProgram::Ending& ending, std::ostream* out);

/// Runs a program to its end, with nothing on its standard input.
ChildProgram::Ending RunProgram(const std::vector<std::string>& words);

}  // namespace kivo::test
