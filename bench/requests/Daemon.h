#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "PublicUtility/CACFMessagePort.h"
#include "tests/desktop/Process.h"

namespace kivo::bench {

/// A control center and the daemon that it starts, as a process of its own.
class Daemon {
  public:
    /// Starts the daemon and returns when 'KiCt' has come.
    explicit Daemon(const std::string& program);
    /// Ends it by SIGINT.
    ~Daemon();
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    /// Sends a request and returns the length of the answer; ends the benchmark when there is none.
    CFIndex Ask(SInt32 code, const std::vector<unsigned char>& payload) const;
    /// Runs the loop until a message with this code has come.
    void Await(SInt32 code);

  private:
    static CFDataRef Receive(CFMessagePortRef, SInt32 code, CFDataRef, void* self);

    CACFLocalMessagePort mNotifications;
    std::vector<SInt32> mReceived;
    std::optional<test::Process> mProgram;
    std::optional<CACFRemoteMessagePort> mRequests;
};

}  // namespace kivo::bench
