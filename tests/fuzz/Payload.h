#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "ZYNCommon/PayloadCheck.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"

namespace kivo::fuzz {

/// A copy of received bytes as a receiver hands it to Deserialize: of exactly the size that the
/// check promises to be enough.
inline std::unique_ptr<unsigned char[]> CopyForDeserialize(const std::uint8_t* data,
                                                           std::size_t size) {
    auto copy = std::make_unique<unsigned char[]>(size + kZeroBytesAfterPayload);
    if (size != 0) std::memcpy(copy.get(), data, size);
    return copy;
}

/// Deserialises what the check accepts; false for the rest. The sanitizers watch.
template <typename Spec>
bool Receive(Spec& spec, const std::uint8_t* data, std::size_t size) {
    if (!PayloadIsComplete<Spec>(data, size)) return false;
    spec.Deserialize(CopyForDeserialize(data, size).get());
    return true;
}

/// Ends the process when what must hold does not.
inline void Require(bool holds) {
    if (!holds) std::abort();
}

/// Receives a payload, and when it serialises at all, what it sends is accepted and sent the same
/// way again.
template <typename Spec>
void ReceiveAndReturn(const std::uint8_t* data, std::size_t size) {
    Spec first, second;
    if (!Receive(first, data, size)) return;
    const unsigned char* const sent = first.Serialize();
    if (sent == nullptr) return;
    Require(Receive(second, sent, first.SerialBufferSize()));
    Require(second.SerialBufferSize() == first.SerialBufferSize());
    Require(std::memcmp(second.Serialize(), sent, first.SerialBufferSize()) == 0);
}

}  // namespace kivo::fuzz
