#include "ZYNCommon/CCircularBuffer.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <vector>

namespace {

constexpr unsigned int kCapacity = 32768;

/// Lets tests see the marks and pretend that an operation is under way.
class Ring : public CCircularBuffer {
  public:
    using CCircularBuffer::busy;
    using CCircularBuffer::data;
    using CCircularBuffer::inMark;
    using CCircularBuffer::outMark;
    using CCircularBuffer::spare;
};

std::vector<unsigned char> Counting(unsigned int count, unsigned int from = 0) {
    std::vector<unsigned char> bytes(count);
    for (unsigned int i = 0; i < count; ++i)
        bytes[i] = static_cast<unsigned char>(from + i);
    return bytes;
}

TEST(CircularBuffer, NewOneIsEmpty) {
    Ring ring;
    unsigned char bytes[] = {0xEE, 0xEE};
    EXPECT_TRUE(ring.IsEmpty());
    EXPECT_EQ(ring.BytesRemaining(), 0u);
    EXPECT_EQ(ring.GetBytes(bytes, 2), 0u);
    EXPECT_FALSE(ring.GetByte(bytes));
    EXPECT_EQ(bytes[0], 0xEE);
    EXPECT_EQ(bytes[1], 0xEE);
    EXPECT_EQ(ring.MoveOutMarkBy(1), 0u);
    EXPECT_FALSE(ring.busy);
    EXPECT_EQ(ring.spare, 0u);
}

TEST(CircularBuffer, AddBytesWrapsRoundTheEnd) {
    Ring ring;
    ring.Reset(32764, 32764);
    const auto bytes = Counting(10, 1);
    ring.AddBytes(bytes.data(), 10);
    EXPECT_EQ(ring.inMark, 6u);
    EXPECT_EQ(std::vector<unsigned char>(ring.data + 32764, ring.data + kCapacity), Counting(4, 1));
    EXPECT_EQ(std::vector<unsigned char>(ring.data, ring.data + 6), Counting(6, 5));

    std::vector<unsigned char> read(10);
    EXPECT_EQ(ring.GetBytes(read.data(), 10), 10u);
    EXPECT_EQ(read, bytes);
    EXPECT_EQ(ring.outMark, 6u);
}

TEST(CircularBuffer, AddBytesThatEndsAtTheEndLeavesTheMarkAtZero) {
    Ring ring;
    ring.Reset(32760, 32760);
    ring.AddBytes(Counting(8).data(), 8);
    EXPECT_EQ(ring.inMark, 0u);
    std::vector<unsigned char> read(8);
    EXPECT_EQ(ring.GetBytes(read.data(), 8), 8u);
    EXPECT_EQ(ring.outMark, 0u);
}

TEST(CircularBuffer, FullOneReadsAsEmpty) {
    Ring ring;
    ring.AddBytes(Counting(kCapacity).data(), kCapacity);
    EXPECT_TRUE(ring.IsEmpty());
    EXPECT_EQ(ring.BytesRemaining(), 0u);
}

TEST(CircularBuffer, UnreadBytesAreOverwritten) {
    Ring ring;
    ring.AddBytes(Counting(100).data(), 100);
    ring.AddBytes(Counting(kCapacity - 50).data(), kCapacity - 50);
    EXPECT_EQ(ring.BytesRemaining(), 50u);
}

TEST(CircularBuffer, GetBytesGivesNoMoreThanThereAre) {
    Ring ring;
    ring.AddBytes(Counting(3, 7).data(), 3);
    std::vector<unsigned char> read(5, 0xEE);
    EXPECT_EQ(ring.GetBytes(read.data(), 5), 3u);
    EXPECT_EQ(read, (std::vector<unsigned char>{7, 8, 9, 0xEE, 0xEE}));
}

TEST(CircularBuffer, ResetStoresTheMarks) {
    Ring ring;
    ring.Reset(5, 2);
    EXPECT_EQ(ring.BytesRemaining(), 3u);
    ring.Reset(2, 5);
    EXPECT_EQ(ring.BytesRemaining(), 32765u);
}

TEST(CircularBuffer, BusyOneRefusesEverythingButReset) {
    Ring ring;
    ring.AddBytes(Counting(4, 1).data(), 4);
    ring.busy = true;
    unsigned char byte = 0xEE;
    ring.AddByte(9);
    ring.AddBytes(&byte, 1);
    EXPECT_EQ(ring.inMark, 4u);
    EXPECT_EQ(ring.GetBytes(&byte, 1), 0u);
    EXPECT_FALSE(ring.GetByte(&byte));
    EXPECT_EQ(ring.MoveOutMarkBy(1), 0u);
    EXPECT_EQ(byte, 0xEE);
    EXPECT_EQ(ring.outMark, 0u);
    EXPECT_EQ(ring.BytesRemaining(), 4u);
    EXPECT_FALSE(ring.IsEmpty());
    EXPECT_TRUE(ring.busy);

    ring.Reset(8, 6);
    EXPECT_EQ(ring.BytesRemaining(), 2u);
    EXPECT_FALSE(ring.busy) << "it ends the operation";
}

TEST(CircularBuffer, MoveOutMarkByWrapsAndStopsAtTheInMark) {
    Ring ring;
    ring.Reset(4, 32766);
    EXPECT_EQ(ring.MoveOutMarkBy(2), 2u);
    EXPECT_EQ(ring.outMark, 0u);
    EXPECT_EQ(ring.MoveOutMarkBy(100), 4u);
    EXPECT_TRUE(ring.IsEmpty());
}

TEST(CircularBuffer, CopyBytesGoesFromFirstToLast) {
    Ring ring;
    unsigned char bytes[] = {1, 2, 3, 4};
    ring.CopyBytes(bytes, bytes + 1, 3);
    EXPECT_EQ(std::vector<unsigned char>(bytes, bytes + 4),
              (std::vector<unsigned char>{1, 1, 1, 1}));
}

TEST(CircularBuffer, MarksOutsideTheRingTouchNoMemory) {
    Ring ring;
    unsigned char bytes[64] = {};
    ring.Reset(kCapacity, 0xFFFFFFF0);
    ring.AddByte(1);
    ring.AddBytes(bytes, sizeof bytes);
    EXPECT_EQ(ring.inMark, kCapacity);
    EXPECT_EQ(ring.GetBytes(bytes, sizeof bytes), 0u);
    EXPECT_FALSE(ring.GetByte(bytes));
    EXPECT_FALSE(ring.busy);
}

TEST(CircularBuffer, MoreThanTheRingHoldsIsNotAdded) {
    Ring ring;
    const auto bytes = Counting(kCapacity + 1);
    ring.AddBytes(bytes.data(), kCapacity + 1);
    EXPECT_TRUE(ring.IsEmpty());
    EXPECT_EQ(ring.inMark, 0u);
}

/// The ring by its own words: a stretch of unread bytes that forgets everything when it holds
/// 32768.
class Model {
  public:
    void Add(const std::vector<unsigned char>& bytes) {
        for (const unsigned char byte : bytes)
            mUnread.push_back(byte);
        if (mUnread.size() >= kCapacity) {
            mUnread.erase(mUnread.begin(),
                          mUnread.end() - static_cast<std::ptrdiff_t>(mUnread.size() % kCapacity));
        }
    }
    std::vector<unsigned char> Take(std::size_t count) {
        const auto end =
            mUnread.begin() + static_cast<std::ptrdiff_t>(std::min(count, mUnread.size()));
        std::vector<unsigned char> taken(mUnread.begin(), end);
        mUnread.erase(mUnread.begin(), end);
        return taken;
    }
    std::size_t Size() const { return mUnread.size(); }

  private:
    std::deque<unsigned char> mUnread;
};

TEST(CircularBuffer, BehavesLikeItsModelUnderRandomUse) {
    for (unsigned int seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::mt19937 random(seed);
        const auto below = [&random](unsigned int bound) {
            return std::uniform_int_distribution<unsigned int>(0, bound - 1)(random);
        };
        Ring ring;
        Model model;
        for (int step = 0; step < 300; ++step) {
            const unsigned int count = below(4) == 0 ? below(kCapacity + 1) : below(5000);
            std::vector<unsigned char> read(count + 1);
            switch (below(5)) {
                case 0: {
                    const auto bytes = Counting(count, below(256));
                    ring.AddBytes(bytes.data(), count);
                    model.Add(bytes);
                    break;
                }
                case 1:
                    ring.AddByte(static_cast<unsigned char>(count));
                    model.Add({static_cast<unsigned char>(count)});
                    break;
                case 2:
                    read.resize(ring.GetBytes(read.data(), count));
                    ASSERT_EQ(read, model.Take(count));
                    break;
                case 3:
                    read.resize(ring.GetByte(read.data()) ? 1 : 0);
                    ASSERT_EQ(read, model.Take(1));
                    break;
                case 4:
                    ASSERT_EQ(ring.MoveOutMarkBy(count), model.Take(count).size());
                    break;
            }
            ASSERT_EQ(ring.BytesRemaining(), model.Size());
            ASSERT_EQ(ring.IsEmpty(), model.Size() == 0);
        }
    }
}

}  // namespace
