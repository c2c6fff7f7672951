#include "ZYNCommon/PayloadCheck.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "tests/unit/TargetRecords.h"

namespace {

using kivo::PayloadIsComplete;
using kivo::test::MakeRecord;
using kivo::test::MakeRecordWithAlternate;
using kivo::test::TargetRecord;
using Bytes = std::vector<unsigned char>;

template <typename Spec>
bool IsComplete(const Bytes& bytes) {
    return PayloadIsComplete<Spec>(bytes.data(), bytes.size());
}

void Append(Bytes& bytes, unsigned int number) {
    for (int i = 0; i < 4; ++i)
        bytes.push_back(static_cast<unsigned char>(number >> 8 * i));
}

void Append(Bytes& bytes, const std::string& key) {
    bytes.insert(bytes.end(), key.begin(), key.end());
    bytes.push_back(0);
}

/// A record up to its flag. `present` units of text are there, `announced` in their count.
void AppendRecord(Bytes& bytes, const std::string& key, unsigned int announced,
                  unsigned int present, bool hasAlternate) {
    Append(bytes, key);
    Append(bytes, announced);
    bytes.insert(bytes.end(), 2 * std::size_t{present}, 'u');
    bytes.insert(bytes.end(), 16, 0);
    Append(bytes, hasAlternate);
}

Bytes OneRecord(const std::string& key, unsigned int announced, unsigned int present,
                bool hasAlternate = false) {
    Bytes bytes;
    Append(bytes, 1u);
    AppendRecord(bytes, key, announced, present, hasAlternate);
    return bytes;
}

/// One record with an alternate part as far as `altTitleLength`, which the caller appends.
Bytes UpToAlternateLength(const std::string& alternateKey) {
    Bytes bytes = OneRecord("k", 0, 0, true);
    Append(bytes, alternateKey);
    return bytes;
}

template <typename Spec>
class FixedPayloads : public testing::Test {};

using FixedTypes = testing::Types<SPointSpec, SPointSizeSpec, STargetPointSizeSpec, SServerPortSpec,
                                  SControlSpec, SCurrentControlInfoSpec, SPortConnectDisconnectSpec,
                                  SKeysetIndexSpec, SBankIndexSpec, SLayerIndexSpec, SOneIntSpec,
                                  STwoIntSpec, SThreeIntSpec, STrackerArmSpec, SConnectStatusSpec>;
TYPED_TEST_SUITE(FixedPayloads, FixedTypes);

TYPED_TEST(FixedPayloads, NeedAllTheirBytes) {
    TypeParam spec;
    const std::size_t size = spec.SerialBufferSize();
    ASSERT_GT(size, 0u);
    EXPECT_TRUE(IsComplete<TypeParam>(Bytes(size)));
    EXPECT_TRUE(IsComplete<TypeParam>(Bytes(size + 100))) << "longer than needed";
    EXPECT_FALSE(IsComplete<TypeParam>(Bytes(size - 1)));
    EXPECT_FALSE(PayloadIsComplete<TypeParam>(nullptr, 0));
}

TEST(ServerPayload, NeedsTheBytesItAnnounces) {
    EXPECT_TRUE(IsComplete<SServerSpec>({7, 0, 0, 0, 3, 0, 0, 0, 1, 2, 3, 0}));
    EXPECT_TRUE(IsComplete<SServerSpec>({7, 0, 0, 0, 3, 0, 0, 0, 1, 2, 3})) << "no pad byte";
    EXPECT_FALSE(IsComplete<SServerSpec>({7, 0, 0, 0, 3, 0, 0, 0, 1, 2}));
    EXPECT_FALSE(IsComplete<SServerSpec>({7, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 1, 2, 3, 4}));
    EXPECT_FALSE(IsComplete<SServerSpec>(Bytes(7)));
}

TEST(ResetSocketPayload, NameMustEndInItsField) {
    const auto payload = [](std::size_t length) {
        Bytes bytes;
        Append(bytes, std::string(length, 'n'));
        Append(bytes, 5u);
        return bytes;
    };
    EXPECT_TRUE(IsComplete<SResetSocketSpec>(payload(0)));
    EXPECT_TRUE(IsComplete<SResetSocketSpec>(payload(31)));
    EXPECT_FALSE(IsComplete<SResetSocketSpec>(payload(32)));
}

TEST(ResetSocketPayload, ValueMustFollow) {
    EXPECT_FALSE(IsComplete<SResetSocketSpec>({'n', 0, 1, 2, 3}));
    EXPECT_FALSE(IsComplete<SResetSocketSpec>({'n', 'a', 'm', 'e'}));
}

TEST(LongArrayPayload, NeedsTheWordsItAnnounces) {
    EXPECT_TRUE(IsComplete<SIncommingLongArraySpec>(Bytes(8)));
    EXPECT_TRUE(IsComplete<SIncommingLongArraySpec>({1, 0, 0, 0, 9, 9, 9, 9, 1, 2, 3, 4}));
    EXPECT_FALSE(IsComplete<SIncommingLongArraySpec>({1, 0, 0, 0, 9, 9, 9, 9, 1, 2, 3}));
    EXPECT_FALSE(IsComplete<SIncommingLongArraySpec>({0, 0, 0, 0x40, 9, 9, 9, 9}))
        << "2^30 words are 2^32 bytes, which must not become 0";
    EXPECT_FALSE(IsComplete<SIncommingLongArraySpec>(Bytes(7)));
}

TEST(WindowRequestPayload, TitleMustEndInsideTheBytes) {
    EXPECT_TRUE(IsComplete<SWindowRequestSpec>({1, 0, 0, 0, 'A', 0}));
    EXPECT_TRUE(IsComplete<SWindowRequestSpec>({1, 0, 0, 0, 0}));
    EXPECT_TRUE(IsComplete<SWindowRequestSpec>({1, 0, 0, 0, 'A', 0, 'x', 'x'}));
    EXPECT_FALSE(IsComplete<SWindowRequestSpec>({1, 0, 0, 0, 'A', 'B'}));
    EXPECT_FALSE(IsComplete<SWindowRequestSpec>({1, 0, 0, 0}));
    EXPECT_FALSE(IsComplete<SWindowRequestSpec>({1, 0, 0}));
    EXPECT_FALSE(PayloadIsComplete<SWindowRequestSpec>(nullptr, 0));
}

TEST(WindowRequestPayload, TitleMayBeOfAnyLength) {
    Bytes bytes(4);
    Append(bytes, std::string(1000000, 't'));
    EXPECT_TRUE(IsComplete<SWindowRequestSpec>(bytes));
}

TEST(TargetRequestPayload, NeedsItsCount) {
    EXPECT_TRUE(IsComplete<STargetWindowRequestSpec>(Bytes(4)));
    EXPECT_FALSE(IsComplete<STargetWindowRequestSpec>(Bytes(3)));
    EXPECT_FALSE(PayloadIsComplete<STargetWindowRequestSpec>(nullptr, 0));
}

TEST(TargetRequestPayload, KeyHasAtMost255Bytes) {
    EXPECT_TRUE(IsComplete<STargetWindowRequestSpec>(OneRecord(std::string(255, 'k'), 0, 0)));
    EXPECT_FALSE(IsComplete<STargetWindowRequestSpec>(OneRecord(std::string(256, 'k'), 0, 0)));
}

TEST(TargetRequestPayload, KeyMustEndInsideTheBytes) {
    EXPECT_FALSE(IsComplete<STargetWindowRequestSpec>({1, 0, 0, 0, 'k', 'e', 'y'}));
}

TEST(TargetRequestPayload, TextHasAtMost1024Units) {
    EXPECT_TRUE(IsComplete<STargetWindowRequestSpec>(OneRecord("k", 1024, 1024)));
    EXPECT_FALSE(IsComplete<STargetWindowRequestSpec>(OneRecord("k", 1025, 1025)));
    EXPECT_FALSE(IsComplete<STargetWindowRequestSpec>(OneRecord("k", 0xFFFFFFFF, 1024)));
}

TEST(TargetRequestPayload, TextMustLieInsideTheBytes) {
    Bytes bytes = OneRecord("k", 5, 5);
    EXPECT_TRUE(IsComplete<STargetWindowRequestSpec>(bytes));
    EXPECT_FALSE(IsComplete<STargetWindowRequestSpec>(OneRecord("k", 16, 5)));
}

TEST(TargetRequestPayload, RecordMustLieInsideTheBytesAsFarAsItsFlag) {
    const Bytes whole = OneRecord("key", 2, 2);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(PayloadIsComplete<STargetWindowRequestSpec>(whole.data(), length)) << length;
    }
}

TEST(TargetRequestPayload, EveryAnnouncedRecordMustBeThere) {
    Bytes bytes;
    Append(bytes, 2u);
    AppendRecord(bytes, "one", 0, 0, false);
    EXPECT_FALSE(IsComplete<STargetWindowRequestSpec>(bytes));
    AppendRecord(bytes, "two", 0, 0, false);
    EXPECT_TRUE(IsComplete<STargetWindowRequestSpec>(bytes));
}

TEST(TargetRequestPayload, HasAtMost16384Records) {
    Bytes bytes;
    Append(bytes, 16384u);
    for (int i = 0; i < 16385; ++i)
        AppendRecord(bytes, "", 0, 0, false);
    EXPECT_TRUE(IsComplete<STargetWindowRequestSpec>(bytes));
    bytes[0] = 1;  // 16385, all of them there
    EXPECT_FALSE(IsComplete<STargetWindowRequestSpec>(bytes));
}

TEST(TargetRequestPayload, AlternateKeyMustBeThereAndEnd) {
    Bytes bytes = OneRecord("k", 0, 0, true);
    EXPECT_FALSE(IsComplete<STargetWindowRequestSpec>(bytes)) << "missing";
    bytes.insert(bytes.end(), {'a', 'l', 't'});
    EXPECT_FALSE(IsComplete<STargetWindowRequestSpec>(bytes)) << "not ended";
    bytes.push_back(0);
    EXPECT_TRUE(IsComplete<STargetWindowRequestSpec>(bytes));
    EXPECT_FALSE(IsComplete<STargetWindowRequestSpec>(UpToAlternateLength(std::string(256, 'a'))));
}

TEST(TargetRequestPayload, LastAlternateLengthAndTextMayBeCutAnywhere) {
    Bytes bytes = UpToAlternateLength("alt");
    const std::size_t least = bytes.size();
    Append(bytes, 1024u);
    bytes.insert(bytes.end(), 2048, 'u');
    for (std::size_t length = least; length <= bytes.size(); ++length) {
        ASSERT_TRUE(PayloadIsComplete<STargetWindowRequestSpec>(bytes.data(), length)) << length;
    }
}

TEST(TargetRequestPayload, CutAlternateLengthIsJudgedAsItWillBeRead) {
    Bytes bytes = UpToAlternateLength("alt");
    bytes.insert(bytes.end(), {0xFF});
    EXPECT_TRUE(IsComplete<STargetWindowRequestSpec>(bytes)) << "255";
    bytes.push_back(0xFF);
    EXPECT_FALSE(IsComplete<STargetWindowRequestSpec>(bytes)) << "65535";
    bytes.back() = 4;
    EXPECT_FALSE(IsComplete<STargetWindowRequestSpec>(bytes)) << "1279";
}

TEST(TargetRequestPayload, AlternateTextHasAtMost1024Units) {
    Bytes bytes = UpToAlternateLength("alt");
    Append(bytes, 1025u);
    bytes.insert(bytes.end(), 2050, 'u');
    EXPECT_FALSE(IsComplete<STargetWindowRequestSpec>(bytes));
}

TEST(TargetRequestPayload, AlternatePartBeforeTheLastRecordMustBeWhole) {
    Bytes bytes = UpToAlternateLength("alt");
    bytes[0] = 2;
    Append(bytes, 30u);
    AppendRecord(bytes, "two", 0, 0, false);
    EXPECT_FALSE(IsComplete<STargetWindowRequestSpec>(bytes));
}

TEST(TargetRequestPayload, WhatTheSenderCutsIsAccepted) {
    TargetRecord record = MakeRecordWithAlternate("kPlugIn", "kMain", u"Main");
    STargetWindowRequestSpec sender(&record, 1);
    EXPECT_TRUE(
        PayloadIsComplete<STargetWindowRequestSpec>(sender.Serialize(), sender.SerialBufferSize()));
}

TEST(TargetRequestPayload, SenderWithoutAlternateTextLosesItsKey) {
    TargetRecord record = MakeRecordWithAlternate("kPlugIn", "kMain");
    STargetWindowRequestSpec sender(&record, 1);
    EXPECT_FALSE(
        PayloadIsComplete<STargetWindowRequestSpec>(sender.Serialize(), sender.SerialBufferSize()));
}

// Check against Deserialize: what is accepted stays inside an exact copy and its zero bytes. The
// address sanitizer is the judge; in other builds these tests show that the inputs are of use.

template <typename Spec>
bool DeserializeIfComplete(const unsigned char* bytes, std::size_t length) {
    if (!PayloadIsComplete<Spec>(bytes, length)) return false;
    const auto copy = std::make_unique<unsigned char[]>(length + kivo::kZeroBytesAfterPayload);
    if (length != 0) std::memcpy(copy.get(), bytes, length);
    Spec spec;
    spec.Deserialize(copy.get());
    return true;
}

/// Cuts `bytes` somewhere and changes some bytes of what is left, counts and flags above all.
void Mutate(Bytes& bytes, kivo::test::RandomRecords& random) {
    if (random.Below(2) == 0) bytes.resize(random.Below(bytes.size() + 1));
    for (std::size_t i = random.Below(4); i > 0 && !bytes.empty(); --i) {
        constexpr unsigned char kTelling[] = {0, 1, 4, 5, 0x7F, 0x80, 0xFF};
        bytes[random.Below(bytes.size())] = kTelling[random.Below(sizeof kTelling)];
    }
}

TEST(PayloadCheck, AcceptedTargetRequestsAreReadInsideTheirCopy) {
    unsigned int accepted = 0, refused = 0;
    for (unsigned int seed = 0; seed < 2000; ++seed) {
        kivo::test::RandomRecords random(seed);
        std::vector<TargetRecord> records = random.Make(4);
        STargetWindowRequestSpec sender(records.data(), static_cast<unsigned int>(records.size()));
        const unsigned char* const sent = sender.Serialize();
        Bytes bytes(sent, sent + sender.SerialBufferSize());
        Mutate(bytes, random);
        const bool complete =
            DeserializeIfComplete<STargetWindowRequestSpec>(bytes.data(), bytes.size());
        ++(complete ? accepted : refused);
    }
    EXPECT_GT(accepted, 200u);
    EXPECT_GT(refused, 200u);
}

TEST(PayloadCheck, EveryCutOfALastRecordIsReadInsideItsCopyOrRefused) {
    kivo::test::RandomRecords random(7);
    for (int i = 0; i < 20; ++i) {
        TargetRecord record = random.MakeOne();
        record.hasAltTitle = true;
        kivo::test::SetKey(record.altTitle, "alternate");
        kivo::test::SetText(record.altTitleChars, record.altTitleLength,
                            std::u16string(1 + random.Below(1024), u'x'));
        STargetWindowRequestSpec sender(&record, 1);
        const unsigned char* const sent = sender.Serialize();
        const std::size_t whole = sender.SerialBufferSize() + std::strlen(record.altTitle) + 1;
        const std::size_t text = whole - 2 * record.altTitleLength;
        for (std::size_t length = text - 20; length <= whole; ++length) {
            const bool keyIsWhole = length >= text - 4;
            ASSERT_EQ(DeserializeIfComplete<STargetWindowRequestSpec>(sent, length), keyIsWhole)
                << length << " of " << whole;
        }
    }
}

template <typename Spec>
class RandomBytes : public testing::Test {};
using CheckedTypes =
    testing::Types<SServerSpec, SResetSocketSpec, SIncommingLongArraySpec, SWindowRequestSpec,
                   STargetWindowRequestSpec, SPointSpec, SConnectStatusSpec>;
TYPED_TEST_SUITE(RandomBytes, CheckedTypes);

TYPED_TEST(RandomBytes, AreReadInsideTheirCopyWhenAccepted) {
    kivo::test::RandomRecords random(11);
    unsigned int accepted = 0;
    for (int i = 0; i < 5000; ++i) {
        Bytes bytes(random.Below(80));
        for (unsigned char& byte : bytes) {
            byte = static_cast<unsigned char>(random.Below(3) == 0 ? random.Below(256) : 0);
        }
        accepted += DeserializeIfComplete<TypeParam>(bytes.data(), bytes.size());
    }
    EXPECT_GT(accepted, 50u);
}

}  // namespace
