#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CFRef.h"

namespace kivo::ctl {

/// The string that UTF-8 text stands for. `what` names the text ("the title") in the UsageFailure
/// that bytes which are not UTF-8, or a zero character inside, give.
CFRef<CFStringRef> MakeString(std::string_view text, std::string_view what);

/// A string as UTF-8; empty when it is not valid text.
std::string Utf8Of(CFStringRef string);

/// The UTF-16 units of a string.
std::vector<UniChar> UnitsOf(CFStringRef string);

/// UTF-8 text in the system encoding, in which keys and identifiers travel. Throws UsageFailure
/// when it cannot be expressed.
std::string ToSystemEncoding(std::string_view text, std::string_view what);

/// Bytes in the system encoding as UTF-8; nothing when they are not valid in it.
std::optional<std::string> FromSystemEncoding(std::string_view bytes);

/// Text from outside as it may be shown on a terminal: control characters are written as \xNN.
std::string Printable(std::string_view text);

/// Reads a code of exactly four ASCII characters. Throws UsageFailure.
SInt32 ParseCode(std::string_view text);

/// Two digits a byte, with `separator` between bytes.
std::string Hex(std::span<const UInt8> bytes, std::string_view separator = "");

/// The bytes of a data object, lent for as long as it lives.
std::span<const UInt8> BytesOf(CFDataRef data);

}  // namespace kivo::ctl
