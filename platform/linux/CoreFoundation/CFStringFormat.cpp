// Formatted strings: each conversion is read here, and printed by the C library one at a time.

#include <CoreFoundation/CFStringSeams.h>
#include <CoreFoundation/TextEncoding.h>

#include <cstdio>

namespace {

using Text = std::u16string;
using TextView = std::u16string_view;

/// A list of arguments as an object, since the type itself may be an array.
class Arguments {
  public:
    explicit Arguments(va_list list) { va_copy(mList, list); }
    ~Arguments() { va_end(mList); }
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    template <typename T>
    T Next() {
        return va_arg(mList, T);
    }

  private:
    va_list mList;
};

/// One conversion, such as "%-8.3lx".
struct Conversion {
    /// "%" with flags, width and precision.
    std::string prefix = "%";
    /// "l", "hh" and so on, or empty.
    std::string modifier;
    /// NUL when the format ends before one.
    char letter = '\0';
};

/// Reads a format unit by unit; what is not ASCII reads as NUL.
class FormatReader {
  public:
    explicit FormatReader(TextView format) : mRest(format) {}

    bool IsAtEnd() const { return mRest.empty(); }
    char Peek() const {
        return !mRest.empty() && mRest[0] < 0x80 ? static_cast<char>(mRest[0]) : '\0';
    }
    char Take() {
        const char next = Peek();
        if (next != '\0') mRest.remove_prefix(1);
        return next;
    }
    std::string TakeAllOf(std::string_view set) {
        std::string taken;
        while (Peek() != '\0' && set.find(Peek()) != set.npos)
            taken += Take();
        return taken;
    }
    /// The text up to the next "%", which is passed over too.
    TextView TakeLiteral() {
        const TextView literal = mRest.substr(0, mRest.find(u'%'));
        mRest.remove_prefix(std::min(literal.size() + 1, mRest.size()));
        return literal;
    }

  private:
    TextView mRest;
};

/// Puts arguments in the places of "*". A negative precision counts as none.
std::string ResolveStars(const std::string& prefix, Arguments& arguments) {
    std::string resolved;
    for (const char character : prefix) {
        if (character != '*') {
            resolved += character;
            continue;
        }
        const int value = arguments.Next<int>();
        const bool isPrecision = !resolved.empty() && resolved.back() == '.';
        if (isPrecision && value < 0)
            resolved.pop_back();
        else
            resolved += std::to_string(value);
    }
    return resolved;
}

Conversion ReadConversion(FormatReader& format, Arguments& arguments) {
    Conversion conversion;
    conversion.prefix += format.TakeAllOf("-+ #0'123456789.*");
    conversion.prefix = ResolveStars(conversion.prefix, arguments);
    conversion.modifier = format.TakeAllOf("hlqjztL");
    conversion.letter = format.Take();
    return conversion;
}

intmax_t NextSigned(const std::string& modifier, Arguments& arguments) {
    if (modifier == "hh") return static_cast<signed char>(arguments.Next<int>());
    if (modifier == "h") return static_cast<short>(arguments.Next<int>());
    if (modifier == "l") return arguments.Next<long>();
    if (modifier == "ll" || modifier == "q") return arguments.Next<long long>();
    if (modifier == "j") return arguments.Next<intmax_t>();
    if (modifier == "z" || modifier == "t") return arguments.Next<ptrdiff_t>();
    return arguments.Next<int>();
}

uintmax_t NextUnsigned(const std::string& modifier, Arguments& arguments) {
    if (modifier == "hh") return static_cast<unsigned char>(arguments.Next<int>());
    if (modifier == "h") return static_cast<unsigned short>(arguments.Next<int>());
    if (modifier.empty()) return arguments.Next<unsigned>();
    return static_cast<uintmax_t>(NextSigned(modifier, arguments));
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
/// `format` holds exactly one conversion, which fits the value.
template <typename T>
Text Print(const std::string& format, T value) {
    const int length = std::snprintf(nullptr, 0, format.c_str(), value);
    if (length < 0) return {};
    std::string bytes(static_cast<size_t>(length) + 1, '\0');
    std::snprintf(bytes.data(), bytes.size(), format.c_str(), value);
    bytes.pop_back();
    return kivo::DecodeUtf8Leniently(bytes);
}
#pragma GCC diagnostic pop

Text DescribeObject(CFTypeRef object) {
    if (object == nullptr) return u"(null)";
    if (CFGetTypeID(object) == CFStringGetTypeID())
        return Text(static_cast<CFStringRef>(object)->Units());
    return kivo::DecodeUtf8Leniently(kivo::AsObject(object).Description());
}

Text PrintUnits(const UniChar* units) {
    if (units == nullptr) return u"(null)";
    return Text(reinterpret_cast<const char16_t*>(units));
}

Text PrintBytes(const Conversion& conversion, const char* bytes) {
    return Print(conversion.prefix + "s", bytes != nullptr ? bytes : "(null)");
}

Text PrintFloat(const Conversion& conversion, Arguments& arguments) {
    if (conversion.modifier == "L")
        return Print(conversion.prefix + "L" + conversion.letter, arguments.Next<long double>());
    return Print(conversion.prefix + conversion.letter, arguments.Next<double>());
}

/// The text of one conversion. "%n" takes its argument and writes nothing there.
Text Convert(const Conversion& conversion, Arguments& arguments) {
    const std::string integer = conversion.prefix + "j" + conversion.letter;
    switch (conversion.letter) {
        case '@':
            return DescribeObject(arguments.Next<CFTypeRef>());
        case 'd':
        case 'i':
            return Print(integer, NextSigned(conversion.modifier, arguments));
        case 'o':
        case 'u':
        case 'x':
        case 'X':
            return Print(integer, NextUnsigned(conversion.modifier, arguments));
        case 'a':
        case 'A':
        case 'e':
        case 'E':
        case 'f':
        case 'F':
        case 'g':
        case 'G':
            return PrintFloat(conversion, arguments);
        case 'c':
            return Print(conversion.prefix + "c", arguments.Next<int>());
        case 'C':
            return Text(1, static_cast<char16_t>(arguments.Next<int>()));
        case 's':
            return PrintBytes(conversion, arguments.Next<const char*>());
        case 'S':
            return PrintUnits(arguments.Next<const UniChar*>());
        case 'p':
            return Print(conversion.prefix + "p", arguments.Next<const void*>());
        case 'n':
            arguments.Next<void*>();
            return {};
        case '%':
            return u"%";
        default:
            return {};
    }
}

Text Format(TextView format, Arguments& arguments) {
    Text result;
    FormatReader reader(format);
    while (true) {
        result += reader.TakeLiteral();
        if (reader.IsAtEnd()) return result;
        result += Convert(ReadConversion(reader, arguments), arguments);
    }
}

}  // namespace

CFStringRef CFStringCreateWithFormat(CFAllocatorRef alloc, CFDictionaryRef formatOptions,
                                     CFStringRef format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const CFStringRef result =
        CFStringCreateWithFormatAndArguments(alloc, formatOptions, format, arguments);
    va_end(arguments);
    return result;
}

CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef, CFDictionaryRef,
                                                 CFStringRef format, va_list arguments) {
    Arguments list(arguments);
    return kivo::CreateString(Format(format->Units(), list));
}
