#include "tests/fuzz/Payload.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    SWindowRequestSpec received;
    if (!kivo::fuzz::Receive(received, data, size)) return 0;

    SWindowRequestSpec forwarded(received.title, received.partialMatch), again;
    kivo::fuzz::Require(
        kivo::fuzz::Receive(again, forwarded.Serialize(), forwarded.SerialBufferSize()));
    kivo::fuzz::Require(again.title == received.title);
    kivo::fuzz::Require(again.partialMatch == received.partialMatch);
    return 0;
}
