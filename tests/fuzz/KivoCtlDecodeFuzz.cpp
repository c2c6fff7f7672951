// Whatever arrives under whatever code is told in one line without control characters, and in JSON
// that can be read back. Input: four bytes of code, then the payload.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <span>

#include "tools/kivoctl/Decode.h"

namespace {

bool IsControl(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    SInt32 code = 0;
    if (size < sizeof code) return 0;
    std::memcpy(&code, data, sizeof code);
    const auto message =
        kivo::ctl::DecodeNotification(code, {data + sizeof code, size - sizeof code});
    if (std::ranges::any_of(message.words, IsControl)) std::abort();
    const std::string text = message.fields.dump();
    if (nlohmann::ordered_json::parse(text) != message.fields) std::abort();
    return 0;
}
