#ifndef _BITS_STDINT_UINTN_H
#define _BITS_STDINT_UINTN_H 1

// The unsigned integers of one size, as macOS has them; see stdint-intn.h.

typedef unsigned char uint8_t;
typedef unsigned short uint16_t;
typedef unsigned int uint32_t;
typedef unsigned long long uint64_t;

#endif
