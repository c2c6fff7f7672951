#pragma once

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "ZYNCommon/ZYN_Driver_TargetWindowInfo.h"

/// Target-window records for tests: by hand and at random.
namespace kivo::test {

using TargetRecord = ZYN_Driver_TargetWindowInfo;

inline void SetKey(char (&field)[kTargetWindowKeySize], std::string_view key) {
    std::memset(field, 0, sizeof field);
    key.copy(field, sizeof field - 1);
}

inline void SetText(unsigned short* field, std::uint64_t& length, std::u16string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i)
        field[i] = text[i];
    length = text.size();
}

/// A record with a key, a text and everything else zero.
inline TargetRecord MakeRecord(std::string_view key, std::u16string_view text = u"") {
    TargetRecord record = {};
    SetKey(record.titleKey, key);
    SetText(record.titleChars, record.titleLength, text);
    return record;
}

inline TargetRecord MakeRecordWithAlternate(std::string_view key, std::string_view alternateKey,
                                            std::u16string_view alternateText = u"") {
    TargetRecord record = MakeRecord(key);
    record.hasAltTitle = true;
    SetKey(record.altTitle, alternateKey);
    SetText(record.altTitleChars, record.altTitleLength, alternateText);
    return record;
}

/// Any record that a sender may have: keys of up to 255 bytes, texts of up to 1024 units, numbers
/// of any size. Short ones are as likely as long ones.
class RandomRecords {
  public:
    explicit RandomRecords(unsigned int seed) : mRandom(seed) {}

    std::vector<TargetRecord> Make(std::size_t most) {
        std::vector<TargetRecord> records(Below(most + 1));
        for (TargetRecord& record : records)
            record = MakeOne();
        return records;
    }

    TargetRecord MakeOne() {
        TargetRecord record;
        std::memset(&record, 0xA5, sizeof record);  // what is not set must not matter
        FillKey(record.titleKey);
        FillText(record.titleChars, record.titleLength);
        record.auxValue1 = AnyDouble();
        record.auxValue2 = AnyDouble();
        record.auxByte = static_cast<unsigned char>(Below(256));
        record.auxFlag = Below(2) != 0;
        record.hasAltTitle = Below(2) != 0;
        if (record.hasAltTitle) {
            FillKey(record.altTitle);
            FillText(record.altTitleChars, record.altTitleLength);
        }
        return record;
    }

    std::size_t Below(std::size_t bound) {
        return std::uniform_int_distribution<std::size_t>(0, bound - 1)(mRandom);
    }

  private:
    /// Below `bound`, its ends and small values more often than chance would have it.
    std::size_t Size(std::size_t bound) {
        switch (Below(4)) {
            case 0:
                return 0;
            case 1:
                return bound - 1;
            case 2:
                return Below(std::min<std::size_t>(bound, 16));
            default:
                return Below(bound);
        }
    }

    void FillKey(char (&field)[kTargetWindowKeySize]) {
        const std::size_t length = Size(kTargetWindowKeySize);
        for (std::size_t i = 0; i < length; ++i)
            field[i] = static_cast<char>(1 + Below(255));
        field[length] = 0;
    }

    void FillText(unsigned short (&field)[kTargetWindowTextUnits], std::uint64_t& length) {
        length = Size(kTargetWindowTextUnits + 1);
        for (std::size_t i = 0; i < length; ++i) {
            field[i] = static_cast<unsigned short>(Below(65536));
        }
    }

    double AnyDouble() {
        switch (Below(4)) {
            case 0:
                return 0;
            case 1:
                return std::uniform_real_distribution<double>(-1000, 1000)(mRandom);
            case 2:
                return std::uniform_real_distribution<double>(-1e12, 1e12)(mRandom);
            default: {
                const std::uint64_t bits = std::uniform_int_distribution<std::uint64_t>()(mRandom);
                double value;
                std::memcpy(&value, &bits, sizeof value);
                return value;
            }
        }
    }

    std::mt19937 mRandom;
};

}  // namespace kivo::test
