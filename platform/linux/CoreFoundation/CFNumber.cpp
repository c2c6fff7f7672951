#include <CoreFoundation/CFNumber.h>
#include <CoreFoundation/CFRuntime.h>

#include <cmath>
#include <compare>
#include <cstdio>
#include <cstring>
#include <limits>
#include <optional>
#include <variant>

struct __CFBoolean final : public kivo::CFObject {
  public:
    constexpr explicit __CFBoolean(bool value) : CFObject(Immortal{}), mValue(value) {}

    CFTypeID TypeID() const override { return CFBooleanGetTypeID(); }
    CFHashCode Hash() const override { return mValue ? 1 : 0; }
    std::string Description() const override { return mValue ? "true" : "false"; }

    bool Value() const { return mValue; }

  private:
    bool mValue;
};

/// An integer or a floating point number; which of the two, decides the type it was made with.
struct __CFNumber final : public kivo::CFObject {
  public:
    using Value = std::variant<SInt64, Float64>;

    explicit __CFNumber(Value value) : mValue(value) {}

    CFTypeID TypeID() const override { return CFNumberGetTypeID(); }
    bool Equal(const CFObject& other) const override;
    CFHashCode Hash() const override;
    std::string Description() const override;

    const Value& Get() const { return mValue; }
    bool IsFloat() const { return std::holds_alternative<Float64>(mValue); }
    Float64 AsFloat() const {
        return std::visit([](auto value) { return static_cast<Float64>(value); }, mValue);
    }

  private:
    Value mValue;
};

namespace {

constinit kivo::Forever<__CFBoolean> gTrue(true);
constinit kivo::Forever<__CFBoolean> gFalse(false);

/// 2^63, the first value past the largest 64-bit integer.
constexpr Float64 kIntegerEnd = 9223372036854775808.0;

bool IsInteger(Float64 value) {
    return value >= -kIntegerEnd && value < kIntegerEnd && std::trunc(value) == value;
}

std::partial_ordering CompareMixed(SInt64 integer, Float64 real) {
    if (std::isnan(real)) return std::partial_ordering::unordered;
    if (real >= kIntegerEnd) return std::partial_ordering::less;
    if (real < -kIntegerEnd) return std::partial_ordering::greater;
    const auto whole = static_cast<SInt64>(real);
    if (integer != whole) return integer <=> whole;
    return std::trunc(real) <=> real;
}

std::partial_ordering Compare(const __CFNumber::Value& one, const __CFNumber::Value& other) {
    if (one.index() == other.index()) return one <=> other;
    if (const auto* integer = std::get_if<SInt64>(&one))
        return CompareMixed(*integer, std::get<Float64>(other));
    const auto reverse = CompareMixed(std::get<SInt64>(other), std::get<Float64>(one));
    if (std::is_lt(reverse)) return std::partial_ordering::greater;
    return std::is_gt(reverse) ? std::partial_ordering::less : reverse;
}

template <typename T>
__CFNumber::Value Load(const void* place) {
    T value;
    std::memcpy(&value, place, sizeof value);
    if constexpr (std::is_floating_point_v<T>) return static_cast<Float64>(value);
    return static_cast<SInt64>(value);
}

template <typename T>
T NearestInteger(Float64 value) {
    using Limits = std::numeric_limits<T>;
    if (std::isnan(value)) return 0;
    if (value <= static_cast<Float64>(Limits::min())) return Limits::min();
    if (value >= static_cast<Float64>(Limits::max())) return Limits::max();
    return static_cast<T>(value);
}

template <typename T>
T NearestInteger(SInt64 value) {
    using Limits = std::numeric_limits<T>;
    if (value < SInt64{Limits::min()}) return Limits::min();
    if (value > SInt64{Limits::max()}) return Limits::max();
    return static_cast<T>(value);
}

/// Writes the value as T; whether nothing was lost.
template <typename T>
bool Store(const __CFNumber::Value& source, void* place) {
    T value;
    if constexpr (std::is_floating_point_v<T>)
        value = std::visit([](auto number) { return static_cast<T>(number); }, source);
    else
        value = std::visit([](auto number) { return NearestInteger<T>(number); }, source);
    std::memcpy(place, &value, sizeof value);
    return std::is_eq(Compare(Load<T>(place), source));
}

/// Calls `action` with a value of the C type that a number type stands for; none if unknown.
template <typename Action>
auto WithType(CFNumberType type, Action action) -> std::optional<decltype(action(SInt64{}))> {
    switch (type) {
        case kCFNumberSInt8Type:
        case kCFNumberCharType:
            return action(int8_t{});
        case kCFNumberSInt16Type:
        case kCFNumberShortType:
            return action(SInt16{});
        case kCFNumberSInt32Type:
        case kCFNumberIntType:
            return action(SInt32{});
        case kCFNumberSInt64Type:
        case kCFNumberLongType:
        case kCFNumberLongLongType:
        case kCFNumberCFIndexType:
        case kCFNumberNSIntegerType:
            return action(SInt64{});
        case kCFNumberFloat32Type:
        case kCFNumberFloatType:
            return action(Float32{});
        case kCFNumberFloat64Type:
        case kCFNumberDoubleType:
        case kCFNumberCGFloatType:
            return action(Float64{});
        default:
            return std::nullopt;
    }
}

}  // namespace

bool __CFNumber::Equal(const CFObject& other) const {
    return std::is_eq(Compare(mValue, static_cast<const __CFNumber&>(other).mValue));
}

CFHashCode __CFNumber::Hash() const {
    // Equal numbers hash alike whatever they were made as.
    const Float64 value = AsFloat();
    if (!IsFloat() || IsInteger(value))
        return static_cast<CFHashCode>(IsFloat() ? static_cast<SInt64>(value)
                                                 : std::get<SInt64>(mValue));
    return std::hash<Float64>()(value);
}

std::string __CFNumber::Description() const {
    if (!IsFloat()) return std::to_string(std::get<SInt64>(mValue));
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", std::get<Float64>(mValue));
    return text;
}

const CFBooleanRef kCFBooleanTrue = &gTrue.object;
const CFBooleanRef kCFBooleanFalse = &gFalse.object;

CFTypeID CFBooleanGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("CFBoolean");
    return id;
}

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
    return boolean->Value();
}

CFTypeID CFNumberGetTypeID() {
    static const CFTypeID id = kivo::RegisterType("CFNumber");
    return id;
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType theType, const void* valuePtr) {
    const auto value =
        WithType(theType, [valuePtr](auto sample) { return Load<decltype(sample)>(valuePtr); });
    return value ? new __CFNumber(*value) : nullptr;
}

CFNumberType CFNumberGetType(CFNumberRef number) {
    return number->IsFloat() ? kCFNumberFloat64Type : kCFNumberSInt64Type;
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
    return number->IsFloat();
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr) {
    return WithType(theType,
                    [&](auto sample) { return Store<decltype(sample)>(number->Get(), valuePtr); })
        .value_or(false);
}

CFComparisonResult CFNumberCompare(CFNumberRef number, CFNumberRef otherNumber, void*) {
    const std::partial_ordering order = Compare(number->Get(), otherNumber->Get());
    if (std::is_eq(order)) return kCFCompareEqualTo;
    return std::is_lt(order) ? kCFCompareLessThan : kCFCompareGreaterThan;
}
