#include "bench/keys/KeyBenchmark.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string_view>
#include <thread>

#include "bench/Comparison.h"
#include "bench/keys/DaemonAndCenter.h"

namespace kivo::bench {
namespace {

constexpr int kBlocks = 20;
constexpr int kKeysPerBlock = 150;
constexpr int kKeysToWarmUp = 10;
constexpr double kAim = 1.5;

void TypeBlock(Typist& typist, Samples* samples) {
    for (int key = -kKeysToWarmUp; key < kKeysPerBlock; ++key) {
        // Keys come one by one, to processes that sleep.
        std::this_thread::sleep_for(std::chrono::microseconds(1000 + (key & 7) * 250));
        const auto time = typist.Type();
        if (key >= 0 && time) samples->Add(*time);
    }
}

struct Times {
    Samples bare;
    Samples minimal;
    Samples daemon;
};

Times Measure(Typist& typist, const std::string& folder) {
    DaemonAndCenter daemon(folder);
    Times times;
    for (int block = 0; block < kBlocks; ++block) {
        TypeBlock(typist, &times.bare);
        {
            const MinimalLoop loop = typist.StartLoop();
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
    std::fprintf(stderr, "%-30s p50 %.0f us, p99 %.0f us, p99.9 %.0f us, %zu of %d keys\n", what,
                 samples.Quantile(0.5), samples.Quantile(0.99), samples.Quantile(0.999),
                 samples.Count(), kBlocks * kKeysPerBlock);
}

void Report(const Times& times, const std::string& source, bool isAsJSON) {
    PrintTimes("no tap", times.bare);
    PrintTimes("minimal loop", times.minimal);
    PrintTimes("daemon and control center", times.daemon);
    const double bare = times.bare.Quantile(0.5);
    const Comparison added{"key_added_vs_floor_" + source, kAim, times.daemon.Over(bare),
                           times.minimal.Over(bare)};
    isAsJSON ? PrintAsJSON({added}) : PrintAsText({added});
}

}  // namespace

int RunKeyBenchmark(int argc, char** argv, const char* source,
                    const std::function<std::unique_ptr<Typist>()>& makeTypist) {
    const std::string folder = std::filesystem::canonical("/proc/self/exe").parent_path();
    std::string runtime = std::filesystem::temp_directory_path() / "kivo-bench-XXXXXX";
    if (mkdtemp(runtime.data()) == nullptr) return 1;
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    setenv("KIVO_KEYBOARD", source, 1);
    int status = 1;
    try {
        const auto typist = makeTypist();
        const Times times = Measure(*typist, folder);
        Report(times, source, argc > 1 && std::string_view(argv[1]) == "--json");
        status = 0;
    } catch (const std::exception& failure) {
        std::cerr << argv[0] << ": " << failure.what() << '\n';
    }
    std::filesystem::remove_all(runtime);
    return status;
}

}  // namespace kivo::bench
