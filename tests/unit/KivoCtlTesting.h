#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <functional>
#include <future>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "PublicUtility/CACFMessagePort.h"
#include "ZYNCommon/SMessageSpec.h"
#include "platform/CFRef.h"
#include "tests/support/ChildProgram.h"
#include "tests/support/PeerProcess.h"

namespace kivo::ctl {

using Bytes = std::vector<UInt8>;

/// What a spec travels as.
Bytes BytesOfSpec(SMessageSpec&& spec);

/// The command line that starts the kivoctl of this build.
std::vector<std::string> CommandLine(const std::vector<std::string>& words);

/// Runs kivoctl to its end.
test::ChildProgram::Ending RunKivoctl(const std::vector<std::string>& words);

/// The daemon's port, served by a function on a thread of its own.
class ScriptedDaemon {
  public:
    /// Called on the daemon's thread; empty bytes are a reply without data.
    using Script = std::function<Bytes(SInt32 code, std::span<const UInt8> payload)>;

    /// The port is owned when the constructor returns.
    explicit ScriptedDaemon(Script script);
    ~ScriptedDaemon();
    ScriptedDaemon(const ScriptedDaemon&) = delete;
    ScriptedDaemon& operator=(const ScriptedDaemon&) = delete;

  private:
    static CFDataRef MessageEntry(CFMessagePortRef port, SInt32 code, CFDataRef data, void* info);
    void Serve(std::promise<void> owned);

    Script mScript;
    CFRef<CFRunLoopRef> mRunLoop;
    CFRef<CFRunLoopSourceRef> mEndSource;
    bool mIsEnding = false;
    std::thread mThread;
};

/// A daemon in a process of its own that ends as soon as it is asked anything, unanswered.
class DyingDaemon {
  public:
    /// The port is owned when the constructor returns.
    DyingDaemon();

  private:
    test::PeerProcess mPeer;
};

}  // namespace kivo::ctl
