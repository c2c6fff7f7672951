#include "ZYNCommon/ValueSpecs.h"

#include "ZYNCommon/FieldRun.h"

using kivo::DeserializeFieldRun;
using kivo::SerializeFieldRun;

namespace {

// The bodies that several classes use as their own.

template <typename Spec>
unsigned char* SerializeOneField(Spec& spec) {
    return SerializeFieldRun(spec, spec.serialBuffer, spec.value);
}

template <typename Spec>
void DeserializeOneField(Spec& spec, const unsigned char* src) {
    DeserializeFieldRun(spec, src, spec.value);
}

template <typename Spec>
unsigned char* SerializeFourFields(Spec& spec) {
    return SerializeFieldRun(spec, spec.serialBuffer, spec.value1, spec.value2, spec.value3,
                             spec.value4);
}

template <typename Spec>
void DeserializeFourFields(Spec& spec, const unsigned char* src) {
    DeserializeFieldRun(spec, src, spec.value1, spec.value2, spec.value3, spec.value4);
}

}  // namespace

SServerPortSpec::SServerPortSpec() {
    serialBufferSize = sizeof serialBuffer;
}

SServerPortSpec::SServerPortSpec(unsigned int first, unsigned int second) : SServerPortSpec() {
    value1 = first;
    value2 = second;
}

unsigned char* SServerPortSpec::Serialize() {
    return SerializeFieldRun(*this, serialBuffer, value1, value2);
}

void SServerPortSpec::Deserialize(const unsigned char* src) {
    DeserializeFieldRun(*this, src, value1, value2);
}

SControlSpec::SControlSpec() {
    serialBufferSize = sizeof serialBuffer;
}

SControlSpec::SControlSpec(unsigned int first, unsigned int second, unsigned int third,
                           unsigned int fourth)
    : SControlSpec() {
    value1 = first;
    value2 = second;
    value3 = third;
    value4 = fourth;
}

unsigned char* SControlSpec::Serialize() {
    return SerializeFourFields(*this);
}

void SControlSpec::Deserialize(const unsigned char* src) {
    DeserializeFourFields(*this, src);
}

SCurrentControlInfoSpec::SCurrentControlInfoSpec() {
    serialBufferSize = sizeof serialBuffer;
}

SCurrentControlInfoSpec::SCurrentControlInfoSpec(unsigned int first, unsigned int second,
                                                 unsigned int third, unsigned int fourth)
    : SCurrentControlInfoSpec() {
    value1 = first;
    value2 = second;
    value3 = third;
    value4 = fourth;
}

unsigned char* SCurrentControlInfoSpec::Serialize() {
    return SerializeFourFields(*this);
}

void SCurrentControlInfoSpec::Deserialize(const unsigned char* src) {
    DeserializeFourFields(*this, src);
}

SPortConnectDisconnectSpec::SPortConnectDisconnectSpec() {
    serialBufferSize = sizeof serialBuffer;
}

SPortConnectDisconnectSpec::SPortConnectDisconnectSpec(unsigned int field)
    : SPortConnectDisconnectSpec() {
    value = field;
}

unsigned char* SPortConnectDisconnectSpec::Serialize() {
    return SerializeOneField(*this);
}

void SPortConnectDisconnectSpec::Deserialize(const unsigned char* src) {
    DeserializeOneField(*this, src);
}

SKeysetIndexSpec::SKeysetIndexSpec() {
    serialBufferSize = sizeof serialBuffer;
}

SKeysetIndexSpec::SKeysetIndexSpec(unsigned int field) : SKeysetIndexSpec() {
    value = field;
}

unsigned char* SKeysetIndexSpec::Serialize() {
    return SerializeOneField(*this);
}

void SKeysetIndexSpec::Deserialize(const unsigned char* src) {
    DeserializeOneField(*this, src);
}

SBankIndexSpec::SBankIndexSpec() {
    serialBufferSize = sizeof serialBuffer;
}

SBankIndexSpec::SBankIndexSpec(unsigned int field) : SBankIndexSpec() {
    value = field;
}

unsigned char* SBankIndexSpec::Serialize() {
    return SerializeOneField(*this);
}

void SBankIndexSpec::Deserialize(const unsigned char* src) {
    DeserializeOneField(*this, src);
}

SLayerIndexSpec::SLayerIndexSpec() {
    serialBufferSize = sizeof serialBuffer;
}

SLayerIndexSpec::SLayerIndexSpec(unsigned int field) : SLayerIndexSpec() {
    value = field;
}

unsigned char* SLayerIndexSpec::Serialize() {
    return SerializeOneField(*this);
}

void SLayerIndexSpec::Deserialize(const unsigned char* src) {
    DeserializeOneField(*this, src);
}

SOneIntSpec::SOneIntSpec() {
    serialBufferSize = sizeof serialBuffer;
}

SOneIntSpec::SOneIntSpec(unsigned int field) : SOneIntSpec() {
    value = field;
}

unsigned char* SOneIntSpec::Serialize() {
    return SerializeFieldRun(*this, serialBuffer, value);
}

void SOneIntSpec::Deserialize(const unsigned char* src) {
    DeserializeFieldRun(*this, src, value);
}

STwoIntSpec::STwoIntSpec() {
    serialBufferSize = sizeof serialBuffer;
}

STwoIntSpec::STwoIntSpec(unsigned int first, unsigned int second) : STwoIntSpec() {
    value1 = first;
    value2 = second;
}

unsigned char* STwoIntSpec::Serialize() {
    return SerializeFieldRun(*this, serialBuffer, value1, value2);
}

void STwoIntSpec::Deserialize(const unsigned char* src) {
    DeserializeFieldRun(*this, src, value1, value2);
}

SThreeIntSpec::SThreeIntSpec() {
    serialBufferSize = sizeof serialBuffer;
}

SThreeIntSpec::SThreeIntSpec(unsigned int first, unsigned int second, unsigned int third)
    : SThreeIntSpec() {
    value1 = first;
    value2 = second;
    value3 = third;
}

unsigned char* SThreeIntSpec::Serialize() {
    return SerializeFieldRun(*this, serialBuffer, value1, value2, value3);
}

void SThreeIntSpec::Deserialize(const unsigned char* src) {
    DeserializeFieldRun(*this, src, value1, value2, value3);
}

STrackerArmSpec::STrackerArmSpec() {
    serialBufferSize = sizeof serialBuffer;
}

STrackerArmSpec::STrackerArmSpec(unsigned int first, unsigned int second, unsigned int third)
    : STrackerArmSpec() {
    value1 = first;
    value2 = second;
    value3 = third;
}

unsigned char* STrackerArmSpec::Serialize() {
    return SerializeFieldRun(*this, serialBuffer, value1, value2, value3);
}

void STrackerArmSpec::Deserialize(const unsigned char* src) {
    DeserializeFieldRun(*this, src, value1, value2, value3);
}

SConnectStatusSpec::SConnectStatusSpec() {
    serialBufferSize = sizeof serialBuffer;
}

SConnectStatusSpec::SConnectStatusSpec(unsigned int field, unsigned char byte)
    : SConnectStatusSpec() {
    value = field;
    status = byte;
}

unsigned char* SConnectStatusSpec::Serialize() {
    serialBuffer[SerializeField(value, serialBuffer)] = status;
    return serialBuffer;
}

void SConnectStatusSpec::Deserialize(const unsigned char* src) {
    status = src[DeserializeField(src, &value)];
}
