#include "desktop/Text.h"

#include <cstddef>

namespace kivo::desktop {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/// What may follow a lead byte: how many bytes, and the bounds of the first of them, which are
/// narrower where a longer form, a surrogate or a code above U+10FFFF would begin. The Unicode
/// Standard, table 3-7.
struct Tail {
    std::size_t length;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
};

Tail TailOf(unsigned char lead) {
    if (lead >= 0xC2 && lead <= 0xDF) return {1};
    if (lead == 0xE0) return {2, 0xA0, 0xBF};
    if (lead == 0xED) return {2, 0x80, 0x9F};
    if (lead >= 0xE1 && lead <= 0xEF) return {2};
    if (lead == 0xF0) return {3, 0x90, 0xBF};
    if (lead >= 0xF1 && lead <= 0xF3) return {3};
    if (lead == 0xF4) return {3, 0x80, 0x8F};
    return {0};
}

struct Piece {
    std::size_t length;
    bool valid;
};

/// The well-formed character, or the maximal subpart of an ill-formed one, that `bytes` begin with.
Piece NextPiece(std::string_view bytes) {
    const auto at = [bytes](std::size_t index) { return static_cast<unsigned char>(bytes[index]); };
    if (at(0) < 0x80) return {1, true};
    const Tail tail = TailOf(at(0));
    std::size_t length = 1;
    while (length <= tail.length && length < bytes.size()) {
        const unsigned char low = length == 1 ? tail.low : 0x80;
        const unsigned char high = length == 1 ? tail.high : 0xBF;
        if (at(length) < low || at(length) > high) break;
        ++length;
    }
    return {length, tail.length > 0 && length == tail.length + 1};
}

}  // namespace

std::string ValidUTF8(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const Piece piece = NextPiece(bytes);
        text += piece.valid ? bytes.substr(0, piece.length) : kReplacement;
        bytes.remove_prefix(piece.length);
    }
    return text;
}

std::string FromLatin1(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        if (code < 0x80) {
            text += byte;
        } else {
            text += static_cast<char>(0xC0 | (code >> 6));
            text += static_cast<char>(0x80 | (code & 0x3F));
        }
    }
    return text;
}

}  // namespace kivo::desktop
