// What holding a key costs on the kernel's own keyboards; for a booted machine.

#include "bench/keys/KeyBenchmark.h"
#include "bench/keys/evdev/EvdevTypist.h"

int main(int argc, char** argv) {
    return kivo::bench::RunKeyBenchmark(
        argc, argv, "evdev", [] { return std::make_unique<kivo::bench::EvdevTypist>(); });
}
