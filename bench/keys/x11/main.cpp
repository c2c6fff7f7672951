// What holding a key costs in a virtual X session.

#include "bench/keys/Cores.h"
#include "bench/keys/KeyBenchmark.h"
#include "bench/keys/x11/X11Typist.h"

int main(int argc, char** argv) {
    kivo::bench::StayOnFirstCore();
    return kivo::bench::RunKeyBenchmark(argc, argv, "x11",
                                        [] { return std::make_unique<kivo::bench::X11Typist>(); });
}
