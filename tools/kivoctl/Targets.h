#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CFRef.h"

namespace kivo::ctl {

/// One candidate window as people write it; all text is UTF-8.
struct Target {
    std::string titleKey;
    std::optional<std::string> title;         ///< Text for `titleChars`; the key when absent.
    std::optional<std::string> altTitle;      ///< The alternate key, if there is an alternate.
    std::optional<std::string> altTitleText;  ///< Text for `altTitleChars`; that key when absent.
    double auxValue1 = 0;
    double auxValue2 = 0;
    UInt8 auxByte = 0;
    bool auxFlag = false;
};

/// Reads a JSON array of objects whose keys are the members of `Target`; only "titleKey" is needed.
/// Throws UsageFailure that begins with `source`, the name of the file, and says which record.
std::vector<Target> ReadTargets(std::string_view json, const std::string& source);

/// The message that asks for these windows, cut to its reserved size as the format has it. Fills
/// the alternate text with zero units where it is too short to shield the alternate key from the
/// cut. Throws UsageFailure for what the format or the link cannot carry.
CFRef<CFDataRef> EncodeTargets(const std::vector<Target>& targets);

}  // namespace kivo::ctl
