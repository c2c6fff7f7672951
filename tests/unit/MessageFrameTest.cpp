#include <CoreFoundation/MessageFrame.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <random>
#include <string>
#include <vector>

// The frames that docs/message-ports.md describes.

namespace {

using kivo::Frame;
using kivo::FrameHeader;
using kivo::FrameKind;
using kivo::FrameReader;
using Bytes = std::vector<uint8_t>;

Bytes Encoded(const FrameHeader& header, const Bytes& payload = {}) {
    const auto encoded = kivo::EncodeHeader(header);
    Bytes bytes(encoded.begin(), encoded.end());
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return bytes;
}

/// Puts bytes into a reader in pieces of a size and takes out the frames' payloads.
struct Read {
    Read(const Bytes& bytes, size_t piece) {
        for (size_t at = 0; at < bytes.size() && state != FrameReader::State::kMalformed;) {
            const auto space = reader.Space();
            const size_t count = std::min({space.size(), piece, bytes.size() - at});
            std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), count, space.begin());
            reader.Commit(count);
            at += count;
            TakeAll();
        }
    }
    void TakeAll() {
        while ((state = reader.Check()) == FrameReader::State::kFrame) {
            const Frame frame = reader.Take();
            headers.push_back(frame.header);
            payloads.emplace_back(frame.payload.begin(), frame.payload.end());
        }
    }

    FrameReader reader;
    FrameReader::State state = FrameReader::State::kIncomplete;
    std::vector<FrameHeader> headers;
    std::vector<Bytes> payloads;
};

TEST(FrameHeader, HasTheDocumentedBytes) {
    EXPECT_EQ(Encoded({FrameKind::kRequest, 7, 0x5A476C4D, 0}),
              (Bytes{0x4B, 0x50, 1, 2, 7, 0, 0, 0, 0x4D, 0x6C, 0x47, 0x5A, 0, 0, 0, 0}));
    EXPECT_EQ(Encoded({FrameKind::kOneWay, 0, 0x65546170, 1}, {1}),
              (Bytes{0x4B, 0x50, 1, 1, 0, 0, 0, 0, 0x70, 0x61, 0x54, 0x65, 1, 0, 0, 0, 1}));
    EXPECT_EQ(Encoded({FrameKind::kReply, 0x01020304, -2, 0}),
              (Bytes{0x4B, 0x50, 1, 3, 4, 3, 2, 1, 0xFE, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}));
}

TEST(FrameHeader, IsReadBackAsWritten) {
    const auto header = kivo::DecodeHeader(
        kivo::EncodeHeader({FrameKind::kReply, 0xFFFFFFFE, INT32_MIN, kivo::kLongestPayload}));
    ASSERT_TRUE(header);
    EXPECT_EQ(header->kind, FrameKind::kReply);
    EXPECT_EQ(header->conversation, 0xFFFFFFFE);
    EXPECT_EQ(header->msgid, INT32_MIN);
    EXPECT_EQ(header->length, kivo::kLongestPayload);
}

TEST(FrameHeader, IsRefusedWhenAnythingFixedDiffers) {
    const auto good = kivo::EncodeHeader({FrameKind::kRequest, 1, 1, 0});
    for (const auto& [place, value] : std::vector<std::pair<size_t, int>>{
             {0, 'k'}, {1, 'p'}, {2, 0}, {2, 2}, {3, 0}, {3, 4}, {3, 255}}) {
        auto bad = good;
        bad[place] = static_cast<uint8_t>(value);
        EXPECT_FALSE(kivo::DecodeHeader(bad)) << place << " " << value;
    }
    EXPECT_FALSE(kivo::DecodeHeader(
        kivo::EncodeHeader({FrameKind::kRequest, 1, 1, kivo::kLongestPayload + 1})));
}

TEST(FrameReader, GivesTheSameFramesForAnyPieces) {
    std::mt19937 random(1);
    Bytes stream;
    std::vector<Bytes> payloads;
    for (const size_t size : {0U, 1U, 24U, 4079U, 4080U, 4081U, 5000U, 0U, 70000U, 600000U, 3U}) {
        Bytes payload(size);
        for (uint8_t& byte : payload)
            byte = static_cast<uint8_t>(random());
        const auto frame =
            Encoded({FrameKind::kOneWay, 0, 1, static_cast<uint32_t>(size)}, payload);
        stream.insert(stream.end(), frame.begin(), frame.end());
        payloads.push_back(payload);
    }
    for (const size_t piece : {1U, 7U, 16U, 17U, 4095U, 4096U, 65536U, 1000000U}) {
        const Read read(stream, piece);
        EXPECT_EQ(read.payloads, payloads) << piece;
    }
}

TEST(FrameReader, TakesMemoryAsBytesArrive) {
    const Read read(Encoded({FrameKind::kOneWay, 0, 1, kivo::kLongestPayload}, Bytes(100)), 4096);
    EXPECT_LE(read.reader.HeldBytes(), 256U * 1024);
    const Read more(Encoded({FrameKind::kOneWay, 0, 1, kivo::kLongestPayload}, Bytes(1000000)),
                    4096);
    EXPECT_LE(more.reader.HeldBytes(), 2000000U);
}

TEST(FrameReader, KnowsNonsense) {
    EXPECT_EQ(Read(Bytes(16, 'x'), 16).state, FrameReader::State::kMalformed);
    auto stream = Encoded({FrameKind::kOneWay, 0, 1, 0});
    stream.resize(stream.size() + 16, 0);
    const Read read(stream, 3);
    EXPECT_EQ(read.headers.size(), 1U) << "what came before it counts";
    EXPECT_EQ(read.state, FrameReader::State::kMalformed);
}

TEST(OutgoingFrame, GoesOnWhereTheSocketWasFull) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    Bytes payload(3000000);
    for (size_t i = 0; i < payload.size(); ++i)
        payload[i] = static_cast<uint8_t>(i * 31 >> 3);
    const FrameHeader header{FrameKind::kReply, 1, 2, static_cast<uint32_t>(payload.size())};
    kivo::OutgoingFrame frame(header, payload);
    Bytes received;
    auto progress = kivo::OutgoingFrame::Progress::kBlocked;
    while (progress == kivo::OutgoingFrame::Progress::kBlocked) {
        progress = frame.Send(ends[0]);
        uint8_t buffer[65536];
        ssize_t count = 0;
        while ((count = recv(ends[1], buffer, sizeof buffer, MSG_DONTWAIT)) > 0) {
            received.insert(received.end(), buffer, buffer + count);
        }
        Bytes rest;
        frame.AppendRest(rest);
        ASSERT_EQ(received.size() + rest.size(), payload.size() + kivo::kFrameHeaderBytes);
    }
    EXPECT_EQ(progress, kivo::OutgoingFrame::Progress::kDone);
    EXPECT_TRUE(received == Encoded(header, payload));
    close(ends[0]);
    close(ends[1]);
}

TEST(OutgoingFrame, ToNobodyIsBrokenAndHarmless) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    close(ends[1]);
    kivo::OutgoingFrame frame({FrameKind::kReply, 1, 2, 0}, {});
    EXPECT_EQ(frame.Send(ends[0]), kivo::OutgoingFrame::Progress::kBroken);
    close(ends[0]);
}

}  // namespace
