#include "tests/unit/GoldenCodecs.h"

#include <gtest/gtest.h>

#include <utility>

#include "ZYNCommon/PayloadCheck.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "platform/CFRef.h"
#include "tests/unit/TargetRecords.h"

namespace kivo::test {
namespace {

using nlohmann::json;
using Bytes = std::vector<unsigned char>;

std::u16string UnitsOf(const std::string& text) {
    const auto string = Adopt(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
    const CFIndex length = CFStringGetLength(string.Get());
    std::vector<UniChar> units(static_cast<std::size_t>(length));
    CFStringGetCharacters(string.Get(), CFRangeMake(0, length), units.data());
    return std::u16string(units.begin(), units.end());
}

std::string TextOf(const unsigned short* units, std::uint64_t count) {
    const auto string = Adopt(
        CFStringCreateWithCharacters(kCFAllocatorDefault, units, static_cast<CFIndex>(count)));
    std::vector<UInt8> bytes(3 * count);
    CFIndex used = 0;
    CFStringGetBytes(string.Get(), CFRangeMake(0, static_cast<CFIndex>(count)),
                     kCFStringEncodingUTF8, 0, false, bytes.data(),
                     static_cast<CFIndex>(bytes.size()), &used);
    return std::string(bytes.begin(), bytes.begin() + used);
}

template <typename Spec>
Codec ValueCodec(std::vector<std::pair<const char*, unsigned int Spec::*>> members) {
    return {[members](const json& fields) {
                auto spec = std::make_unique<Spec>();
                for (const auto& [name, member] : members)
                    (*spec).*member = fields.at(name);
                return spec;
            },
            [members](const unsigned char* payload) {
                Spec spec;
                spec.Deserialize(payload);
                json fields;
                for (const auto& [name, member] : members)
                    fields[name] = spec.*member;
                return fields;
            },
            PayloadIsComplete<Spec>};
}

template <typename Spec>
Codec OneValue() {
    return ValueCodec<Spec>({{"value", &Spec::value}});
}

template <typename Spec>
Codec TwoValues() {
    return ValueCodec<Spec>({{"value1", &Spec::value1}, {"value2", &Spec::value2}});
}

template <typename Spec>
Codec ThreeValues() {
    return ValueCodec<Spec>(
        {{"value1", &Spec::value1}, {"value2", &Spec::value2}, {"value3", &Spec::value3}});
}

template <typename Spec>
Codec FourValues() {
    return ValueCodec<Spec>({{"value1", &Spec::value1},
                             {"value2", &Spec::value2},
                             {"value3", &Spec::value3},
                             {"value4", &Spec::value4}});
}

std::unique_ptr<SMessageSpec> NotMade(const json&) {
    ADD_FAILURE() << "a class that is only received";
    return nullptr;
}

CGPoint OriginOf(const json& fields) {
    return {fields.at("origin").at(0), fields.at("origin").at(1)};
}

CGSize SizeOf(const json& fields) {
    return {fields.at("size").at(0), fields.at("size").at(1)};
}

const Codec kPoint = {[](const json& fields) {
                          return std::make_unique<SPointSpec>(fields.at("x").get<int>(),
                                                              fields.at("y").get<int>());
                      },
                      [](const unsigned char* payload) {
                          SPointSpec spec;
                          spec.Deserialize(payload);
                          return json{{"x", spec.x}, {"y", spec.y}};
                      },
                      PayloadIsComplete<SPointSpec>};

const Codec kPointSize = {
    [](const json& fields) {
        CGPoint origin = OriginOf(fields);
        CGSize size = SizeOf(fields);
        return std::make_unique<SPointSizeSpec>(origin, size);
    },
    [](const unsigned char* payload) {
        SPointSizeSpec spec;
        spec.Deserialize(payload);
        return json{{"x", spec.x}, {"y", spec.y}, {"width", spec.width}, {"height", spec.height}};
    },
    PayloadIsComplete<SPointSizeSpec>};

const Codec kTargetPointSize = {[](const json& fields) {
                                    CGPoint origin = OriginOf(fields);
                                    CGSize size = SizeOf(fields);
                                    const unsigned int index = fields.at("targetIndex");
                                    return std::make_unique<STargetPointSizeSpec>(index, origin,
                                                                                  size);
                                },
                                [](const unsigned char* payload) {
                                    STargetPointSizeSpec spec;
                                    spec.Deserialize(payload);
                                    return json{{"targetIndex", spec.targetIndex},
                                                {"x", spec.x},
                                                {"y", spec.y},
                                                {"width", spec.width},
                                                {"height", spec.height}};
                                },
                                PayloadIsComplete<STargetPointSizeSpec>};

const Codec kServer = {
    [](const json& fields) {
        Bytes block = FromHex(fields.at("bytes"));
        return std::make_unique<SServerSpec>(fields.at("value").get<unsigned int>(),
                                             static_cast<unsigned int>(block.size()), block.data());
    },
    [](const unsigned char* payload) {
        SServerSpec spec;
        spec.Deserialize(payload);
        return json{{"value", spec.value}, {"bytes", ToHex(spec.bytes.get(), spec.byteCount)}};
    },
    PayloadIsComplete<SServerSpec>};

const Codec kConnectStatus = {[](const json& fields) {
                                  return std::make_unique<SConnectStatusSpec>(
                                      fields.at("value").get<unsigned int>(),
                                      fields.at("status").get<unsigned char>());
                              },
                              [](const unsigned char* payload) {
                                  SConnectStatusSpec spec;
                                  spec.Deserialize(payload);
                                  return json{{"value", spec.value}, {"status", spec.status}};
                              },
                              PayloadIsComplete<SConnectStatusSpec>};

const Codec kResetSocket = {NotMade,
                            [](const unsigned char* payload) {
                                SResetSocketSpec spec;
                                spec.Deserialize(payload);
                                return json{{"name", spec.name}, {"value", spec.value}};
                            },
                            PayloadIsComplete<SResetSocketSpec>};

const Codec kLongArray = {NotMade,
                          [](const unsigned char* payload) {
                              SIncommingLongArraySpec spec;
                              spec.Deserialize(payload);
                              const std::vector<unsigned int> longs(spec.longs.get(),
                                                                    spec.longs.get() + spec.count);
                              return json{{"value", spec.value}, {"longs", longs}};
                          },
                          PayloadIsComplete<SIncommingLongArraySpec>};

const Codec kWindowRequest = {
    [](const json& fields) {
        std::string title = fields.at("title");
        return std::make_unique<SWindowRequestSpec>(title, fields.at("partialMatch").get<bool>());
    },
    [](const unsigned char* payload) {
        SWindowRequestSpec spec;
        spec.Deserialize(payload);
        return json{{"title", spec.title}, {"partialMatch", spec.partialMatch}};
    },
    PayloadIsComplete<SWindowRequestSpec>};

ZYN_Driver_TargetWindowInfo RecordOf(const json& fields) {
    auto record =
        MakeRecord(fields.at("titleKey").get<std::string>(), UnitsOf(fields.at("titleChars")));
    record.auxValue1 = fields.at("auxValue1");
    record.auxValue2 = fields.at("auxValue2");
    record.auxByte = fields.at("auxByte");
    record.auxFlag = fields.at("auxFlag");
    record.hasAltTitle = fields.at("hasAltTitle");
    if (record.hasAltTitle) {
        SetKey(record.altTitle, fields.at("altTitle").get<std::string>());
        SetText(record.altTitleChars, record.altTitleLength, UnitsOf(fields.at("altTitleChars")));
    }
    return record;
}

json FieldsOf(const ZYN_Driver_TargetWindowInfo& record) {
    json fields = {{"titleKey", record.titleKey},
                   {"titleChars", TextOf(record.titleChars, record.titleLength)},
                   {"auxValue1", record.auxValue1},
                   {"auxValue2", record.auxValue2},
                   {"auxByte", record.auxByte},
                   {"auxFlag", record.auxFlag},
                   {"hasAltTitle", record.hasAltTitle}};
    if (record.hasAltTitle) {
        fields["altTitle"] = record.altTitle;
        fields["altTitleChars"] = TextOf(record.altTitleChars, record.altTitleLength);
    }
    return fields;
}

const Codec kTargetRequest = {[](const json& fields) {
                                  std::vector<ZYN_Driver_TargetWindowInfo> records;
                                  for (const json& record : fields.at("records"))
                                      records.push_back(RecordOf(record));
                                  return std::make_unique<STargetWindowRequestSpec>(
                                      records.data(), static_cast<unsigned int>(records.size()));
                              },
                              [](const unsigned char* payload) {
                                  STargetWindowRequestSpec spec;
                                  spec.Deserialize(payload);
                                  json records = json::array();
                                  for (unsigned int i = 0; i < spec.recordCount; ++i) {
                                      records.push_back(FieldsOf(spec.records[i]));
                                  }
                                  return json{{"records", records}};
                              },
                              PayloadIsComplete<STargetWindowRequestSpec>};

}  // namespace

std::vector<unsigned char> FromHex(const std::string& text) {
    std::vector<unsigned char> bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        bytes.push_back(static_cast<unsigned char>(std::stoul(text.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

std::string ToHex(const unsigned char* bytes, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += "0123456789abcdef"[bytes[i] >> 4];
        text += "0123456789abcdef"[bytes[i] & 15];
    }
    return text;
}

const std::map<std::string, Codec>& Codecs() {
    static const std::map<std::string, Codec> codecs = {
        {"SPointSpec", kPoint},
        {"SPointSizeSpec", kPointSize},
        {"STargetPointSizeSpec", kTargetPointSize},
        {"SServerSpec", kServer},
        {"SServerPortSpec", TwoValues<SServerPortSpec>()},
        {"SControlSpec", FourValues<SControlSpec>()},
        {"SCurrentControlInfoSpec", FourValues<SCurrentControlInfoSpec>()},
        {"SPortConnectDisconnectSpec", OneValue<SPortConnectDisconnectSpec>()},
        {"SKeysetIndexSpec", OneValue<SKeysetIndexSpec>()},
        {"SBankIndexSpec", OneValue<SBankIndexSpec>()},
        {"SLayerIndexSpec", OneValue<SLayerIndexSpec>()},
        {"SOneIntSpec", OneValue<SOneIntSpec>()},
        {"STwoIntSpec", TwoValues<STwoIntSpec>()},
        {"SThreeIntSpec", ThreeValues<SThreeIntSpec>()},
        {"STrackerArmSpec", ThreeValues<STrackerArmSpec>()},
        {"SConnectStatusSpec", kConnectStatus},
        {"SResetSocketSpec", kResetSocket},
        {"SIncommingLongArraySpec", kLongArray},
        {"SWindowRequestSpec", kWindowRequest},
        {"STargetWindowRequestSpec", kTargetRequest},
    };
    return codecs;
}

}  // namespace kivo::test
