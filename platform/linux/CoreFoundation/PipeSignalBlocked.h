#pragma once

#include <csignal>

namespace kivo {

/// Who writes to a pipe or a socket whose reader has gone is ended by SIGPIPE, unless the call says
/// otherwise; looking first whether it is there leaves a moment in which it may go. The thread that
/// has one of these is not ended: the call fails.
class PipeSignalBlocked {
  public:
    PipeSignalBlocked();
    ~PipeSignalBlocked();
    PipeSignalBlocked(const PipeSignalBlocked&) = delete;
    PipeSignalBlocked& operator=(const PipeSignalBlocked&) = delete;

  private:
    sigset_t mBefore;
};

}  // namespace kivo
