// A target file is either refused or becomes a message that the daemon takes, with every key whole.

#include <cstdlib>
#include <string>
#include <vector>

#include "ZYNCommon/PayloadCheck.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "tools/kivoctl/Failure.h"
#include "tools/kivoctl/Targets.h"
#include "tools/kivoctl/Text.h"

namespace {

using namespace kivo;

/// A byte order mark in front is not part of a text.
std::string KeyOf(const std::string& text) {
    return ctl::ToSystemEncoding(text, "the key");
}

void Check(const std::vector<ctl::Target>& targets) {
    const auto data = ctl::EncodeTargets(targets);
    const auto sent = ctl::BytesOf(data.Get());
    std::vector<UInt8> bytes(sent.begin(), sent.end());
    bytes.resize(sent.size() + kZeroBytesAfterPayload);
    if (!PayloadIsComplete<STargetWindowRequestSpec>(bytes.data(), sent.size())) std::abort();
    STargetWindowRequestSpec spec;
    spec.Deserialize(bytes.data());
    for (size_t i = 0; i < targets.size(); ++i) {
        const auto& record = spec.records[i];
        if (KeyOf(targets[i].titleKey) != record.titleKey) std::abort();
        if (targets[i].altTitle.has_value() != record.hasAltTitle) std::abort();
        if (record.hasAltTitle && KeyOf(*targets[i].altTitle) != record.altTitle) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Keeps the reserved size, which is quadratic, within what a search can afford.
    if (size > 1 << 14) return 0;
    try {
        Check(ctl::ReadTargets({reinterpret_cast<const char*>(data), size}, "input"));
    } catch (const ctl::UsageFailure&) {
        // Refused.
    }
    return 0;
}
