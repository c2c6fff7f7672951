#pragma once

// Inside of the layer only: the frames in which messages travel. docs/message-ports.md says the
// same for other languages.

#include <CoreFoundation/GrowingBuffer.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace kivo {

enum class FrameKind : uint8_t { kOneWay = 1, kRequest = 2, kReply = 3 };

struct FrameHeader {
    FrameKind kind;
    uint32_t conversation;
    int32_t msgid;
    /// Bytes of payload.
    uint32_t length;
};

constexpr size_t kFrameHeaderBytes = 16;
constexpr uint32_t kLongestPayload = 128U << 20;

std::array<uint8_t, kFrameHeaderBytes> EncodeHeader(const FrameHeader& header);
/// None for a header with another magic, version or kind, or with a length over the limit.
std::optional<FrameHeader> DecodeHeader(std::span<const uint8_t> bytes);

struct Frame {
    FrameHeader header;
    /// Valid until the reader's next call, or for as long as `storage` if that has capacity.
    std::span<const uint8_t> payload;
    GrowingBuffer storage;
};

/// Cuts a stream of bytes into frames. Memory for a payload is taken as the bytes arrive.
///
///     bytes = recv(reader.Space()); reader.Commit(bytes);
///     while (reader.Check() == kFrame) use(reader.Take());
class FrameReader {
  public:
    enum class State { kIncomplete, kFrame, kMalformed };

    /// Where the next bytes are to be put, while no frame is whole. Empty only without memory.
    std::span<uint8_t> Space();
    /// Says that so many bytes were put there.
    void Commit(size_t count);
    /// Looks at what has come. Malformed is for ever.
    State Check();
    /// The first frame, after `Check` said that there is one.
    Frame Take();
    /// Bytes of memory that an unfinished long frame holds.
    size_t HeldBytes() const { return mLong.Capacity(); }

  private:
    std::span<const uint8_t> Waiting() const { return {mShort.get() + mBegin, mEnd - mBegin}; }
    State BeginLong(const FrameHeader& header);

    /// Short frames, several at a time, and the beginning of a long one.
    std::unique_ptr<uint8_t[]> mShort;
    size_t mBegin = 0;
    size_t mEnd = 0;
    /// The payload of a frame that does not fit there; read straight into its final place.
    std::optional<FrameHeader> mLongHeader;
    GrowingBuffer mLong;
    size_t mReceived = 0;
};

/// A frame on its way out. The payload stays the caller's.
class OutgoingFrame {
  public:
    enum class Progress { kDone, kBlocked, kBroken };

    OutgoingFrame(const FrameHeader& header, std::span<const uint8_t> payload)
        : mHeader(EncodeHeader(header)), mPayload(payload) {}
    /// Sends as much as the socket takes now.
    Progress Send(int socket);
    bool IsBegun() const { return mSent > 0; }
    /// Puts what was not sent yet behind `bytes`.
    template <typename Bytes>
    void AppendRest(Bytes& bytes) const {
        const size_t ofHeader = std::min(mSent, mHeader.size());
        const auto rest = mPayload.subspan(mSent - ofHeader);
        bytes.insert(bytes.end(), mHeader.begin() + static_cast<std::ptrdiff_t>(ofHeader),
                     mHeader.end());
        bytes.insert(bytes.end(), rest.begin(), rest.end());
    }

  private:
    const std::array<uint8_t, kFrameHeaderBytes> mHeader;
    const std::span<const uint8_t> mPayload;
    size_t mSent = 0;
};

}  // namespace kivo
