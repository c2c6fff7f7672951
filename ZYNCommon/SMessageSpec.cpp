#include "ZYNCommon/SMessageSpec.h"

#include <cstring>

SMessageSpec::~SMessageSpec() = default;

unsigned int SMessageSpec::SerialBufferSize() {
    return serialBufferSize;
}

unsigned int SMessageSpec::SerializeStringField(std::string& text, unsigned char* dst) {
    const std::size_t sizeWithTerminator = text.size() + 1;
    std::memcpy(dst, text.c_str(), sizeWithTerminator);
    return static_cast<unsigned int>(sizeWithTerminator);
}

unsigned int SMessageSpec::SerializeStringField(char* text, unsigned char* dst) {
    const std::size_t sizeWithTerminator = std::strlen(text) + 1;
    std::memcpy(dst, text, sizeWithTerminator);
    return static_cast<unsigned int>(sizeWithTerminator);
}

unsigned int SMessageSpec::DeserializeStringField(const unsigned char* src, std::string& text) {
    text.assign(reinterpret_cast<const char*>(src));
    return static_cast<unsigned int>(text.length() + 1);
}

unsigned int SMessageSpec::DeserializeStringField(const unsigned char* src, char* text) {
    const std::size_t sizeWithTerminator = std::strlen(reinterpret_cast<const char*>(src)) + 1;
    std::memcpy(text, src, sizeWithTerminator);
    return static_cast<unsigned int>(sizeWithTerminator);
}
