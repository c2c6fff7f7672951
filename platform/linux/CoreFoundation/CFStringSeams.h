#pragma once

// Inside of the layer only, never installed: strings as the rest of the layer makes and reads them.

#include <CoreFoundation/CFRuntime.h>
#include <CoreFoundation/CFString.h>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

/// A string: UTF-16 units, its own or, for constants, those of a literal.
struct __CFString final : public kivo::CFObject {
  public:
    explicit __CFString(std::u16string_view units);
    /// A constant over a literal, made at compile time.
    template <size_t kSize>
    constexpr __CFString(kivo::CFObject::Immortal immortal, const char16_t (&literal)[kSize])
        : CFObject(immortal), mUnits(literal, kSize - 1), mIsASCII(AllASCII(mUnits)) {}

    CFTypeID TypeID() const override { return CFStringGetTypeID(); }
    bool Equal(const CFObject& other) const override;
    CFHashCode Hash() const override;
    std::string Description() const override;

    std::u16string_view Units() const { return mUnits; }
    bool IsASCII() const { return mIsASCII; }

    static constexpr Immortal kConstant{};

  private:
    static constexpr bool AllASCII(std::u16string_view units) {
        return std::all_of(units.begin(), units.end(), [](char16_t unit) { return unit < 0x80; });
    }

    std::unique_ptr<char16_t[]> mOwnUnits;
    std::u16string_view mUnits;
    bool mIsASCII;
};

namespace kivo {

/// A constant string that exists before any code runs:
///
///     constinit ConstantString gDefaultMode(__CFString::kConstant, u"kCFRunLoopDefaultMode");
///     const CFStringRef kCFRunLoopDefaultMode = &gDefaultMode.object;
using ConstantString = Forever<__CFString>;

/// A string of UTF-16 units. Create rule.
CFStringRef CreateString(std::u16string_view units);

/// A string of UTF-8 bytes from outside, with U+FFFD for what is not valid. Create rule.
CFStringRef CreateStringFromUtf8(std::string_view bytes);

/// The text as UTF-8, with U+FFFD for an unpaired surrogate.
std::string Utf8Of(CFStringRef string);

}  // namespace kivo
