#include "ZYNCommon/ValueSpecs.h"

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
