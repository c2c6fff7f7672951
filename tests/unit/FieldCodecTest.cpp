#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "ZYNCommon/LittleEndian.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"

namespace {

using Bytes = std::vector<unsigned char>;

/// The helpers read no member, so any spec will do.
class FieldCodec : public testing::Test {
  protected:
    Bytes Written(unsigned int count) const { return Bytes(mBuffer, mBuffer + count); }

    SOneIntSpec mCodec;
    unsigned char mBuffer[64] = {};
};

TEST_F(FieldCodec, NumbersAreLittleEndian) {
    EXPECT_EQ(mCodec.SerializeField(0x12345678, mBuffer), 4u);
    EXPECT_EQ(Written(4), (Bytes{0x78, 0x56, 0x34, 0x12}));

    unsigned int value = 0;
    EXPECT_EQ(mCodec.DeserializeField(mBuffer, &value), 4u);
    EXPECT_EQ(value, 0x12345678u);
}

TEST_F(FieldCodec, NumbersUseAllFourBytes) {
    for (const unsigned int value : {0u, 1u, 0x80u, 0xFF00u, 0x80000000u, 0xFFFFFFFFu}) {
        unsigned int read = ~value;
        mCodec.SerializeField(value, mBuffer);
        mCodec.DeserializeField(mBuffer, &read);
        EXPECT_EQ(read, value);
    }
}

TEST_F(FieldCodec, EmptyStringIsOneZero) {
    std::string text;
    mBuffer[0] = 0xEE;
    EXPECT_EQ(mCodec.SerializeStringField(text, mBuffer), 1u);
    EXPECT_EQ(mBuffer[0], 0);
}

TEST_F(FieldCodec, StringWithZeroInsideIsWrittenWholeAndReadUpToIt) {
    std::string text("ab\0cd", 5);
    EXPECT_EQ(mCodec.SerializeStringField(text, mBuffer), 6u);
    EXPECT_EQ(Written(6), (Bytes{'a', 'b', 0, 'c', 'd', 0}));

    std::string read = "before";
    EXPECT_EQ(mCodec.DeserializeStringField(mBuffer, read), 3u);
    EXPECT_EQ(read, "ab");
}

TEST_F(FieldCodec, CStringIsCopiedWithItsTerminator) {
    char text[] = "key\0unseen";
    EXPECT_EQ(mCodec.SerializeStringField(text, mBuffer), 4u);
    EXPECT_EQ(Written(5), (Bytes{'k', 'e', 'y', 0, 0}));

    char read[] = "longer than that";
    EXPECT_EQ(mCodec.DeserializeStringField(mBuffer, read), 4u);
    EXPECT_STREQ(read, "key");
    EXPECT_STREQ(read + 4, "er than that");
}

TEST_F(FieldCodec, UnitsHaveTheirLowByteFirst) {
    unsigned short units[] = {0x1234, 0x00FF, 0xD83D};
    EXPECT_EQ(mCodec.SerializeStringField(units, 3, mBuffer), 6u);
    EXPECT_EQ(Written(7), (Bytes{0x34, 0x12, 0xFF, 0x00, 0x3D, 0xD8, 0}));

    unsigned short read[4] = {0, 0, 0, 0x5555};
    EXPECT_EQ(mCodec.DeserializeStringField(mBuffer, read, 3), 6u);
    EXPECT_EQ(std::vector<unsigned short>(read, read + 4),
              (std::vector<unsigned short>{0x1234, 0x00FF, 0xD83D, 0x5555}));
}

TEST_F(FieldCodec, NoUnitsAreNothing) {
    unsigned short unit = 0x5555;
    mBuffer[0] = 0xEE;
    EXPECT_EQ(mCodec.SerializeStringField(&unit, 0, mBuffer), 0u);
    EXPECT_EQ(mBuffer[0], 0xEE);
    EXPECT_EQ(mCodec.DeserializeStringField(mBuffer, &unit, 0), 0u);
    EXPECT_EQ(unit, 0x5555);
    EXPECT_EQ(mCodec.SerializeStringField(static_cast<unsigned short*>(nullptr), 0, mBuffer), 0u);
}

TEST_F(FieldCodec, ByteWiseNumbersEqualTheBulkCopy) {
    for (const unsigned int number : {0u, 0x12345678u, 0x80FF01FEu, 0xFFFFFFFFu}) {
        unsigned char byByte[4], inBulk[4];
        kivo::StoreNumberByByte(number, byByte);
        kivo::StoreNumber(number, inBulk);
        EXPECT_EQ(Bytes(byByte, byByte + 4), Bytes(inBulk, inBulk + 4));
        EXPECT_EQ(kivo::LoadNumberByByte(inBulk), number);
        EXPECT_EQ(kivo::LoadNumber(byByte), number);
    }
}

TEST_F(FieldCodec, ByteWiseUnitsEqualTheBulkCopy) {
    std::vector<unsigned short> units(300);
    for (std::size_t i = 0; i < units.size(); ++i)
        units[i] = static_cast<unsigned short>(i * 977);
    Bytes byByte(600), inBulk(600);
    kivo::StoreUnitsByByte(units.data(), units.size(), byByte.data());
    kivo::StoreUnits(units.data(), units.size(), inBulk.data());
    EXPECT_EQ(byByte, inBulk);

    std::vector<unsigned short> readByByte(300), readInBulk(300);
    kivo::LoadUnitsByByte(byByte.data(), readByByte.data(), 300);
    kivo::LoadUnits(byByte.data(), readInBulk.data(), 300);
    EXPECT_EQ(readByByte, units);
    EXPECT_EQ(readInBulk, units);
}

TEST(UToBuffer, StoresLongsBigEndianAndGetLongReadsThemBack) {
    unsigned char bytes[4];
    UToBuffer::StoreLong(0x12345678, bytes);
    EXPECT_EQ(Bytes(bytes, bytes + 4), (Bytes{0x12, 0x34, 0x56, 0x78}));
    EXPECT_EQ(UFromBuffer::GetLong(bytes), 0x12345678u);

    unsigned char high[] = {0xFF, 0xFF, 0xFF, 0xFE};
    EXPECT_EQ(UFromBuffer::GetLong(high), 0xFFFFFFFEu);
}

TEST(UToBuffer, StoredShortComesBackWithItsBytesExchanged) {
    unsigned char bytes[2];
    UToBuffer::StoreShort(0x1234, bytes);
    EXPECT_EQ(Bytes(bytes, bytes + 2), (Bytes{0x12, 0x34}));
    EXPECT_EQ(UFromBuffer::GetShort(bytes), 0x3412);
}

TEST(UToBuffer, StoresAndGetsBytes) {
    unsigned char byte = 0;
    UToBuffer::StoreByte(0xAB, &byte);
    EXPECT_EQ(UFromBuffer::GetByte(&byte), 0xAB);

    unsigned char source[] = {1, 2, 3, 4};
    unsigned char stored[4] = {}, read[4] = {};
    UToBuffer::StoreBytes(source, 3, stored);
    EXPECT_EQ(Bytes(stored, stored + 4), (Bytes{1, 2, 3, 0}));
    UFromBuffer::GetBytes(stored, read, 2);
    EXPECT_EQ(Bytes(read, read + 4), (Bytes{1, 2, 0, 0}));
}

TEST(UToBuffer, PascalStringBecomesZeroTerminated) {
    const unsigned char source[] = {3, 'a', 'b', 'c', 'x'};
    unsigned char dst[6];
    std::memset(dst, 0xEE, sizeof dst);
    EXPECT_EQ(UToBuffer::StorePStrAsCStr(source, dst), dst + 3);
    EXPECT_EQ(Bytes(dst, dst + 6), (Bytes{'a', 'b', 'c', 0, 0xEE, 0xEE}));
}

TEST(UToBuffer, EmptyPascalStringIsOneZeroAtTheDestination) {
    const unsigned char source[] = {0, 'x'};
    unsigned char dst[] = {0xEE, 0xEE};
    EXPECT_EQ(UToBuffer::StorePStrAsCStr(source, dst), dst);
    EXPECT_EQ(Bytes(dst, dst + 2), (Bytes{0, 0xEE}));
}

TEST(UToBuffer, LongestPascalStringHas254Characters) {
    std::array<unsigned char, 255> source;
    source.fill('p');
    source[0] = 254;
    std::array<unsigned char, 255> dst;
    EXPECT_EQ(UToBuffer::StorePStrAsCStr(source.data(), dst.data()), dst.data() + 254);
    EXPECT_EQ(dst[253], 'p');
    EXPECT_EQ(dst[254], 0);
}

}  // namespace
