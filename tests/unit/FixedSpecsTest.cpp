#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "ZYNCommon/DesignedRetention.h"
#include "ZYNCommon/Truncation.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"

namespace {

using Bytes = std::vector<unsigned char>;

constexpr int kSmallest = std::numeric_limits<int>::min();

/// What a sender would send.
Bytes Sent(SMessageSpec& spec) {
    const unsigned char* const bytes = spec.Serialize();
    return Bytes(bytes, bytes + spec.SerialBufferSize());
}

static_assert(!std::is_copy_constructible_v<SPointSpec> && !std::is_copy_assignable_v<SPointSpec>);
static_assert(!std::is_copy_constructible_v<SServerSpec>);

TEST(Truncation, CutsTowardZero) {
    EXPECT_EQ(kivo::TruncateToInt32(10.9), 10);
    EXPECT_EQ(kivo::TruncateToInt32(-3.7), -3);
    EXPECT_EQ(kivo::TruncateToInt32(-0.99), 0);
    EXPECT_EQ(kivo::TruncateToInt32(2147483647.9), 2147483647);
    EXPECT_EQ(kivo::TruncateToInt32(-2147483648.9), kSmallest);
    EXPECT_EQ(kivo::TruncateToInt64(-9223372036854775808.0),
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(kivo::TruncateToInt64(9223372036854774784.0), 9223372036854774784);
}

TEST(Truncation, GivesTheSmallestForWhatDoesNotFit) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const double value : {2147483648.0, -2147483649.0, 1e300, kInfinity, -kInfinity,
                               std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(kivo::TruncateToInt32(value), kSmallest) << value;
    }
    for (const double value : {9223372036854775808.0, -9223372036854777856.0, kInfinity, -kInfinity,
                               std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(kivo::TruncateToInt64(value), std::numeric_limits<std::int64_t>::min()) << value;
    }
}

TEST(PointSizeSpec, TruncatesDoublesTowardZero) {
    CGPoint origin = {10.9, -3.7};
    CGSize size = {100.99, 0.5};
    SPointSizeSpec spec(origin, size);
    EXPECT_EQ(spec.SerialBufferSize(), 16u);
    EXPECT_EQ(Sent(spec), (Bytes{10, 0, 0, 0, 0xFD, 0xFF, 0xFF, 0xFF, 100, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(PointSizeSpec, SerializesTheSameTwice) {
    CGPoint origin = {1, 2};
    CGSize size = {3, 4};
    SPointSizeSpec spec(origin, size);
    const Bytes first = Sent(spec);
    EXPECT_EQ(Sent(spec), first);
    EXPECT_EQ(spec.Serialize(), spec.serialBuffer);
}

TEST(TargetPointSizeSpec, BeginsWithTheIndex) {
    CGPoint origin = {0, 0};
    CGSize size = {0, std::nan("")};
    STargetPointSizeSpec spec(2, origin, size);
    EXPECT_EQ(spec.SerialBufferSize(), 20u);
    const Bytes sent = Sent(spec);
    EXPECT_EQ(Bytes(sent.begin(), sent.begin() + 4), (Bytes{2, 0, 0, 0}));
    EXPECT_EQ(Bytes(sent.begin() + 16, sent.end()), (Bytes{0, 0, 0, 0x80}));
}

TEST(PointSpec, TakesIntegersAsTheyAre) {
    SPointSpec spec(-1, kSmallest);
    EXPECT_EQ(Sent(spec), (Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0x80}));
}

TEST(FixedSpecs, DefaultIsZeroThroughoutAndOfFullSize) {
    SPointSpec point;
    SPointSizeSpec pointSize;
    STargetPointSizeSpec target;
    SControlSpec control;
    SConnectStatusSpec status;
    EXPECT_EQ(Sent(point), Bytes(8));
    EXPECT_EQ(Sent(pointSize), Bytes(16));
    EXPECT_EQ(Sent(target), Bytes(20));
    EXPECT_EQ(Sent(control), Bytes(16));
    EXPECT_EQ(Sent(status), Bytes(5));
}

template <typename Spec>
class ValueSpecs : public testing::Test {};

template <typename Spec, unsigned int Fields>
struct Shape {
    using Type = Spec;
    static constexpr unsigned int kFields = Fields;
};

using ValueShapes =
    testing::Types<Shape<SServerPortSpec, 2>, Shape<SControlSpec, 4>,
                   Shape<SCurrentControlInfoSpec, 4>, Shape<SPortConnectDisconnectSpec, 1>,
                   Shape<SKeysetIndexSpec, 1>, Shape<SBankIndexSpec, 1>, Shape<SLayerIndexSpec, 1>,
                   Shape<SOneIntSpec, 1>, Shape<STwoIntSpec, 2>, Shape<SThreeIntSpec, 3>,
                   Shape<STrackerArmSpec, 3>>;
TYPED_TEST_SUITE(ValueSpecs, ValueShapes);

template <typename Spec, unsigned int Fields>
Spec MakeValueSpec() {
    if constexpr (Fields == 1) return Spec(0x04030201);
    if constexpr (Fields == 2) return Spec(0x04030201, 0x08070605);
    if constexpr (Fields == 3) return Spec(0x04030201, 0x08070605, 0x0C0B0A09);
    if constexpr (Fields == 4) return Spec(0x04030201, 0x08070605, 0x0C0B0A09, 0x100F0E0D);
}

TYPED_TEST(ValueSpecs, ConstructorSetsEachFieldAndTheSize) {
    auto spec = MakeValueSpec<typename TypeParam::Type, TypeParam::kFields>();
    Bytes expected;
    for (unsigned char i = 1; i <= 4 * TypeParam::kFields; ++i)
        expected.push_back(i);
    EXPECT_EQ(spec.SerialBufferSize(), expected.size());
    EXPECT_EQ(Sent(spec), expected);
}

TYPED_TEST(ValueSpecs, DeserializeReadsWhatSerializeWrote) {
    auto sender = MakeValueSpec<typename TypeParam::Type, TypeParam::kFields>();
    typename TypeParam::Type receiver;
    receiver.Deserialize(sender.Serialize());
    EXPECT_EQ(Sent(receiver), Sent(sender));
}

TEST(ConnectStatusSpec, SendsItsStatusAsOneByte) {
    SConnectStatusSpec spec(1, 0xAB);
    EXPECT_EQ(Sent(spec), (Bytes{1, 0, 0, 0, 0xAB}));

    SConnectStatusSpec received;
    received.Deserialize(spec.Serialize());
    EXPECT_EQ(received.value, 1u);
    EXPECT_EQ(received.status, 0xAB);
}

TEST(ServerSpec, PadsAnOddCount) {
    unsigned char block[] = {0x41, 0x42, 0x43, 0x44};
    SServerSpec odd(7, 3, block);
    EXPECT_EQ(odd.SerialBufferSize(), 12u);
    EXPECT_EQ(odd.paddedByteCount, 4u);
    EXPECT_EQ(Sent(odd), (Bytes{7, 0, 0, 0, 3, 0, 0, 0, 0x41, 0x42, 0x43, 0}));

    SServerSpec even(7, 4, block);
    EXPECT_EQ(even.SerialBufferSize(), 12u);
    EXPECT_EQ(Sent(even), (Bytes{7, 0, 0, 0, 4, 0, 0, 0, 0x41, 0x42, 0x43, 0x44}));

    SServerSpec none(7, 0, block);
    EXPECT_EQ(none.SerialBufferSize(), 8u);
    EXPECT_EQ(Sent(none), (Bytes{7, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(ServerSpec, DefaultHoldsNothing) {
    SServerSpec spec;
    EXPECT_EQ(spec.value, 0u);
    EXPECT_EQ(spec.byteCount, 0u);
    EXPECT_EQ(spec.bytes, nullptr);
    EXPECT_EQ(spec.serialBuffer, nullptr);
    EXPECT_EQ(spec.paddedByteCount, 0u);
    EXPECT_EQ(spec.SerialBufferSize(), 8u);
    EXPECT_EQ(Sent(spec), Bytes(8));
}

TEST(ServerSpec, DeserializeSetsTheSize) {
    const unsigned char payload[] = {1, 0, 0, 0, 5, 0, 0, 0, 'a', 'b', 'c', 'd', 'e', 0xEE};
    SServerSpec spec;
    spec.Deserialize(payload);
    EXPECT_EQ(spec.SerialBufferSize(), 14u);
    EXPECT_EQ(spec.byteCount, 5u);
    EXPECT_EQ(std::memcmp(spec.bytes.get(), "abcde", 6), 0) << "the pad byte is zero";
}

TEST(ServerSpec, MayBeReadAndWrittenOverAndOver) {
    const unsigned char longer[] = {1, 0, 0, 0, 4, 0, 0, 0, 'a', 'b', 'c', 'd'};
    const unsigned char shorter[] = {2, 0, 0, 0, 1, 0, 0, 0, 'z'};
    SServerSpec spec;
    spec.Deserialize(longer);
    spec.Serialize();
    spec.Deserialize(shorter);
    EXPECT_EQ(Sent(spec), (Bytes{2, 0, 0, 0, 1, 0, 0, 0, 'z', 0}));
}

TEST(ResetSocketSpec, SerializesToNull) {
    SResetSocketSpec spec;
    EXPECT_EQ(spec.Serialize(), nullptr);
    EXPECT_EQ(spec.SerialBufferSize(), 0u);
}

TEST(ResetSocketSpec, ReadsNameAndTheValueAfterIt) {
    const unsigned char payload[] = {'a', 'b', 0, 4, 3, 2, 1};
    SResetSocketSpec spec;
    spec.Deserialize(payload);
    EXPECT_STREQ(spec.name, "ab");
    EXPECT_EQ(spec.value, 0x01020304u);
}

TEST(IncommingLongArraySpec, SerializesToNull) {
    SIncommingLongArraySpec spec;
    EXPECT_EQ(spec.Serialize(), nullptr);
    EXPECT_EQ(spec.SerialBufferSize(), 0u);
}

TEST(IncommingLongArraySpec, CountOfZeroMakesAnEmptyArray) {
    const unsigned char payload[] = {0, 0, 0, 0, 9, 0, 0, 0};
    SIncommingLongArraySpec spec;
    spec.Deserialize(payload);
    EXPECT_EQ(spec.count, 0u);
    EXPECT_EQ(spec.value, 9u);
    EXPECT_NE(spec.longs, nullptr);
}

TEST(IncommingLongArraySpec, KeepsTheArrayOfAnEarlierCall) {
    const unsigned char payload[] = {2, 0, 0, 0, 9, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0};
    const auto retained = [] {
        return kivo::CountDesignedRetentions(kivo::DesignedRetention::kLongsArray);
    };
    const std::size_t before = retained();
    const unsigned int* earlier = nullptr;
    {
        SIncommingLongArraySpec spec;
        spec.Deserialize(payload);
        EXPECT_EQ(retained(), before) << "nothing was read over";
        earlier = spec.longs.get();
        spec.Deserialize(payload);
        EXPECT_EQ(retained(), before + 1);
        EXPECT_NE(spec.longs.get(), earlier);
    }
    EXPECT_EQ(retained(), before + 1) << "the last array is released with its owner";
    EXPECT_EQ(earlier[1], 2u) << "still there, as the address sanitizer would tell";
}

TEST(DesignedRetention, CountsByKindAndNotNull) {
    using kivo::DesignedRetention;
    static const int object = 0;
    kivo::RetainByDesign(DesignedRetention::kWindowTitle, &object);
    kivo::RetainByDesign(DesignedRetention::kWindowTitle, &object);
    kivo::RetainByDesign(DesignedRetention::kMidiSession, nullptr);
    EXPECT_EQ(kivo::CountDesignedRetentions(DesignedRetention::kWindowTitle), 2u);
    EXPECT_EQ(kivo::CountDesignedRetentions(DesignedRetention::kMidiSession), 0u);
    EXPECT_EQ(kivo::CountDesignedRetentions(DesignedRetention::kEventTap), 0u);
}

}  // namespace
