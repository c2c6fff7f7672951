#pragma once

#include <string>

#include "tests/support/ChildProgram.h"

namespace kivo::test {

/// What a test program does when it is started as the other process of a test. Reads commands from
/// standard input and reports on standard output, line by line; its result is the exit status.
using PeerRole = int (*)(const std::string& argument);

/// Makes a role known; one static object a role, in the test's file.
struct PeerRoleRegistration {
    PeerRoleRegistration(const char* name, PeerRole role);
};

/// If this process was started in a role: plays it, sets the exit status and returns true.
bool PlayPeerRole(int argc, char** argv, int& exitStatus);

/// This program, started anew in a role. Killed when the object goes.
class PeerProcess {
  public:
    explicit PeerProcess(const std::string& role, const std::string& argument = "");

    /// Sends a line to the peer.
    void Say(const std::string& line) { mProgram.Write(line + '\n'); }
    /// The next line from the peer; empty when it has ended.
    std::string Hear() { return mProgram.ReadLine().value_or(""); }
    void Signal(int signal) const { mProgram.Signal(signal); }
    /// Kills the peer and waits until it has gone.
    void Kill() { mProgram.Kill(); }

  private:
    ChildProgram mProgram;
};

/// For roles: a line to the test.
void Report(const std::string& line);
/// For roles: the next line from the test; empty when it has gone.
std::string Listen();

}  // namespace kivo::test
