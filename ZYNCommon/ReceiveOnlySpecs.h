#pragma once

#include <memory>

#include "ZYNCommon/SMessageSpec.h"

/// Payloads that are only ever read: they serialise to null and report a size of 0.

/// A name of at most 31 characters and a value.
struct SResetSocketSpec : SMessageSpec {
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    char name[32] = {};
    unsigned int value = 0;
};

/// A value and an array of words, which travel in the host's byte order.
struct SIncommingLongArraySpec : SMessageSpec {
    unsigned char* Serialize() override;
    /// The array of an earlier call is kept for ever, by design: a receiver may have handed its
    /// address on (`kivo::DesignedRetention::kLongsArray`).
    void Deserialize(const unsigned char* src) override;

    unsigned int count = 0;
    unsigned int value = 0;
    /// `count` words; released with the object.
    std::unique_ptr<unsigned int[]> longs;
};
