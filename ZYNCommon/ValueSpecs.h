#pragma once

#include "ZYNCommon/FieldRun.h"
#include "ZYNCommon/SMessageSpec.h"

/// Payloads of a few 32-bit values whose meaning belongs to the control center. The daemon neither
/// sends nor receives them; they are here because both ends share one vocabulary. Each is a class
/// of its own: the template for its number of values, with its subject.

namespace kivo {

template <typename Subject>
struct OneValueSpec : SMessageSpec {
    OneValueSpec() : OneValueSpec(0) {}
    explicit OneValueSpec(unsigned int field) : value(field) {
        serialBufferSize = sizeof serialBuffer;
    }
    unsigned char* Serialize() override { return SerializeFieldRun(*this, serialBuffer, value); }
    void Deserialize(const unsigned char* src) override { DeserializeFieldRun(*this, src, value); }

    unsigned int value;
    unsigned char serialBuffer[4] = {};
};

template <typename Subject>
struct TwoValuesSpec : SMessageSpec {
    TwoValuesSpec() : TwoValuesSpec(0, 0) {}
    TwoValuesSpec(unsigned int first, unsigned int second) : value1(first), value2(second) {
        serialBufferSize = sizeof serialBuffer;
    }
    unsigned char* Serialize() override {
        return SerializeFieldRun(*this, serialBuffer, value1, value2);
    }
    void Deserialize(const unsigned char* src) override {
        DeserializeFieldRun(*this, src, value1, value2);
    }

    unsigned int value1;
    unsigned int value2;
    unsigned char serialBuffer[8] = {};
};

template <typename Subject>
struct ThreeValuesSpec : SMessageSpec {
    ThreeValuesSpec() : ThreeValuesSpec(0, 0, 0) {}
    ThreeValuesSpec(unsigned int first, unsigned int second, unsigned int third)
        : value1(first), value2(second), value3(third) {
        serialBufferSize = sizeof serialBuffer;
    }
    unsigned char* Serialize() override {
        return SerializeFieldRun(*this, serialBuffer, value1, value2, value3);
    }
    void Deserialize(const unsigned char* src) override {
        DeserializeFieldRun(*this, src, value1, value2, value3);
    }

    unsigned int value1;
    unsigned int value2;
    unsigned int value3;
    unsigned char serialBuffer[12] = {};
};

template <typename Subject>
struct FourValuesSpec : SMessageSpec {
    FourValuesSpec() : FourValuesSpec(0, 0, 0, 0) {}
    FourValuesSpec(unsigned int first, unsigned int second, unsigned int third, unsigned int fourth)
        : value1(first), value2(second), value3(third), value4(fourth) {
        serialBufferSize = sizeof serialBuffer;
    }
    unsigned char* Serialize() override {
        return SerializeFieldRun(*this, serialBuffer, value1, value2, value3, value4);
    }
    void Deserialize(const unsigned char* src) override {
        DeserializeFieldRun(*this, src, value1, value2, value3, value4);
    }

    unsigned int value1;
    unsigned int value2;
    unsigned int value3;
    unsigned int value4;
    unsigned char serialBuffer[16] = {};
};

namespace subject {
struct OneInt;
struct PortConnectDisconnect;
struct KeysetIndex;
struct BankIndex;
struct LayerIndex;
struct TwoInt;
struct ServerPort;
struct ThreeInt;
struct TrackerArm;
struct Control;
struct CurrentControlInfo;
}  // namespace subject

}  // namespace kivo

using SOneIntSpec = kivo::OneValueSpec<kivo::subject::OneInt>;
using SPortConnectDisconnectSpec = kivo::OneValueSpec<kivo::subject::PortConnectDisconnect>;
using SKeysetIndexSpec = kivo::OneValueSpec<kivo::subject::KeysetIndex>;
using SBankIndexSpec = kivo::OneValueSpec<kivo::subject::BankIndex>;
using SLayerIndexSpec = kivo::OneValueSpec<kivo::subject::LayerIndex>;

using STwoIntSpec = kivo::TwoValuesSpec<kivo::subject::TwoInt>;
using SServerPortSpec = kivo::TwoValuesSpec<kivo::subject::ServerPort>;

using SThreeIntSpec = kivo::ThreeValuesSpec<kivo::subject::ThreeInt>;
using STrackerArmSpec = kivo::ThreeValuesSpec<kivo::subject::TrackerArm>;

using SControlSpec = kivo::FourValuesSpec<kivo::subject::Control>;
using SCurrentControlInfoSpec = kivo::FourValuesSpec<kivo::subject::CurrentControlInfo>;

/// A value and a status that travels as a single byte.
struct SConnectStatusSpec : SMessageSpec {
    SConnectStatusSpec();
    SConnectStatusSpec(unsigned int value, unsigned char status);
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    unsigned int value = 0;
    unsigned char status = 0;
    unsigned char serialBuffer[5] = {};
};
