#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/PayloadCheck.h"
#include "ZYNCommon/RawPayloads.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "tests/unit/GoldenCodecs.h"

/// The payload classes against tests/golden/payloads.json.

namespace kivo::test {
namespace {

using nlohmann::json;
using Bytes = std::vector<unsigned char>;

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
        payload.resize(payload.size() + kZeroBytesAfterPayload);
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
    EXPECT_EQ(HexOf(kIdentityCode), FindRaw(mEntries, "KiCt")->at("bytes"));
    const UInt32 signature = 0x41424344;
    EXPECT_EQ(HexOf(signature), FindRaw(mEntries, "KiFA")->at("bytes"));
}

TEST_F(GoldenPayloads, KeyEventRecordLiesInMemoryAsItIsSent) {
    for (std::size_t i = 0; i < 2; ++i) {
        const json& entry = *FindRaw(mEntries, "eETC", i);
        const json& fields = entry.at("fields");
        KeyEventRecord record;
        record.keyCode = fields.at("keyCode");
        record.flags = fields.at("flags");
        record.keyDown = fields.at("keyDown").get<bool>();
        EXPECT_EQ(HexOf(record), entry.at("bytes"));
    }
}

TEST_F(GoldenPayloads, StatusReplyIsReadBigEndian) {
    const json& entry = *FindRaw(mEntries, "Stus reply");
    Bytes reply = FromHex(entry.at("bytes"));
    ASSERT_EQ(reply.size(), kStatusReplySize);
    for (std::size_t i = 0; i < kStatusLongCount; ++i) {
        EXPECT_EQ(UFromBuffer::GetLong(&reply[4 * i]), entry.at("fields").at("longs").at(i));
    }
}

}  // namespace
}  // namespace kivo::test
