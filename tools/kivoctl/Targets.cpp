#include "tools/kivoctl/Targets.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <nlohmann/json.hpp>

#include "ZYNCommon/PayloadCheck.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "tools/kivoctl/Entries.h"
#include "tools/kivoctl/Failure.h"
#include "tools/kivoctl/Text.h"

namespace kivo::ctl {

namespace {

using nlohmann::json;

/// What a message port carries at the most.
constexpr UInt64 kMostBytes = UInt64{128} << 20;

// Reading JSON.

bool ReadString(const json& value, std::string* text) {
    if (value.is_string()) *text = value.get<std::string>();
    return value.is_string();
}

bool ReadString(const json& value, std::optional<std::string>* text) {
    return ReadString(value, &text->emplace());
}

bool ReadDouble(const json& value, double* number) {
    if (value.is_number()) *number = value.get<double>();
    return value.is_number();
}

bool ReadByte(const json& value, UInt8* byte) {
    if (!value.is_number_unsigned() || value.get<UInt64>() > 0xFF) return false;
    *byte = value.get<UInt8>();
    return true;
}

bool ReadFlag(const json& value, bool* flag) {
    if (value.is_boolean()) *flag = value.get<bool>();
    return value.is_boolean();
}

struct Field {
    std::string_view key;
    const char* wanted;
    bool (*read)(const json& value, Target* target);
};

constexpr std::array kFields = {
    Field{"titleKey", "a string", [](auto& v, auto* t) { return ReadString(v, &t->titleKey); }},
    Field{"title", "a string", [](auto& v, auto* t) { return ReadString(v, &t->title); }},
    Field{"altTitle", "a string", [](auto& v, auto* t) { return ReadString(v, &t->altTitle); }},
    Field{"altTitleText", "a string",
          [](auto& v, auto* t) { return ReadString(v, &t->altTitleText); }},
    Field{"auxValue1", "a number", [](auto& v, auto* t) { return ReadDouble(v, &t->auxValue1); }},
    Field{"auxValue2", "a number", [](auto& v, auto* t) { return ReadDouble(v, &t->auxValue2); }},
    Field{"auxByte", "a whole number from 0 to 255",
          [](auto& v, auto* t) { return ReadByte(v, &t->auxByte); }},
    Field{"auxFlag", "true or false", [](auto& v, auto* t) { return ReadFlag(v, &t->auxFlag); }},
};

Target ReadTarget(const json& object, const std::string& where) {
    if (!object.is_object()) throw UsageFailure(where + " is not an object");
    if (!object.contains("titleKey")) throw UsageFailure(where + " has no \"titleKey\"");
    Target target;
    for (const auto& [key, value] : object.items()) {
        const auto field = FindEntry(kFields, key, &Field::key);
        const std::string name = where + ": \"" + Printable(key) + '"';
        if (field == kFields.end()) throw UsageFailure(name + " is not a field of a record");
        if (!field->read(value, &target)) throw UsageFailure(name + " must be " + field->wanted);
    }
    return target;
}

json ParseJson(std::string_view text, const std::string& source) {
    try {
        return json::parse(text);
    } catch (const json::exception& error) {
        std::string reason = error.what();
        // The library puts its own name and number in brackets before the reason.
        if (const size_t end = reason.find("] "); end != std::string::npos)
            reason.erase(0, end + 2);
        throw UsageFailure(source + " is not valid JSON: " + Printable(reason));
    }
}

// Filling records.

template <size_t kSize>
void FillKey(const std::string& text, const std::string& what, char (&field)[kSize]) {
    const std::string bytes = ToSystemEncoding(text, what);
    if (bytes.empty()) throw UsageFailure(what + " is empty; an empty text is found in no title");
    if (bytes.size() >= kSize) {
        throw UsageFailure(what + " has " + std::to_string(bytes.size()) + " bytes; it can have " +
                           std::to_string(kSize - 1));
    }
    std::memcpy(field, bytes.c_str(), bytes.size() + 1);
}

/// Returns the number of units written.
template <typename Unit, size_t kSize>
size_t FillText(const std::string& text, const std::string& what, Unit (&field)[kSize]) {
    const std::vector<UniChar> units = UnitsOf(MakeString(text, what).Get());
    if (units.size() > kSize) {
        throw UsageFailure(what + " has " + std::to_string(units.size()) +
                           " UTF-16 units; it can have " + std::to_string(kSize));
    }
    std::copy(units.begin(), units.end(), field);
    return units.size();
}

/// A message can lack as many bytes at its end as the last alternate key has with its 0. They must
/// come out of what follows that key, its length field of 4 bytes and its text of 2 bytes a unit;
/// only a key with long characters, such as Japanese, has a text that is too short for it.
size_t UnitsThatShield(const char* altTitle) {
    const size_t cut = std::strlen(altTitle) + 1;
    return cut <= 4 ? 0 : (cut - 4 + 1) / 2;
}

void FillAlternate(const Target& target, const std::string& where,
                   ZYN_Driver_TargetWindowInfo* record) {
    if (!target.altTitle) {
        if (target.altTitleText) throw UsageFailure(where + "'s altTitleText needs an altTitle");
        return;
    }
    record->hasAltTitle = true;
    FillKey(*target.altTitle, where + "'s alternate key", record->altTitle);
    const size_t length = FillText(target.altTitleText.value_or(*target.altTitle),
                                   where + "'s alternate title", record->altTitleChars);
    record->altTitleLength = std::max(length, UnitsThatShield(record->altTitle));
}

void FillRecord(const Target& target, const std::string& where,
                ZYN_Driver_TargetWindowInfo* record) {
    FillKey(target.titleKey, where + "'s key", record->titleKey);
    record->titleLength =
        FillText(target.title.value_or(target.titleKey), where + "'s title", record->titleChars);
    record->auxValue1 = target.auxValue1;
    record->auxValue2 = target.auxValue2;
    record->auxByte = target.auxByte;
    record->auxFlag = target.auxFlag;
    FillAlternate(target, where, record);
}

/// The size that the format reserves, which grows with the square of the number of records: each
/// record counts once for itself and once for every record behind it.
UInt64 ReservedSize(std::vector<ZYN_Driver_TargetWindowInfo>& records) {
    STargetWindowRequestSpec sizer;
    UInt64 running = 0;
    UInt64 size = 4;
    for (auto& record : records) {
        running += sizer.CalcInfoFieldSize(&record);
        size += running;
    }
    return size;
}

void CheckCount(size_t count) {
    if (count == 0) throw UsageFailure("the list of targets is empty: name at least one");
    if (count > kMaxTargetWindowRecords) {
        throw UsageFailure("there are " + std::to_string(count) + " targets; a list can have " +
                           std::to_string(kMaxTargetWindowRecords));
    }
}

}  // namespace

std::vector<Target> ReadTargets(std::string_view json, const std::string& source) {
    const nlohmann::json list = ParseJson(json, source);
    if (!list.is_array()) throw UsageFailure(source + " does not hold an array of records");
    std::vector<Target> targets;
    for (const auto& object : list) {
        targets.push_back(
            ReadTarget(object, source + ": record " + std::to_string(targets.size())));
    }
    return targets;
}

CFRef<CFDataRef> EncodeTargets(const std::vector<Target>& targets) {
    CheckCount(targets.size());
    std::vector<ZYN_Driver_TargetWindowInfo> records(targets.size());
    for (size_t i = 0; i < targets.size(); ++i) {
        FillRecord(targets[i], "target " + std::to_string(i), &records[i]);
    }
    if (const UInt64 size = ReservedSize(records); size > kMostBytes) {
        throw UsageFailure("the list of targets takes " + std::to_string(size >> 20) +
                           " MiB, which grows with the square of its length; a message can have " +
                           std::to_string(kMostBytes >> 20) + " MiB");
    }
    STargetWindowRequestSpec spec(records.data(), static_cast<unsigned int>(records.size()));
    const unsigned char* const bytes = spec.Serialize();
    return Adopt(CFDataCreate(kCFAllocatorDefault, bytes, spec.SerialBufferSize()));
}

}  // namespace kivo::ctl
