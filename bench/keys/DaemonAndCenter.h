#pragma once

#include <optional>
#include <string>

#include "PublicUtility/CACFMessagePort.h"
#include "tests/desktop/Process.h"

namespace kivo::bench {

/// The daemon, and a control center that lets every key through. The daemon's standard error is
/// what it is to a service, a socket whose other end a process reads line after line: the daemon
/// writes one for each key. All live as long as this object.
class DaemonAndCenter {
  public:
    /// `folder` has their programs. Throws when one does not start.
    explicit DaemonAndCenter(const std::string& folder);

    /// Switches the forwarding of keys.
    void Forward(bool isWanted);

  private:
    void StartDaemon(const std::string& program);
    void AwaitOwner(const char* name);

    test::Process mCenter;
    test::Process mJournal;
    test::Process mDaemon;
    std::optional<CACFRemoteMessagePort> mRequests;
};

}  // namespace kivo::bench
