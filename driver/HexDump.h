#pragma once

/// MIDI bytes as hexadecimal digits, for diagnostics. The digits that are printed are lower case,
/// those that are stored upper case.

/// The digit of each nibble.
inline constexpr char kHex2ASCII[16] = {'0', '1', '2', '3', '4', '5', '6', '7',
                                        '8', '9', 'A', 'B', 'C', 'D', 'E', 'F'};

/// Prints each byte as two digits and a space, then a newline if it is wanted.
void PrtHex(const unsigned char* bytes, unsigned int count, bool newline);

/// Stores a byte as two digits and NUL.
void HexByteToCString(unsigned char byte, char* out);

/// Stores each byte as two digits, with a space between two bytes, and NUL at the end: 3 * count
/// characters in all, one when there are no bytes.
void HexDataToCString(const unsigned char* bytes, unsigned int count, char* out);
