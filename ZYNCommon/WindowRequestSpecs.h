#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "ZYNCommon/SMessageSpec.h"
#include "ZYNCommon/ZYN_Driver_TargetWindowInfo.h"

/// Asks for a window by its title: the payload of 'ZWiP'.
struct SWindowRequestSpec : SMessageSpec {
    /// For receiving; without a buffer it serialises to null.
    SWindowRequestSpec();
    SWindowRequestSpec(std::string& title, bool partialMatch);
    unsigned char* Serialize() override;
    /// Leaves the reserved size as it was.
    void Deserialize(const unsigned char* src) override;
    /// The reserved size.
    unsigned int SerialBufferSize() override;

    std::string title;
    /// True for a substring match, false for a whole one.
    bool partialMatch = false;
    unsigned int reservedSize = 0;
    std::unique_ptr<unsigned char[]> serialBuffer;
};

/// Asks which of a list of windows is open: the payload of 'ZTWP'.
///
/// The reserved size, which is the length sent, counts the first record once for every record, the
/// second once for every record but the first, and so on, and leaves each alternate key out. Peers
/// depend on that length. It is thus longer than what is written as a rule, and the zero bytes
/// that follow mean nothing; for a single record with an alternate key it is shorter, and the last
/// bytes of the alternate text do not reach the receiver.
struct STargetWindowRequestSpec : SMessageSpec {
    /// For receiving.
    STargetWindowRequestSpec();
    /// Copies the records. In the copy a count above the 1024 units of its array is cut to it and
    /// a key without its terminating 0 is cut to 255 characters.
    STargetWindowRequestSpec(ZYN_Driver_TargetWindowInfo* records, unsigned int count);
    unsigned char* Serialize() override;
    /// Releases earlier records. Of a record without an alternate part `altTitle` is empty and
    /// `altTitleLength` 0; what lies past the end of any string or text is not set.
    void Deserialize(const unsigned char* src) override;
    /// The reserved size; 0 unless it was made from records.
    unsigned int SerialBufferSize() override;

    /// What a record adds to the reserved size: its length on the wire without the alternate key.
    unsigned int CalcInfoFieldSize(ZYN_Driver_TargetWindowInfo* info);
    /// Returns the bytes written. Doubles are truncated to 64-bit integers as
    /// `kivo::TruncateToInt64` does; their low 32 bits are sent.
    unsigned int SerializeTargetInfoField(ZYN_Driver_TargetWindowInfo* info, unsigned char* dst);
    /// Returns the bytes consumed. A number for a double is read as unsigned and rounded to single
    /// precision. Without an alternate part its fields are not written at all.
    unsigned int DeserializeTargetInfoField(const unsigned char* src,
                                            ZYN_Driver_TargetWindowInfo* info);

    std::unique_ptr<ZYN_Driver_TargetWindowInfo[]> records;
    unsigned int recordCount = 0;
    unsigned int reservedSize = 0;
    /// As long as the reserved size or as what is written, whichever is more, and zeroed.
    std::unique_ptr<unsigned char[]> serialBuffer;

  private:
    unsigned int CalcReservedSize();
    std::size_t CalcWrittenSize();

    std::size_t mBufferRoom = 0;
};
