#include "tests/support/ChildProgram.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <ostream>
#include <stdexcept>
#include <utility>

extern char** environ;  // NOLINT(readability-redundant-declaration): not every system declares it

namespace kivo::test {

namespace {

using Clock = std::chrono::steady_clock;

std::pair<int, int> MakePipe() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
    for (const int end : ends)
        fcntl(end, F_SETFD, FD_CLOEXEC);
    return {ends[0], ends[1]};
}

void Close(int* descriptor) {
    if (*descriptor >= 0) close(std::exchange(*descriptor, -1));
}

int MillisecondsTo(Clock::time_point until) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
    return static_cast<int>(std::max<std::int64_t>(0, left.count()));
}

}  // namespace

ChildProgram::ChildProgram(const std::vector<std::string>& words, Errors errors) {
    const auto [inputRead, inputWrite] = MakePipe();
    const auto [outputRead, outputWrite] = MakePipe();
    const auto [errorRead, errorWrite] = MakePipe();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inputRead, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, outputWrite, STDOUT_FILENO);
    if (errors == Errors::kTaken) {
        posix_spawn_file_actions_adddup2(&actions, errorWrite, STDERR_FILENO);
    }
    std::vector<std::string> copies = words;
    std::vector<char*> arguments;
    for (std::string& word : copies)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const int failure =
        posix_spawn(&mProcess, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    for (const int end : {inputRead, outputWrite, errorWrite})
        close(end);
    mInput = inputWrite;
    mOutput = outputRead;
    mError = errorRead;
    if (failure != 0) throw std::runtime_error("cannot start " + words[0]);
}

ChildProgram::~ChildProgram() {
    Kill();
    Close(&mInput);
    Close(&mOutput);
    Close(&mError);
}

void ChildProgram::Write(const std::string& text) {
    if (write(mInput, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error(std::string("cannot write to the program: ") +
                                 std::strerror(errno));
    }
}

void ChildProgram::CloseInput() {
    Close(&mInput);
}

void ChildProgram::CloseOutput() {
    Close(&mOutput);
}

void ChildProgram::Signal(int number) const {
    if (mProcess > 0) kill(mProcess, number);
}

void ChildProgram::Kill() {
    Signal(SIGKILL);
    if (mProcess > 0) waitpid(std::exchange(mProcess, -1), nullptr, 0);
}

/// Waits until there is more to read and adds it to `text`. False at the end of the stream.
bool ChildProgram::ReadSome(int* descriptor, std::string* text, Clock::time_point until) {
    if (*descriptor < 0) return false;
    pollfd awaited{*descriptor, POLLIN, 0};
    if (poll(&awaited, 1, MillisecondsTo(until)) == 0) {
        throw std::runtime_error("the program said nothing for too long, after: " + *text);
    }
    std::array<char, 4096> buffer{};
    const ssize_t count = read(*descriptor, buffer.data(), buffer.size());
    if (count <= 0) {
        Close(descriptor);
        return false;
    }
    text->append(buffer.data(), static_cast<size_t>(count));
    return true;
}

std::optional<std::string> ChildProgram::ReadLine() {
    const auto until = Clock::now() + kPatience;
    for (;;) {
        if (const size_t end = mUnread.find('\n'); end != std::string::npos) {
            std::string line = mUnread.substr(0, end);
            mUnread.erase(0, end + 1);
            return line;
        }
        if (!ReadSome(&mOutput, &mUnread, until)) return std::nullopt;
    }
}

ChildProgram::Ending ChildProgram::Wait() {
    const auto until = Clock::now() + kPatience;
    Ending ending{-1, std::exchange(mUnread, {}), {}};
    // What it prints there is short: it fits in the pipe until its turn comes.
    while (ReadSome(&mOutput, &ending.output, until)) {
    }
    while (ReadSome(&mError, &ending.error, until)) {
    }
    // Both streams end with the process, so this does not wait for long.
    int status = 0;
    waitpid(std::exchange(mProcess, -1), &status, 0);
    ending.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return ending;
}

void PrintTo(const ChildProgram::Ending& ending, std::ostream* out) {
    *out << "status " << ending.status << ", output " << ending.output << ", error "
         << ending.error;
}

ChildProgram::Ending RunProgram(const std::vector<std::string>& words) {
    ChildProgram program(words);
    program.CloseInput();
    return program.Wait();
}

}  // namespace kivo::test
