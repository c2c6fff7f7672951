#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/PayloadCheck.h"
#include "ZYNCommon/RawPayloads.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "platform/CFRef.h"
#include "tests/unit/TargetRecords.h"

/// The payload classes against tests/golden/payloads.json; tests/golden/README.md describes it.

namespace {

using nlohmann::json;
using Bytes = std::vector<unsigned char>;

Bytes FromHex(const std::string& text) {
    Bytes bytes;
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

std::u16string UnitsOf(const std::string& text) {
    const auto string = kivo::Adopt(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
    const CFIndex length = CFStringGetLength(string.Get());
    std::vector<UniChar> units(static_cast<std::size_t>(length));
    CFStringGetCharacters(string.Get(), CFRangeMake(0, length), units.data());
    return std::u16string(units.begin(), units.end());
}

std::string TextOf(const unsigned short* units, std::uint64_t count) {
    const auto string = kivo::Adopt(
        CFStringCreateWithCharacters(kCFAllocatorDefault, units, static_cast<CFIndex>(count)));
    std::vector<UInt8> bytes(3 * count);
    CFIndex used = 0;
    CFStringGetBytes(string.Get(), CFRangeMake(0, static_cast<CFIndex>(count)),
                     kCFStringEncodingUTF8, 0, false, bytes.data(),
                     static_cast<CFIndex>(bytes.size()), &used);
    return std::string(bytes.begin(), bytes.begin() + used);
}

/// How the entries of one class are made, read and checked.
struct Codec {
    std::function<std::unique_ptr<SMessageSpec>(const json& fields)> make;
    std::function<json(const unsigned char* payload)> read;
    std::function<bool(const unsigned char* payload, std::size_t length)> isComplete;
};

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
            kivo::PayloadIsComplete<Spec>};
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
                      kivo::PayloadIsComplete<SPointSpec>};

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
    kivo::PayloadIsComplete<SPointSizeSpec>};

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
                                kivo::PayloadIsComplete<STargetPointSizeSpec>};

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
    kivo::PayloadIsComplete<SServerSpec>};

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
                              kivo::PayloadIsComplete<SConnectStatusSpec>};

const Codec kResetSocket = {NotMade,
                            [](const unsigned char* payload) {
                                SResetSocketSpec spec;
                                spec.Deserialize(payload);
                                return json{{"name", spec.name}, {"value", spec.value}};
                            },
                            kivo::PayloadIsComplete<SResetSocketSpec>};

const Codec kLongArray = {NotMade,
                          [](const unsigned char* payload) {
                              SIncommingLongArraySpec spec;
                              spec.Deserialize(payload);
                              const std::vector<unsigned int> longs(spec.longs.get(),
                                                                    spec.longs.get() + spec.count);
                              return json{{"value", spec.value}, {"longs", longs}};
                          },
                          kivo::PayloadIsComplete<SIncommingLongArraySpec>};

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
    kivo::PayloadIsComplete<SWindowRequestSpec>};

ZYN_Driver_TargetWindowInfo RecordOf(const json& fields) {
    auto record = kivo::test::MakeRecord(fields.at("titleKey").get<std::string>(),
                                         UnitsOf(fields.at("titleChars")));
    record.auxValue1 = fields.at("auxValue1");
    record.auxValue2 = fields.at("auxValue2");
    record.auxByte = fields.at("auxByte");
    record.auxFlag = fields.at("auxFlag");
    record.hasAltTitle = fields.at("hasAltTitle");
    if (record.hasAltTitle) {
        kivo::test::SetKey(record.altTitle, fields.at("altTitle").get<std::string>());
        kivo::test::SetText(record.altTitleChars, record.altTitleLength,
                            UnitsOf(fields.at("altTitleChars")));
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
                              kivo::PayloadIsComplete<STargetWindowRequestSpec>};

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

class GoldenPayloads : public testing::Test {
  protected:
    void SetUp() override {
        std::ifstream file(KIVO_SOURCE_DIR "/tests/golden/payloads.json");
        ASSERT_TRUE(file) << "cannot open the golden payloads";
        mEntries = json::parse(file);
    }

    json mEntries;
};

TEST_F(GoldenPayloads, CoverEveryClassInEachOfItsDirections) {
    std::set<std::string> encoded, decoded;
    for (const json& entry : mEntries) {
        if (!entry.contains("class")) continue;
        if (entry.at("encode")) encoded.insert(entry.at("class"));
        if (entry.at("decode")) decoded.insert(entry.at("class"));
    }
    for (const auto& [name, codec] : Codecs()) {
        const bool receiveOnly = name == "SResetSocketSpec" || name == "SIncommingLongArraySpec";
        EXPECT_EQ(encoded.contains(name), !receiveOnly) << name;
        EXPECT_TRUE(decoded.contains(name)) << name;
    }
}

TEST_F(GoldenPayloads, AreWrittenAsTheyStand) {
    for (const json& entry : mEntries) {
        if (!entry.value("encode", false)) continue;
        SCOPED_TRACE(entry.dump());
        const std::string hex = entry.at("bytes");
        const auto spec = Codecs().at(entry.at("class")).make(entry.at("fields"));
        EXPECT_EQ(ToHex(spec->Serialize(), hex.size() / 2), hex);
        EXPECT_EQ(spec->SerialBufferSize(), entry.value("size", hex.size() / 2));
    }
}

TEST_F(GoldenPayloads, AreReadAsTheyStand) {
    for (const json& entry : mEntries) {
        if (!entry.value("decode", false)) continue;
        SCOPED_TRACE(entry.dump());
        const Codec& codec = Codecs().at(entry.at("class"));
        Bytes payload = FromHex(entry.at("bytes"));
        EXPECT_TRUE(codec.isComplete(payload.data(), payload.size()));
        payload.resize(payload.size() + kivo::kZeroBytesAfterPayload);
        EXPECT_EQ(codec.read(payload.data()), entry.value("decoded", entry.at("fields")));
    }
}

/// The hex of a line of an example, in lower case and without blanks: what stands before the first
/// three blanks. Empty for a line that is not hex.
std::string HexOfExampleLine(std::string line) {
    line = line.substr(0, line.find("   ", line.find_first_not_of(' ')));
    std::string hex;
    for (const char c : line) {
        if (c == ' ') continue;
        if (!std::isxdigit(static_cast<unsigned char>(c))) return "";
        hex += static_cast<char>(std::tolower(c));
    }
    return hex;
}

/// Each fenced example of a document that holds bytes.
std::vector<std::string> ExamplesOf(std::istream& document) {
    std::vector<std::string> examples;
    bool inExample = false;
    for (std::string line, hex; std::getline(document, line);) {
        if (line.find("```") == std::string::npos) {
            if (inExample) hex += HexOfExampleLine(line);
            continue;
        }
        if (inExample && !hex.empty()) examples.push_back(hex);
        inExample = !inExample;
        hex.clear();
    }
    return examples;
}

TEST_F(GoldenPayloads, HoldTheExamplesOfTheDocument) {
    std::set<std::string> golden;
    for (const json& entry : mEntries)
        golden.insert(entry.at("bytes"));
    std::ifstream document(KIVO_SOURCE_DIR "/docs/protocol.md");
    const auto examples = ExamplesOf(document);
    EXPECT_GE(examples.size(), 11u);
    for (const std::string& example : examples)
        EXPECT_TRUE(golden.contains(example)) << example;
}

const json* FindRaw(const json& entries, const std::string& message, std::size_t nth = 0) {
    for (const json& entry : entries) {
        if (entry.value("message", "") == message && nth-- == 0) return &entry;
    }
    ADD_FAILURE() << "no entry of " << message;
    return nullptr;
}

template <typename Value>
std::string HexOf(const Value& value) {
    return ToHex(reinterpret_cast<const unsigned char*>(&value), sizeof value);
}

TEST_F(GoldenPayloads, IdentityAndSignatureAreNativeNumbers) {
    EXPECT_EQ(HexOf(kivo::kIdentityCode), FindRaw(mEntries, "KiCt")->at("bytes"));
    const UInt32 signature = 0x41424344;
    EXPECT_EQ(HexOf(signature), FindRaw(mEntries, "KiFA")->at("bytes"));
}

TEST_F(GoldenPayloads, KeyEventRecordLiesInMemoryAsItIsSent) {
    for (std::size_t i = 0; i < 2; ++i) {
        const json& entry = *FindRaw(mEntries, "eETC", i);
        const json& fields = entry.at("fields");
        kivo::KeyEventRecord record;
        record.keyCode = fields.at("keyCode");
        record.flags = fields.at("flags");
        record.keyDown = fields.at("keyDown").get<bool>();
        EXPECT_EQ(HexOf(record), entry.at("bytes"));
    }
}

TEST_F(GoldenPayloads, StatusReplyIsReadBigEndian) {
    const json& entry = *FindRaw(mEntries, "Stus reply");
    Bytes reply = FromHex(entry.at("bytes"));
    ASSERT_EQ(reply.size(), kivo::kStatusReplySize);
    for (std::size_t i = 0; i < kivo::kStatusLongCount; ++i) {
        EXPECT_EQ(UFromBuffer::GetLong(&reply[4 * i]), entry.at("fields").at("longs").at(i));
    }
}

}  // namespace
