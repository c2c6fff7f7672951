#include "desktop/x11/CompoundText.h"

#include <iconv.h>

#include <algorithm>
#include <cstdint>

#include "desktop/Text.h"

namespace kivo::desktop::x11 {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr char kEscape = '\x1B';

/// A character set as an escape sequence puts it into the lower or the upper half of the bytes.
/// `encoding`, which iconv knows, holds it in the upper half; null for one that is not supported.
struct Designation {
    std::string_view sequence;  ///< what follows the escape character
    bool upper;
    const char* encoding;
};

constexpr const char* kASCII = "ASCII";

constexpr Designation kDesignations[] = {
    {"(B", false, kASCII},       {"(J", false, kASCII},  // JIS Roman: two characters differ
    {"-A", true, "ISO-8859-1"},  {"-B", true, "ISO-8859-2"},  {"-C", true, "ISO-8859-3"},
    {"-D", true, "ISO-8859-4"},  {"-F", true, "ISO-8859-7"},  {"-G", true, "ISO-8859-6"},
    {"-H", true, "ISO-8859-8"},  {"-L", true, "ISO-8859-5"},  {"-M", true, "ISO-8859-9"},
    {"-V", true, "ISO-8859-10"}, {"-T", true, "ISO-8859-11"}, {"-Y", true, "ISO-8859-13"},
    {"-_", true, "ISO-8859-14"}, {"-b", true, "ISO-8859-15"}, {"-f", true, "ISO-8859-16"},
    {")I", true, "SHIFT_JIS"},  // half-width katakana
    {"$(A", false, "EUC-CN"},    {"$)A", true, "EUC-CN"},     {"$(B", false, "EUC-JP"},
    {"$)B", true, "EUC-JP"},     {"$(C", false, "EUC-KR"},    {"$)C", true, "EUC-KR"},
};

/// One conversion by iconv, ended when it goes.
class Converter {
  public:
    explicit Converter(const char* encoding) : mHandle(iconv_open("UTF-8", encoding)) {}
    ~Converter() {
        if (IsValid()) iconv_close(mHandle);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    /// The text of a run; what cannot be converted becomes one U+FFFD and ends it.
    std::string Convert(std::string run) {
        std::string text(run.size() * 4, '\0');
        char* in = run.data();
        std::size_t inLeft = run.size();
        char* out = text.data();
        std::size_t outLeft = text.size();
        const bool whole = IsValid() && iconv(mHandle, &in, &inLeft, &out, &outLeft) !=
                                            static_cast<std::size_t>(-1);
        text.resize(text.size() - outLeft);
        if (!whole) text += kReplacement;
        return text;
    }

  private:
    bool IsValid() const { return mHandle != reinterpret_cast<iconv_t>(std::intptr_t{-1}); }

    const iconv_t mHandle;
};

class Decoder {
  public:
    explicit Decoder(std::string_view bytes) : mRest(bytes) {}

    std::string Text() {
        while (!mRest.empty()) {
            if (mRest.front() == kEscape) {
                TakeEscape();
            } else if (mRest.front() == '\x9B') {
                TakeDirection();
            } else {
                TakeRun();
            }
        }
        return std::move(mText);
    }

  private:
    static bool IsUpper(char byte) { return static_cast<unsigned char>(byte) >= 0x80; }

    /// Bytes of one half up to the next control sequence. Control characters belong to the lower.
    void TakeRun() {
        const bool upper = IsUpper(mRest.front());
        const auto end = std::find_if(mRest.begin(), mRest.end(), [upper](char byte) {
            return byte == kEscape || byte == '\x9B' || IsUpper(byte) != upper;
        });
        std::string run(mRest.begin(), end);
        mRest.remove_prefix(run.size());
        Append(std::move(run), upper ? mUpper : mLower);
    }

    void Append(std::string run, const char* encoding) {
        if (encoding == kASCII) {
            mText += run;
        } else if (encoding == nullptr) {
            mText += kReplacement;
        } else {
            for (char& byte : run) {
                byte = static_cast<char>(byte | '\x80');
            }
            mText += Converter(encoding).Convert(std::move(run));
        }
    }

    void TakeEscape() {
        mRest.remove_prefix(1);
        if (TakePrefix("%G")) return TakeUTF8();
        if (TakePrefix("%/")) return SkipExtendedSegment();
        for (const Designation& one : kDesignations) {
            if (!TakePrefix(one.sequence)) continue;
            (one.upper ? mUpper : mLower) = one.encoding;
            return;
        }
        TakeUnknownDesignation();
    }

    bool TakePrefix(std::string_view prefix) {
        if (!mRest.starts_with(prefix)) return false;
        mRest.remove_prefix(prefix.size());
        return true;
    }

    void TakeUTF8() {
        constexpr std::string_view kEnd = "\x1B%@";
        const std::size_t end = mRest.find(kEnd);
        mText += ValidUTF8(mRest.substr(0, end));
        mRest.remove_prefix(end == std::string_view::npos ? mRest.size() : end + kEnd.size());
    }

    /// Segments of an encoding that is named in them: F, then two bytes that give the length.
    void SkipExtendedSegment() {
        mText += kReplacement;
        std::size_t length = 3;
        if (mRest.size() >= length) {
            length += (static_cast<unsigned char>(mRest[1]) & 0x7Fu) * 128u +
                      (static_cast<unsigned char>(mRest[2]) & 0x7Fu);
        }
        mRest.remove_prefix(std::min(length, mRest.size()));
    }

    /// Intermediate bytes and a final one (ISO 2022). Which half they meant is told by the last
    /// intermediate byte.
    void TakeUnknownDesignation() {
        const auto isIntermediate = [](char byte) { return byte >= 0x20 && byte <= 0x2F; };
        const auto final = std::find_if_not(mRest.begin(), mRest.end(), isIntermediate);
        const auto count = static_cast<std::size_t>(final - mRest.begin());
        const bool lower = count > 0 && (mRest[count - 1] == '(' || mRest[count - 1] == '$');
        (lower ? mLower : mUpper) = nullptr;
        mRest.remove_prefix(std::min(count + 1, mRest.size()));
    }

    /// A change of the writing direction, which a plain text does not show.
    void TakeDirection() {
        const std::size_t end = mRest.find(']');
        mRest.remove_prefix(end == std::string_view::npos ? 1 : end + 1);
    }

    std::string_view mRest;
    std::string mText;
    const char* mLower = kASCII;
    const char* mUpper = "ISO-8859-1";
};

}  // namespace

std::string FromCompoundText(std::string_view bytes) {
    return Decoder(bytes).Text();
}

}  // namespace kivo::desktop::x11
