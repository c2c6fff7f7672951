// The reader of message frames, on a stream that comes in pieces of changing size: it has to find
// the frames that a look at the whole stream finds.

#include <CoreFoundation/MessageFrame.h>

#include <cstdlib>
#include <vector>

namespace {

using kivo::FrameReader;
using Bytes = std::vector<uint8_t>;

void Require(bool holds) {
    if (!holds) std::abort();
}

/// The payloads of the whole frames in front, as the documented format has them.
std::vector<Bytes> PayloadsIn(std::span<const uint8_t> stream, bool& isMalformed) {
    std::vector<Bytes> payloads;
    while (stream.size() >= kivo::kFrameHeaderBytes) {
        const auto header = kivo::DecodeHeader(stream);
        isMalformed = !header;
        if (!header || stream.size() - kivo::kFrameHeaderBytes < header->length) break;
        const auto payload = stream.subspan(kivo::kFrameHeaderBytes, header->length);
        payloads.emplace_back(payload.begin(), payload.end());
        stream = stream.subspan(kivo::kFrameHeaderBytes + header->length);
    }
    return payloads;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::span<const uint8_t> stream(data + 1, size - 1);
    bool isMalformed = false;
    const auto expected = PayloadsIn(stream, isMalformed);

    FrameReader reader;
    std::vector<Bytes> read;
    auto state = FrameReader::State::kIncomplete;
    size_t piece = data[0];
    for (size_t at = 0; at < stream.size() && state != FrameReader::State::kMalformed;) {
        const auto space = reader.Space();
        Require(!space.empty());
        piece = piece * 5 + 1;
        const size_t count = std::min({space.size(), piece % 6000 + 1, stream.size() - at});
        std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(at), count, space.begin());
        reader.Commit(count);
        at += count;
        while ((state = reader.Check()) == FrameReader::State::kFrame) {
            const kivo::Frame frame = reader.Take();
            Require(frame.payload.size() == frame.header.length);
            read.emplace_back(frame.payload.begin(), frame.payload.end());
        }
        Require(reader.HeldBytes() <= std::max<size_t>(2 * stream.size(), 256 * 1024));
    }
    Require(read == expected);
    Require((state == FrameReader::State::kMalformed) == isMalformed);
    return 0;
}
