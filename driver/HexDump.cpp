#include "driver/HexDump.h"

#include <cstdio>

void PrtHex(const unsigned char* bytes, unsigned int count, bool newline) {
    for (unsigned int i = 0; i < count; ++i) {
        std::printf("%.2x ", bytes[i]);
    }
    if (newline) std::printf("\n");
}

void HexByteToCString(unsigned char byte, char* out) {
    out[0] = kHex2ASCII[byte >> 4];
    out[1] = kHex2ASCII[byte & 15];
    out[2] = '\0';
}

void HexDataToCString(const unsigned char* bytes, unsigned int count, char* out) {
    *out = '\0';
    for (unsigned int i = 0; i < count; ++i) {
        if (i > 0) *out++ = ' ';
        HexByteToCString(bytes[i], out);
        out += 2;
    }
}
