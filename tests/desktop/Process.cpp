#include "tests/desktop/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace kivo::test {
namespace {

/// Forks a child that dies with this process.
pid_t Fork() {
    const pid_t id = fork();
    if (id < 0) throw std::runtime_error("fork failed");
    if (id == 0) prctl(PR_SET_PDEATHSIG, SIGKILL);
    return id;
}

[[noreturn]] void Execute(const std::vector<std::string>& arguments) {
    std::vector<char*> words;
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    const int nowhere = open("/dev/null", O_RDWR);
    for (const int standard : {0, 1, 2}) {
        dup2(nowhere, standard);
    }
    execvp(words[0], words.data());
    _exit(127);
}

}  // namespace

bool IsInstalled(const std::string& program) {
    const char* path = std::getenv("PATH");
    std::istringstream folders(path == nullptr ? "" : path);
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (access((std::filesystem::path(folder) / program).c_str(), X_OK) == 0) return true;
    }
    return false;
}

Process::Process(const std::vector<std::string>& arguments, int inherited) {
    mID = Fork();
    if (mID > 0) return;
    if (inherited >= 0) fcntl(inherited, F_SETFD, 0);
    Execute(arguments);
}

Process::Process(const std::function<void()>& work) {
    mID = Fork();
    if (mID > 0) return;
    work();
    _exit(0);
}

Process::Process(Process&& other) noexcept : mID(std::exchange(other.mID, -1)) {}

Process& Process::operator=(Process&& other) noexcept {
    std::swap(mID, other.mID);
    return *this;
}

Process::~Process() {
    Kill();
}

void Process::Signal(int signal) const {
    if (mID > 0) kill(mID, signal);
}

void Process::Kill() {
    if (mID <= 0) return;
    kill(mID, SIGKILL);
    waitpid(mID, nullptr, 0);
    mID = -1;
}

Pipe::Pipe() {
    if (pipe2(mEnds, O_CLOEXEC) != 0) throw std::runtime_error("pipe2 failed");
}

Pipe::~Pipe() {
    close(mEnds[0]);
    CloseWriteEnd();
}

void Pipe::CloseWriteEnd() {
    if (mEnds[1] >= 0) close(mEnds[1]);
    mEnds[1] = -1;
}

std::string Pipe::ReadLine() const {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    std::string line;
    char letter = 0;
    while (Clock::now() < deadline) {
        pollfd end{mEnds[0], POLLIN, 0};
        if (poll(&end, 1, 100) <= 0) continue;
        if (read(mEnds[0], &letter, 1) != 1) break;
        if (letter == '\n') return line;
        line += letter;
    }
    return {};
}

}  // namespace kivo::test
