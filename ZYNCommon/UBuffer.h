#pragma once

/// Stand-alone stores of numbers, most significant byte first: the opposite of the field codec of
/// SMessageSpec, because the control center's status reply is big-endian. No helper advances a
/// cursor; the caller does.
struct UToBuffer {
    static void StoreByte(unsigned char value, unsigned char* dst);
    static void StoreShort(unsigned short value, unsigned char* dst);
    static void StoreLong(unsigned int value, unsigned char* dst);
    /// Writes a Pascal string (a length byte, then at most 254 characters) as a zero-terminated
    /// one and returns the place of the 0.
    static unsigned char* StorePStrAsCStr(const unsigned char* source, unsigned char* dst);
    /// Note the order: source, count, destination.
    static void StoreBytes(unsigned char* src, unsigned int count, unsigned char* dst);
};

/// The loads that go with UToBuffer.
struct UFromBuffer {
    static unsigned char GetByte(unsigned char* src);
    /// Least significant byte first, unlike GetLong and StoreShort: what StoreShort wrote comes
    /// back with its bytes exchanged. Peers depend on it.
    static unsigned short GetShort(unsigned char* src);
    /// Most significant byte first.
    static unsigned int GetLong(unsigned char* src);
    /// Note the order: source, destination, count.
    static void GetBytes(unsigned char* src, unsigned char* dst, unsigned int count);
};
