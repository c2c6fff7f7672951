#pragma once

#include <cstdint>

/// How many characters a record's key has room for, its terminating 0 included.
inline constexpr unsigned int kTargetWindowKeySize = 256;
/// How many UTF-16 units a record's title text has room for.
inline constexpr unsigned int kTargetWindowTextUnits = 1024;

/// A candidate window of a target-window request. The daemon reads the two keys and `hasAltTitle`;
/// everything else it only carries.
///
/// A plain record: an array of them as `new` makes it is not cleared.
struct ZYN_Driver_TargetWindowInfo {
    /// Key of the title in the language table.
    char titleKey[kTargetWindowKeySize];
    std::uint64_t titleLength;
    unsigned short titleChars[kTargetWindowTextUnits];

    // The alternate part, meaningful only with `hasAltTitle`.

    /// Key of the title of the window to be measured instead of the one recognised.
    char altTitle[kTargetWindowKeySize];
    std::uint64_t altTitleLength;
    unsigned short altTitleChars[kTargetWindowTextUnits];

    double auxValue1;
    double auxValue2;
    unsigned char auxByte;
    bool auxFlag;
    bool hasAltTitle;
};

/// A view over an array of records that somebody else owns.
class ZYN_Driver_TargetWindowInfoArray {
  public:
    ZYN_Driver_TargetWindowInfoArray(ZYN_Driver_TargetWindowInfo* records, unsigned int count);
    virtual ~ZYN_Driver_TargetWindowInfoArray();

    /// The record at `index`; null past the end.
    ZYN_Driver_TargetWindowInfo* TargetAt(unsigned int index);

    ZYN_Driver_TargetWindowInfo* records;
    unsigned int recordCount;
};
