// What a key takes from the hand to the application, without a tap, through the least loop that
// could hold it, and through the daemon and a control center in processes of their own.

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "PublicUtility/CACFMessagePort.h"
#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/RawPayloads.h"
#include "bench/Comparison.h"
#include "bench/keys/MinimalLoop.h"
#include "bench/keys/Typist.h"
#include "platform/CFRef.h"

namespace kivo::bench {
namespace {

constexpr int kBlocks = 20;
constexpr int kKeysPerBlock = 150;
constexpr int kKeysToWarmUp = 10;

/// A control center that lets every key through, and the daemon.
class DaemonAndCenter {
  public:
    explicit DaemonAndCenter(const std::string& folder) : mCenter({folder + "/kivoctl", "listen"}) {
        AwaitOwner(kControlCenterPortName);
        mDaemon = test::Process(std::vector<std::string>{folder + "/kivo-driver"});
        AwaitOwner(kDriverPortName);
    }

    void Forward(bool isWanted) {
        const UInt8 byte = isWanted ? kYesBit : 0;
        const auto data = Adopt(CFDataCreate(nullptr, &byte, 1));
        mRequests->SendRequest(kMessageEventTap, data.Get(), 1, 0);
    }

  private:
    void AwaitOwner(const char* name) {
        const auto isThere = [&] {
            mRequests.emplace(MakeString(name).Get(), nullptr);
            return mRequests->IsValid();
        };
        if (!test::Await(isThere)) throw std::runtime_error("a program does not start");
    }

    test::Process mCenter;
    test::Process mDaemon;
    std::optional<CACFRemoteMessagePort> mRequests;
};

void TypeBlock(Typist& typist, Samples* samples) {
    for (int key = -kKeysToWarmUp; key < kKeysPerBlock; ++key) {
        // Keys come one by one, to processes that sleep.
        std::this_thread::sleep_for(std::chrono::microseconds(1000 + key % 7 * 300));
        const auto time = typist.Type();
        if (key >= 0 && time) samples->Add(*time);
    }
}

struct Times {
    Samples bare;
    Samples minimal;
    Samples daemon;
};

Times Measure(const std::string& folder) {
    const test::XServer server;
    Typist typist;
    DaemonAndCenter daemon(folder);
    Times times;
    for (int block = 0; block < kBlocks; ++block) {
        TypeBlock(typist, &times.bare);
        {
            const MinimalLoop loop(typist.Keyboard());
            typist.AwaitHeld(true);
            TypeBlock(typist, &times.minimal);
        }
        typist.AwaitHeld(false);
        daemon.Forward(true);
        typist.AwaitHeld(true);
        TypeBlock(typist, &times.daemon);
        daemon.Forward(false);
        typist.AwaitHeld(false);
    }
    return times;
}

void PrintTimes(const char* what, const Samples& samples) {
    std::fprintf(stderr, "%-30s p50 %.0f us, p99 %.0f us, p99.9 %.0f us\n", what,
                 samples.Quantile(0.5), samples.Quantile(0.99), samples.Quantile(0.999));
}

int Run(const std::string& folder, bool isAsJSON) {
    const Times times = Measure(folder);
    PrintTimes("no tap", times.bare);
    PrintTimes("minimal loop", times.minimal);
    PrintTimes("daemon and control center", times.daemon);
    const double bare = times.bare.Quantile(0.5);
    const Comparison added{"key_added_vs_floor_x11", 1.5, times.daemon.Over(bare),
                           times.minimal.Over(bare)};
    isAsJSON ? PrintAsJSON({added}) : PrintAsText({added});
    return 0;
}

}  // namespace
}  // namespace kivo::bench

int main(int argc, char** argv) {
    const std::string folder = std::filesystem::canonical("/proc/self/exe").parent_path();
    std::string runtime = std::filesystem::temp_directory_path() / "kivo-bench-XXXXXX";
    if (mkdtemp(runtime.data()) == nullptr) return 1;
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    setenv("KIVO_KEYBOARD", "x11", 1);
    int status = 1;
    try {
        status = kivo::bench::Run(folder, argc > 1 && std::string_view(argv[1]) == "--json");
    } catch (const std::exception& failure) {
        std::cerr << argv[0] << ": " << failure.what() << '\n';
    }
    std::filesystem::remove_all(runtime);
    return status;
}
