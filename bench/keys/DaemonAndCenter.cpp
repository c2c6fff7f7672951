#include "bench/keys/DaemonAndCenter.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <vector>

#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/RawPayloads.h"
#include "bench/keys/Cores.h"
#include "platform/CFRef.h"
#include "tests/desktop/XSession.h"

namespace kivo::bench {
namespace {

/// As a service manager does it: by JOURNAL_STREAM a program knows that its errors go to a journal.
void BecomeService(const std::string& program, int journal) {
    struct stat status {};
    fstat(journal, &status);
    const std::string stream = std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
    setenv("JOURNAL_STREAM", stream.c_str(), 1);
    dup2(journal, STDOUT_FILENO);
    dup2(journal, STDERR_FILENO);
    execl(program.c_str(), program.c_str(), nullptr);
}

}  // namespace

DaemonAndCenter::DaemonAndCenter(const std::string& folder) {
    {
        const OnOtherCore otherCore;
        mCenter = test::Process(std::vector<std::string>{folder + "/kivoctl", "listen"});
    }
    AwaitOwner(kControlCenterPortName);
    StartDaemon(folder + "/kivo-driver");
    AwaitOwner(kDriverPortName);
}

void DaemonAndCenter::StartDaemon(const std::string& program) {
    std::array<int, 2> log{};
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, log.data()) != 0) throw std::runtime_error("no socket");
    mJournal = test::Process([&] {
        close(log[1]);
        std::array<char, 4096> lines{};
        while (read(log[0], lines.data(), lines.size()) > 0)
            continue;
    });
    mDaemon = test::Process([&] {
        close(log[0]);
        BecomeService(program, log[1]);
    });
    close(log[0]);
    close(log[1]);
}

void DaemonAndCenter::Forward(bool isWanted) {
    const UInt8 byte = isWanted ? kYesBit : 0;
    const auto data = Adopt(CFDataCreate(nullptr, &byte, 1));
    mRequests->SendRequest(kMessageEventTap, data.Get(), 1, 0);
}

void DaemonAndCenter::AwaitOwner(const char* name) {
    const auto isThere = [&] {
        mRequests.emplace(MakeString(name).Get(), nullptr);
        return mRequests->IsValid();
    };
    if (!test::Await(isThere, 30)) throw std::runtime_error("a program does not start");
}

}  // namespace kivo::bench
