#include "platform/CFRef.h"

#include <gtest/gtest.h>

#include <array>
#include <numeric>
#include <vector>

namespace {

using kivo::Adopt;

TEST(CFData, CreateCopiesItsBytes) {
    std::array<UInt8, 3> bytes = {1, 2, 3};
    const auto data = Adopt(CFDataCreate(nullptr, bytes.data(), 3));
    bytes.fill(0);
    ASSERT_EQ(CFDataGetLength(data.Get()), 3);
    EXPECT_EQ(CFDataGetBytePtr(data.Get())[1], 2);
}

TEST(CFData, NothingMakesAnEmptyObject) {
    const auto data = Adopt(CFDataCreate(nullptr, nullptr, 0));
    ASSERT_TRUE(data);
    EXPECT_EQ(CFDataGetLength(data.Get()), 0);
}

TEST(CFData, GetBytesCopiesARange) {
    std::vector<UInt8> bytes(100);
    std::iota(bytes.begin(), bytes.end(), UInt8{0});
    const auto data = Adopt(CFDataCreate(nullptr, bytes.data(), 100));
    std::array<UInt8, 3> part{};
    CFDataGetBytes(data.Get(), CFRangeMake(40, 3), part.data());
    EXPECT_EQ(part, (std::array<UInt8, 3>{40, 41, 42}));
}

TEST(CFData, EqualBytesAreEqualObjectsWithEqualHashes) {
    const UInt8 bytes[] = {9, 8, 7};
    const auto one = Adopt(CFDataCreate(nullptr, bytes, 3));
    const auto same = Adopt(CFDataCreateCopy(nullptr, one.Get()));
    const auto shorter = Adopt(CFDataCreate(nullptr, bytes, 2));
    EXPECT_TRUE(CFEqual(one.Get(), same.Get()));
    EXPECT_EQ(CFHash(one.Get()), CFHash(same.Get()));
    EXPECT_FALSE(CFEqual(one.Get(), shorter.Get()));
}

}  // namespace
