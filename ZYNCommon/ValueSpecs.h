#pragma once

#include "ZYNCommon/SMessageSpec.h"

/// Payloads of a few 32-bit values whose meaning belongs to the control center. The daemon neither
/// sends nor receives them; they are here because both ends share one vocabulary.

struct SServerPortSpec : SMessageSpec {
    SServerPortSpec();
    SServerPortSpec(unsigned int value1, unsigned int value2);
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    unsigned int value1 = 0;
    unsigned int value2 = 0;
    unsigned char serialBuffer[8] = {};
};

struct SControlSpec : SMessageSpec {
    SControlSpec();
    SControlSpec(unsigned int value1, unsigned int value2, unsigned int value3,
                 unsigned int value4);
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    unsigned int value1 = 0;
    unsigned int value2 = 0;
    unsigned int value3 = 0;
    unsigned int value4 = 0;
    unsigned char serialBuffer[16] = {};
};

struct SCurrentControlInfoSpec : SMessageSpec {
    SCurrentControlInfoSpec();
    SCurrentControlInfoSpec(unsigned int value1, unsigned int value2, unsigned int value3,
                            unsigned int value4);
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    unsigned int value1 = 0;
    unsigned int value2 = 0;
    unsigned int value3 = 0;
    unsigned int value4 = 0;
    unsigned char serialBuffer[16] = {};
};

struct SPortConnectDisconnectSpec : SMessageSpec {
    SPortConnectDisconnectSpec();
    explicit SPortConnectDisconnectSpec(unsigned int value);
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    unsigned int value = 0;
    unsigned char serialBuffer[4] = {};
};

struct SKeysetIndexSpec : SMessageSpec {
    SKeysetIndexSpec();
    explicit SKeysetIndexSpec(unsigned int value);
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    unsigned int value = 0;
    unsigned char serialBuffer[4] = {};
};

struct SBankIndexSpec : SMessageSpec {
    SBankIndexSpec();
    explicit SBankIndexSpec(unsigned int value);
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    unsigned int value = 0;
    unsigned char serialBuffer[4] = {};
};

struct SLayerIndexSpec : SMessageSpec {
    SLayerIndexSpec();
    explicit SLayerIndexSpec(unsigned int value);
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    unsigned int value = 0;
    unsigned char serialBuffer[4] = {};
};

struct SOneIntSpec : SMessageSpec {
    SOneIntSpec();
    explicit SOneIntSpec(unsigned int value);
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    unsigned int value = 0;
    unsigned char serialBuffer[4] = {};
};

struct STwoIntSpec : SMessageSpec {
    STwoIntSpec();
    STwoIntSpec(unsigned int value1, unsigned int value2);
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    unsigned int value1 = 0;
    unsigned int value2 = 0;
    unsigned char serialBuffer[8] = {};
};

struct SThreeIntSpec : SMessageSpec {
    SThreeIntSpec();
    SThreeIntSpec(unsigned int value1, unsigned int value2, unsigned int value3);
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    unsigned int value1 = 0;
    unsigned int value2 = 0;
    unsigned int value3 = 0;
    unsigned char serialBuffer[12] = {};
};

struct STrackerArmSpec : SMessageSpec {
    STrackerArmSpec();
    STrackerArmSpec(unsigned int value1, unsigned int value2, unsigned int value3);
    unsigned char* Serialize() override;
    void Deserialize(const unsigned char* src) override;

    unsigned int value1 = 0;
    unsigned int value2 = 0;
    unsigned int value3 = 0;
    unsigned char serialBuffer[12] = {};
};

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
