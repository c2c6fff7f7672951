#include "tools/kivoctl/Adviser.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstring>

#include "tools/kivoctl/Decode.h"
#include "tools/kivoctl/Failure.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): not every system declares it

namespace kivo::ctl {

namespace {

/// The daemon gives up after 10 ms, of which the way there and back takes some.
constexpr std::chrono::milliseconds kPatience{8};

/// Two connected sockets, which a child has only if it is handed one.
std::array<int, 2> MakeSocketPair() {
    std::array<int, 2> pair{};
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, pair.data()) != 0) {
        throw Failure(ExitCode::kBroken, "making a socket pair failed");
    }
    for (const int end : pair)
        fcntl(end, F_SETFD, FD_CLOEXEC);
    return pair;
}

/// Starts the shell, in a process group of its own, with `socket` for its standard input and
/// output; 0, or why it did not start.
int Spawn(const std::string& command, int socket, pid_t* process) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, socket, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, socket, STDOUT_FILENO);
    std::string shell = "sh";
    std::string option = "-c";
    std::string text = command;
    std::array<char*, 4> arguments{shell.data(), option.data(), text.data(), nullptr};
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    const int error =
        posix_spawn(process, "/bin/sh", &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

}  // namespace

Adviser::Adviser(const std::string& command) {
    const auto [ours, theirs] = MakeSocketPair();
    const int error = Spawn(command, theirs, &mProcess);
    close(theirs);
    mSocket = ours;
    if (error == 0) return;
    close(mSocket);
    throw Failure(ExitCode::kBroken, std::string("starting /bin/sh failed: ") + strerror(error));
}

Adviser::~Adviser() {
    close(mSocket);
    // The shell and what it has started.
    kill(-mProcess, SIGTERM);
    waitpid(mProcess, nullptr, 0);
}

std::optional<bool> Adviser::LetsThrough(const KeyEvent& event) {
    const auto until = Clock::now() + kPatience;
    if (!SendQuestion(event)) return std::nullopt;
    ++mOpenQuestions;
    while (const auto answer = ReadLine(until)) {
        if (--mOpenQuestions == 0) return answer->starts_with('p');
    }
    return std::nullopt;
}

bool Adviser::SendQuestion(const KeyEvent& event) const {
    auto fields = DescribeKeyEvent(event, false).fields;
    fields.erase("swallowed");
    const std::string line = fields.dump() + '\n';
    // If the program has gone this fails: kivoctl ignores SIGPIPE.
    return send(mSocket, line.data(), line.size(), MSG_DONTWAIT) ==
           static_cast<ssize_t>(line.size());
}

std::optional<std::string> Adviser::ReadLine(Clock::time_point until) {
    for (;;) {
        const size_t end = mUnread.find('\n');
        if (end != std::string::npos) {
            const std::string line = mUnread.substr(0, end);
            mUnread.erase(0, end + 1);
            return line;
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now());
        pollfd socket{mSocket, POLLIN, 0};
        if (left.count() < 0 || poll(&socket, 1, static_cast<int>(left.count())) <= 0) break;
        std::array<char, 256> buffer{};
        const ssize_t size = recv(mSocket, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (size <= 0) break;
        mUnread.append(buffer.data(), static_cast<size_t>(size));
    }
    return std::nullopt;
}

}  // namespace kivo::ctl
