#include <CoreFoundation/MessageFrame.h>
#include <errno.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace kivo {
namespace {

constexpr uint8_t kMagic[] = {'K', 'P'};
constexpr uint8_t kVersion = 1;
/// Frames up to this size, headers included, are read together.
constexpr size_t kShortBytes = 4096;
/// The least that the buffer of a long payload grows to, so that most need one step.
constexpr size_t kFirstLongBytes = 256 * 1024;

void Store(uint8_t* place, uint32_t value) {
    for (int i = 0; i < 4; ++i)
        place[i] = static_cast<uint8_t>(value >> (8 * i));
}

uint32_t Load(const uint8_t* place) {
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i)
        value = value << 8 | place[i];
    return value;
}

}  // namespace

std::array<uint8_t, kFrameHeaderBytes> EncodeHeader(const FrameHeader& header) {
    std::array<uint8_t, kFrameHeaderBytes> bytes{kMagic[0], kMagic[1], kVersion,
                                                 static_cast<uint8_t>(header.kind)};
    Store(&bytes[4], header.conversation);
    Store(&bytes[8], static_cast<uint32_t>(header.msgid));
    Store(&bytes[12], header.length);
    return bytes;
}

std::optional<FrameHeader> DecodeHeader(std::span<const uint8_t> bytes) {
    const bool isOurs = bytes[0] == kMagic[0] && bytes[1] == kMagic[1] && bytes[2] == kVersion;
    const FrameHeader header{static_cast<FrameKind>(bytes[3]), Load(&bytes[4]),
                             static_cast<int32_t>(Load(&bytes[8])), Load(&bytes[12])};
    const bool isKnown = header.kind >= FrameKind::kOneWay && header.kind <= FrameKind::kReply;
    if (!isOurs || !isKnown || header.length > kLongestPayload) return std::nullopt;
    return header;
}

std::span<uint8_t> FrameReader::Space() {
    if (mLongHeader) {
        const size_t wanted =
            std::min<size_t>(mLongHeader->length, std::max(2 * mReceived, kFirstLongBytes));
        if (mReceived == mLong.Capacity() && !mLong.Resize(wanted)) return {};
        const size_t end = std::min<size_t>(mLongHeader->length, mLong.Capacity());
        return {mLong.Bytes() + mReceived, end - mReceived};
    }
    if (!mShort) mShort = std::make_unique_for_overwrite<uint8_t[]>(kShortBytes);
    if (mBegin > 0) {
        std::memmove(mShort.get(), mShort.get() + mBegin, mEnd - mBegin);
        mEnd -= std::exchange(mBegin, 0);
    }
    return {mShort.get() + mEnd, kShortBytes - mEnd};
}

void FrameReader::Commit(size_t count) {
    (mLongHeader ? mReceived : mEnd) += count;
}

FrameReader::State FrameReader::Check() {
    if (mLongHeader) {
        return mReceived == mLongHeader->length ? State::kFrame : State::kIncomplete;
    }
    const auto waiting = Waiting();
    if (waiting.size() < kFrameHeaderBytes) return State::kIncomplete;
    const auto header = DecodeHeader(waiting);
    if (!header) return State::kMalformed;
    const size_t frameBytes = kFrameHeaderBytes + header->length;
    if (waiting.size() >= frameBytes) return State::kFrame;
    return frameBytes > kShortBytes ? BeginLong(*header) : State::kIncomplete;
}

/// Moves the beginning of a long payload to where the rest will be read.
FrameReader::State FrameReader::BeginLong(const FrameHeader& header) {
    const auto begun = Waiting().subspan(kFrameHeaderBytes);
    if (header.length > kFirstLongBytes) mLong = SpareBuffer::Take();
    const size_t least = std::min<size_t>(header.length, kFirstLongBytes);
    if (mLong.Capacity() < least && !mLong.Resize(least)) return State::kMalformed;
    std::copy(begun.begin(), begun.end(), mLong.Bytes());
    mReceived = begun.size();
    mBegin = mEnd = 0;
    mLongHeader = header;
    return State::kIncomplete;
}

Frame FrameReader::Take() {
    if (mLongHeader) {
        Frame frame{*mLongHeader, {mLong.Bytes(), mReceived}, std::move(mLong)};
        mLongHeader.reset();
        return frame;
    }
    const auto waiting = Waiting();
    const FrameHeader header = *DecodeHeader(waiting);
    mBegin += kFrameHeaderBytes + header.length;
    return {header, waiting.subspan(kFrameHeaderBytes, header.length), GrowingBuffer()};
}

OutgoingFrame::Progress OutgoingFrame::Send(int socket) {
    while (mSent < mHeader.size() + mPayload.size()) {
        const size_t ofHeader = std::min(mSent, mHeader.size());
        const size_t ofPayload = mSent - ofHeader;
        iovec parts[] = {
            {const_cast<uint8_t*>(mHeader.data()) + ofHeader, mHeader.size() - ofHeader},
            {const_cast<uint8_t*>(mPayload.data()) + ofPayload, mPayload.size() - ofPayload}};
        msghdr message{};
        message.msg_iov = parts;
        message.msg_iovlen = 2;
        const ssize_t sent = sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0) {
            mSent += static_cast<size_t>(sent);
        } else if (errno != EINTR) {
            return errno == EAGAIN ? Progress::kBlocked : Progress::kBroken;
        }
    }
    return Progress::kDone;
}

}  // namespace kivo
