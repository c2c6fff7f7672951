#include "tests/fuzz/Payload.h"

/// The payloads of a fixed length, each given the same bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using kivo::fuzz::ReceiveAndReturn;
    ReceiveAndReturn<SPointSpec>(data, size);
    ReceiveAndReturn<SPointSizeSpec>(data, size);
    ReceiveAndReturn<STargetPointSizeSpec>(data, size);
    ReceiveAndReturn<SServerPortSpec>(data, size);
    ReceiveAndReturn<SControlSpec>(data, size);
    ReceiveAndReturn<SCurrentControlInfoSpec>(data, size);
    ReceiveAndReturn<SPortConnectDisconnectSpec>(data, size);
    ReceiveAndReturn<SKeysetIndexSpec>(data, size);
    ReceiveAndReturn<SBankIndexSpec>(data, size);
    ReceiveAndReturn<SLayerIndexSpec>(data, size);
    ReceiveAndReturn<SOneIntSpec>(data, size);
    ReceiveAndReturn<STwoIntSpec>(data, size);
    ReceiveAndReturn<SThreeIntSpec>(data, size);
    ReceiveAndReturn<STrackerArmSpec>(data, size);
    ReceiveAndReturn<SConnectStatusSpec>(data, size);
    return 0;
}
