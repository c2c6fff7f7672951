#include "tests/fuzz/Payload.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    SResetSocketSpec spec;
    if (kivo::fuzz::Receive(spec, data, size)) {
        kivo::fuzz::Require(std::memchr(spec.name, 0, sizeof spec.name) != nullptr);
    }
    return 0;
}
