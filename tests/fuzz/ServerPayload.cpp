#include "tests/fuzz/Payload.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kivo::fuzz::ReceiveAndReturn<SServerSpec>(data, size);
    return 0;
}
