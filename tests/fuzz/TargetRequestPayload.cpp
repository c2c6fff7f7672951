#include "tests/fuzz/Payload.h"

namespace {

using kivo::fuzz::Require;
using Record = ZYN_Driver_TargetWindowInfo;

/// The reserved size grows with the square of the number of records.
constexpr unsigned int kMostForwarded = 64;

void RequireSame(const Record& one, const Record& other) {
    Require(std::strcmp(one.titleKey, other.titleKey) == 0);
    Require(one.titleLength == other.titleLength);
    Require(std::memcmp(one.titleChars, other.titleChars, 2 * one.titleLength) == 0);
    Require(one.auxByte == other.auxByte && one.auxFlag == other.auxFlag);
    Require(one.hasAltTitle == other.hasAltTitle);
    Require(std::strcmp(one.altTitle, other.altTitle) == 0);
    Require(one.altTitleLength == other.altTitleLength);
    Require(std::memcmp(one.altTitleChars, other.altTitleChars, 2 * one.altTitleLength) == 0);
}

}  // namespace

/// Receives records and sends them on, whole: they arrive as they were.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    STargetWindowRequestSpec received;
    if (!kivo::fuzz::Receive(received, data, size)) return 0;
    if (received.recordCount > kMostForwarded) return 0;

    STargetWindowRequestSpec forwarded(received.records.get(), received.recordCount), again;
    again.Deserialize(forwarded.Serialize());
    Require(again.recordCount == received.recordCount);
    for (unsigned int i = 0; i < again.recordCount; ++i) {
        RequireSame(received.records[i], again.records[i]);
    }
    return 0;
}
