#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "tests/unit/TargetRecords.h"

namespace {

using kivo::test::MakeRecord;
using kivo::test::MakeRecordWithAlternate;
using kivo::test::TargetRecord;
using Bytes = std::vector<unsigned char>;

Bytes Sent(SMessageSpec& spec) {
    const unsigned char* const bytes = spec.Serialize();
    return Bytes(bytes, bytes + spec.SerialBufferSize());
}

TEST(WindowRequestSpec, WritesFlagAndTitle) {
    std::string title = "\x4D\x69\x78\x65\x72";
    SWindowRequestSpec spec(title, true);
    EXPECT_EQ(spec.SerialBufferSize(), 10u);
    EXPECT_EQ(Sent(spec), (Bytes{1, 0, 0, 0, 0x4D, 0x69, 0x78, 0x65, 0x72, 0}));
}

TEST(WindowRequestSpec, DefaultSerializesToNull) {
    SWindowRequestSpec spec;
    EXPECT_EQ(spec.Serialize(), nullptr);
    EXPECT_EQ(spec.SerialBufferSize(), 0u);
    EXPECT_EQ(spec.title, "");
    EXPECT_FALSE(spec.partialMatch);
}

TEST(WindowRequestSpec, ReadsAnyFlagButZeroAsTrue) {
    const unsigned char payload[] = {0, 0, 0, 2, 'A', 0};
    SWindowRequestSpec spec;
    spec.Deserialize(payload);
    EXPECT_TRUE(spec.partialMatch);
    EXPECT_EQ(spec.title, "A");
    EXPECT_EQ(spec.SerialBufferSize(), 0u) << "the reserved size stays as it was";
}

TEST(WindowRequestSpec, LongerTitleReadLaterIsWrittenInsideItsBuffer) {
    std::string title = "A";
    SWindowRequestSpec spec(title, false);
    const unsigned char payload[] = "\1\0\0\0much longer than before";
    spec.Deserialize(payload);
    EXPECT_EQ(std::memcmp(spec.Serialize(), payload, sizeof payload), 0);
    EXPECT_EQ(spec.SerialBufferSize(), 6u);
}

TEST(TargetWindowRequestSpec, NoRecordsAreACountOfZero) {
    STargetWindowRequestSpec spec(nullptr, 0);
    EXPECT_EQ(spec.SerialBufferSize(), 4u);
    EXPECT_EQ(Sent(spec), Bytes(4));

    STargetWindowRequestSpec received;
    received.Deserialize(spec.Serialize());
    EXPECT_EQ(received.recordCount, 0u);
}

TEST(TargetWindowRequestSpec, SmallestRecordTakes25Bytes) {
    TargetRecord record = MakeRecord("");
    STargetWindowRequestSpec spec(&record, 1);
    EXPECT_EQ(spec.CalcInfoFieldSize(&record), 25u);
    EXPECT_EQ(spec.SerialBufferSize(), 29u);
    unsigned char bytes[25];
    EXPECT_EQ(spec.SerializeTargetInfoField(&record, bytes), 25u);
}

TEST(TargetWindowRequestSpec, ReservesTheFirstRecordOnceForEachRecord) {
    std::vector<TargetRecord> records = {MakeRecord("123456789012345"),
                                         MakeRecord("1234567890123456789", u"abc")};
    STargetWindowRequestSpec spec(records.data(), 2);
    ASSERT_EQ(spec.CalcInfoFieldSize(&records[0]), 40u);
    ASSERT_EQ(spec.CalcInfoFieldSize(&records[1]), 50u);
    EXPECT_EQ(spec.SerialBufferSize(), 134u);

    const Bytes sent = Sent(spec);
    EXPECT_EQ(sent[4 + 40], '1') << "records lie back to back";
    EXPECT_EQ(Bytes(sent.begin() + 94, sent.end()), Bytes(40)) << "the rest is zero";
}

TEST(TargetWindowRequestSpec, SingleAlternateIsWrittenPastTheReservedSize) {
    TargetRecord record = MakeRecordWithAlternate("k", "kMain", u"Main");
    STargetWindowRequestSpec spec(&record, 1);
    const unsigned int written = 4 + spec.CalcInfoFieldSize(&record) + 6;
    EXPECT_EQ(spec.SerialBufferSize(), written - 6);

    const unsigned char* const bytes = spec.Serialize();
    const Bytes end(bytes + written - 8, bytes + written);
    EXPECT_EQ(end, (Bytes{'M', 0, 'a', 0, 'i', 0, 'n', 0})) << "inside the buffer nevertheless";
}

TEST(TargetWindowRequestSpec, SizeIgnoresTheAlternatePartWithoutTheFlag) {
    TargetRecord record = MakeRecordWithAlternate("k", "kMain", u"Main");
    STargetWindowRequestSpec spec;
    EXPECT_EQ(spec.CalcInfoFieldSize(&record), 24u + 2 + 4 + 8);
    record.hasAltTitle = false;
    EXPECT_EQ(spec.CalcInfoFieldSize(&record), 24u + 2);
}

TEST(TargetWindowRequestSpec, KeysAndTextsOfEveryLengthAreWrittenToTheByte) {
    for (std::size_t length = 0; length <= 255; ++length) {
        TargetRecord record =
            MakeRecord(std::string(length, '\x01'), std::u16string(length, u'\u0100'));
        std::memset(record.titleKey + length + 1, 'x', 255 - length);
        STargetWindowRequestSpec spec(&record, 1);
        Bytes expected = {1, 0, 0, 0};
        expected.insert(expected.end(), length, 1);
        expected.insert(expected.end(), {0, static_cast<unsigned char>(length), 0, 0, 0});
        for (std::size_t i = 0; i < length; ++i)
            expected.insert(expected.end(), {0, 1});
        expected.insert(expected.end(), 20, 0);
        ASSERT_EQ(Sent(spec), expected) << length;
    }
}

TEST(TargetWindowRequestSpec, DoesNotReferToTheCallersArrayLater) {
    std::vector<TargetRecord> records = {MakeRecord("one"), MakeRecord("two")};
    STargetWindowRequestSpec spec(records.data(), 2);
    records.clear();
    records.shrink_to_fit();
    EXPECT_STREQ(spec.records[1].titleKey, "two");
    EXPECT_EQ(Sent(spec)[4], 'o');
}

TEST(TargetWindowRequestSpec, DefaultHoldsNothing) {
    STargetWindowRequestSpec spec;
    EXPECT_EQ(spec.records, nullptr);
    EXPECT_EQ(spec.recordCount, 0u);
    EXPECT_EQ(spec.serialBuffer, nullptr);
    EXPECT_EQ(spec.SerialBufferSize(), 0u);
}

TEST(TargetWindowRequestSpec, CutsWhatReachesPastItsField) {
    TargetRecord record = MakeRecord("k");
    std::memset(record.titleKey, 'k', sizeof record.titleKey);
    record.titleLength = std::numeric_limits<std::uint64_t>::max();
    STargetWindowRequestSpec spec(&record, 1);
    EXPECT_EQ(std::strlen(spec.records[0].titleKey), 255u);
    EXPECT_EQ(spec.records[0].titleLength, 1024u);
    EXPECT_EQ(spec.SerialBufferSize(), 4u + 24 + 256 + 2048);
}

TEST(TargetWindowRequestSpec, RecordsThatGrowAfterwardsStayInsideTheBuffer) {
    TargetRecord record = MakeRecord("k");
    STargetWindowRequestSpec spec(&record, 1);
    spec.records[0] = MakeRecord("a much longer key", std::u16string(1024, u'x'));
    EXPECT_EQ(spec.Serialize()[4 + 18 + 4 + 2047], 0) << "the high byte of the last unit";
    EXPECT_EQ(spec.SerialBufferSize(), 30u) << "what is sent stays as it was";
}

TEST(TargetWindowRequestSpec, ReservedSizeThatWrapsStillHasARoomyBuffer) {
    // The smallest number of records of 42 bytes whose sum 32 bits do not hold.
    constexpr unsigned int kCount = 14301;
    constexpr std::uint64_t kSum = 4 + 42ull * kCount * (kCount + 1) / 2;
    static_assert(kSum > std::numeric_limits<std::uint32_t>::max());
    std::vector<TargetRecord> records(kCount, MakeRecord("12345678901234567"));
    STargetWindowRequestSpec spec(records.data(), kCount);
    EXPECT_EQ(spec.SerialBufferSize(), static_cast<std::uint32_t>(kSum));
    ASSERT_LT(spec.SerialBufferSize(), 4 + 42 * kCount) << "less than is written";
    EXPECT_EQ(spec.Serialize()[4 + 42 * (kCount - 1)], '1');
}

TEST(TargetWindowRequestSpec, NegativeNumbersComeBackLarge) {
    TargetRecord record = MakeRecord("k");
    record.auxValue1 = -5.0;
    record.auxValue2 = 16777217.0;
    STargetWindowRequestSpec spec(&record, 1);
    const Bytes sent = Sent(spec);
    EXPECT_EQ(Bytes(sent.begin() + 10, sent.begin() + 14), (Bytes{0xFB, 0xFF, 0xFF, 0xFF}));

    STargetWindowRequestSpec received;
    received.Deserialize(sent.data());
    EXPECT_EQ(received.records[0].auxValue1, 4294967296.0);
    EXPECT_EQ(received.records[0].auxValue2, 16777216.0);
}

TEST(TargetWindowRequestSpec, NumbersThatDoNotFitAreSentAsZero) {
    for (const double value : {std::nan(""), 1e300, -1e300, 9223372036854775808.0}) {
        TargetRecord record = MakeRecord("k");
        record.auxValue1 = value;
        STargetWindowRequestSpec spec(&record, 1);
        const Bytes sent = Sent(spec);
        EXPECT_EQ(Bytes(sent.begin() + 10, sent.begin() + 14), Bytes(4)) << value;
    }
}

TEST(TargetWindowRequestSpec, AbsentAlternatePartReadsAsEmpty) {
    TargetRecord sent = MakeRecord("k");
    STargetWindowRequestSpec spec(&sent, 1);
    STargetWindowRequestSpec received;
    received.Deserialize(spec.Serialize());
    EXPECT_FALSE(received.records[0].hasAltTitle);
    EXPECT_STREQ(received.records[0].altTitle, "");
    EXPECT_EQ(received.records[0].altTitleLength, 0u);
}

TEST(TargetWindowRequestSpec, RecordReadingLeavesAnAbsentAlternatePartAlone) {
    TargetRecord sent = MakeRecord("k");
    STargetWindowRequestSpec spec(&sent, 1);
    TargetRecord record = MakeRecordWithAlternate("before", "alternate", u"text");
    EXPECT_EQ(spec.DeserializeTargetInfoField(spec.Serialize() + 4, &record), 26u);
    EXPECT_STREQ(record.altTitle, "alternate");
    EXPECT_EQ(record.altTitleLength, 4u);
}

TEST(TargetWindowRequestSpec, DeserializeReplacesEarlierRecords) {
    std::vector<TargetRecord> three(3, MakeRecord("old"));
    TargetRecord one = MakeRecord("new");
    STargetWindowRequestSpec first(three.data(), 3), second(&one, 1), received;
    received.Deserialize(first.Serialize());
    received.Deserialize(second.Serialize());
    EXPECT_EQ(received.recordCount, 1u);
    EXPECT_STREQ(received.records[0].titleKey, "new");
}

TEST(TargetWindowInfoArray, GivesRecordsBelowItsCountAndNullPastThem) {
    std::vector<TargetRecord> records(2);
    ZYN_Driver_TargetWindowInfoArray view(records.data(), 2);
    EXPECT_EQ(view.TargetAt(0), &records[0]);
    EXPECT_EQ(view.TargetAt(1), &records[1]);
    EXPECT_EQ(view.TargetAt(2), nullptr);
    EXPECT_EQ(view.TargetAt(0xFFFFFFFF), nullptr);
}

// What a record becomes on its way through the format.

float Received(double value) {
    const bool fits = value >= -9223372036854775808.0 && value < 9223372036854775808.0;
    const std::int64_t whole = fits ? static_cast<std::int64_t>(std::trunc(value))
                                    : std::numeric_limits<std::int64_t>::min();
    return static_cast<float>(static_cast<std::uint32_t>(whole));
}

void ExpectAsCarried(const TargetRecord& sent, const TargetRecord& received) {
    EXPECT_STREQ(received.titleKey, sent.titleKey);
    ASSERT_EQ(received.titleLength, sent.titleLength);
    EXPECT_EQ(std::memcmp(received.titleChars, sent.titleChars, 2 * sent.titleLength), 0);
    EXPECT_EQ(received.auxValue1, Received(sent.auxValue1));
    EXPECT_EQ(received.auxValue2, Received(sent.auxValue2));
    EXPECT_EQ(received.auxByte, sent.auxByte);
    EXPECT_EQ(received.auxFlag, sent.auxFlag);
    ASSERT_EQ(received.hasAltTitle, sent.hasAltTitle);
    if (!sent.hasAltTitle) return;
    EXPECT_STREQ(received.altTitle, sent.altTitle);
    ASSERT_EQ(received.altTitleLength, sent.altTitleLength);
    EXPECT_EQ(std::memcmp(received.altTitleChars, sent.altTitleChars, 2 * sent.altTitleLength), 0);
}

TEST(TargetWindowRequestSpec, FullBufferOfRandomRecordsReadsBackAsTheFormatCarriesThem) {
    for (unsigned int seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::vector<TargetRecord> sent = kivo::test::RandomRecords(seed).Make(12);
        STargetWindowRequestSpec sender(sent.data(), static_cast<unsigned int>(sent.size()));
        STargetWindowRequestSpec receiver;
        receiver.Deserialize(sender.Serialize());
        ASSERT_EQ(receiver.recordCount, sent.size());
        for (std::size_t i = 0; i < sent.size(); ++i)
            ExpectAsCarried(sent[i], receiver.records[i]);
    }
}

TEST(TargetWindowRequestSpec, WhatWasReadIsWrittenAndReadAgainUnchanged) {
    for (unsigned int seed = 1000; seed < 1100; ++seed) {
        std::vector<TargetRecord> sent = kivo::test::RandomRecords(seed).Make(5);
        const auto count = static_cast<unsigned int>(sent.size());
        STargetWindowRequestSpec sender(sent.data(), count);
        STargetWindowRequestSpec first, second;
        first.Deserialize(sender.Serialize());
        STargetWindowRequestSpec forwarder(first.records.get(), count);
        second.Deserialize(forwarder.Serialize());
        for (std::size_t i = 0; i < count; ++i) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << " record " << i);
            EXPECT_EQ(second.records[i].titleLength, first.records[i].titleLength);
            EXPECT_STREQ(second.records[i].titleKey, first.records[i].titleKey);
            EXPECT_STREQ(second.records[i].altTitle, first.records[i].altTitle);
        }
    }
}

}  // namespace
