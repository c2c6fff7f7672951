#include "tests/support/PeerProcess.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <map>

namespace kivo::test {
namespace {

constexpr int kPatienceMilliseconds = 10000;

std::map<std::string, PeerRole>& Roles() {
    static std::map<std::string, PeerRole> roles;
    return roles;
}

void WriteLine(int descriptor, const std::string& line) {
    const std::string text = line + "\n";
    if (write(descriptor, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        ADD_FAILURE() << "cannot write to the other process";
    }
}

/// The next line of a stream; `patience` as in poll.
std::string ReadLine(int descriptor, std::string& heard, int patience) {
    for (;;) {
        const size_t end = heard.find('\n');
        if (end != std::string::npos) {
            const std::string line = heard.substr(0, end);
            heard.erase(0, end + 1);
            return line;
        }
        pollfd polled{descriptor, POLLIN, 0};
        if (poll(&polled, 1, patience) <= 0) return "";
        char bytes[256];
        const ssize_t count = read(descriptor, bytes, sizeof bytes);
        if (count <= 0) return "";
        heard.append(bytes, static_cast<size_t>(count));
    }
}

}  // namespace

PeerRoleRegistration::PeerRoleRegistration(const char* name, PeerRole role) {
    Roles().emplace(name, role);
}

bool PlayPeerRole(int& exitStatus) {
    const char* name = std::getenv("KIVO_TEST_PEER_ROLE");
    if (name == nullptr) return false;
    const char* argument = std::getenv("KIVO_TEST_PEER_ARGUMENT");
    const auto role = Roles().find(name);
    exitStatus = role == Roles().end() ? 127 : role->second(argument == nullptr ? "" : argument);
    return true;
}

PeerProcess::PeerProcess(const std::string& role, const std::string& argument) {
    const std::string program = testing::internal::GetArgvs()[0];
    int input[2];
    int output[2];
    if (pipe(input) != 0 || pipe(output) != 0) std::abort();
    mPid = fork();
    if (mPid == 0) {
        dup2(input[0], STDIN_FILENO);
        dup2(output[1], STDOUT_FILENO);
        for (const int descriptor : {input[0], input[1], output[0], output[1]})
            close(descriptor);
        setenv("KIVO_TEST_PEER_ROLE", role.c_str(), 1);
        setenv("KIVO_TEST_PEER_ARGUMENT", argument.c_str(), 1);
        execl(program.c_str(), program.c_str(), nullptr);
        _exit(127);
    }
    close(input[0]);
    close(output[1]);
    mInput = input[1];
    mOutput = output[0];
}

PeerProcess::~PeerProcess() {
    Kill();
    close(mInput);
    close(mOutput);
}

void PeerProcess::Say(const std::string& line) const {
    WriteLine(mInput, line);
}

std::string PeerProcess::Hear() {
    return ReadLine(mOutput, mHeard, kPatienceMilliseconds);
}

void PeerProcess::Signal(int signal) const {
    kill(mPid, signal);
}

void PeerProcess::Kill() {
    if (mPid < 0) return;
    kill(mPid, SIGKILL);
    Wait();
}

int PeerProcess::Wait() {
    int status = 0;
    const bool isReaped = mPid > 0 && waitpid(mPid, &status, 0) == mPid;
    mPid = -1;
    return isReaped && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void Report(const std::string& line) {
    WriteLine(STDOUT_FILENO, line);
}

std::string Listen() {
    static std::string heard;
    return ReadLine(STDIN_FILENO, heard, -1);
}

}  // namespace kivo::test
