#include "bench/keys/KeyBenchmark.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "bench/Program.h"
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

Comparison Compare(const Times& times, const std::string& source) {
    PrintTimes("no tap", times.bare);
    PrintTimes("minimal loop", times.minimal);
    PrintTimes("daemon and control center", times.daemon);
    const double bare = times.bare.Quantile(0.5);
    return {"key_added_vs_floor_" + source, kAim, times.daemon.Over(bare),
            times.minimal.Over(bare)};
}

}  // namespace

int RunKeyBenchmark(int argc, char** argv, const char* source,
                    const std::function<std::unique_ptr<Typist>()>& makeTypist) {
    const std::string folder = std::filesystem::canonical("/proc/self/exe").parent_path();
    setenv("KIVO_KEYBOARD", source, 1);
    return RunProgram(argc, argv, [&]() -> std::vector<Comparison> {
        const auto typist = makeTypist();
        return {Compare(Measure(*typist, folder), source)};
    });
}

}  // namespace kivo::bench
