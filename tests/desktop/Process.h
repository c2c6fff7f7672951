#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace kivo::test {

/// Whether a program is to be found in $PATH.
bool IsInstalled(const std::string& program);

/// A child process; killed, if it still runs, and waited for when this goes.
class Process {
  public:
    Process() = default;
    /// Starts a program; its output is thrown away. `inherited` is a descriptor that it keeps.
    explicit Process(const std::vector<std::string>& arguments, int inherited = -1);
    /// Runs `work` in a child process, which ends with it.
    explicit Process(const std::function<void()>& work);
    Process(Process&& other) noexcept;
    Process& operator=(Process&& other) noexcept;
    ~Process();

    pid_t ID() const { return mID; }
    void Signal(int signal) const;
    /// Kills it and waits for its end.
    void Kill();

  private:
    pid_t mID = -1;
};

/// A pipe whose ends are closed when it goes.
class Pipe {
  public:
    Pipe();
    ~Pipe();
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int ReadEnd() const { return mEnds[0]; }
    int WriteEnd() const { return mEnds[1]; }
    void CloseWriteEnd();
    /// What comes until a newline, for at most ten seconds; empty when nothing does.
    std::string ReadLine() const;

  private:
    int mEnds[2] = {-1, -1};
};

}  // namespace kivo::test
