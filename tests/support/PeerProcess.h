#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>

namespace kivo::test {

/// What a test program does when it is started as the other process of a test. Reads commands from
/// standard input and reports on standard output, line by line; its result is the exit status.
using PeerRole = int (*)(const std::string& argument);

/// Makes a role known; one static object a role, in the test's file.
struct PeerRoleRegistration {
    PeerRoleRegistration(const char* name, PeerRole role);
};

/// If this process was started in a role: plays it, sets the exit status and returns true.
bool PlayPeerRole(int& exitStatus);

/// This program, started anew in a role. Killed when the object goes.
class PeerProcess {
  public:
    explicit PeerProcess(const std::string& role, const std::string& argument = "");
    ~PeerProcess();
    PeerProcess(const PeerProcess&) = delete;
    PeerProcess& operator=(const PeerProcess&) = delete;

    pid_t Pid() const { return mPid; }
    /// Sends a line to the peer.
    void Say(const std::string& line) const;
    /// The next line from the peer; empty when none comes within ten seconds or it has ended.
    std::string Hear();
    void Signal(int signal) const;
    /// Kills the peer and waits until it has gone.
    void Kill();
    /// Waits until the peer has ended by itself; its exit status, or -1.
    int Wait();

  private:
    pid_t mPid = -1;
    int mInput = -1;
    int mOutput = -1;
    std::string mHeard;
};

/// For roles: a line to the test.
void Report(const std::string& line);
/// For roles: the next line from the test; empty when it has gone.
std::string Listen();

}  // namespace kivo::test
