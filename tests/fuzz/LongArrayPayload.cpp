#include "tests/fuzz/Payload.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    SIncommingLongArraySpec spec;
    if (kivo::fuzz::Receive(spec, data, size)) {
        kivo::fuzz::Require(std::memcmp(spec.longs.get(), data + 8, 4 * std::size_t{spec.count}) ==
                            0);
    }
    return 0;
}
