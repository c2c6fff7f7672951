#ifndef _BITS_STDINT_INTN_H
#define _BITS_STDINT_INTN_H 1

// The signed integers of one size, in place of the C library's: on macOS the 64-bit one is long
// long, so that a long, or its printf format, does not pass for it.

typedef signed char int8_t;
typedef short int16_t;
typedef int int32_t;
typedef long long int64_t;

#endif
