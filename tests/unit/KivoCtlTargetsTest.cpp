#include "tools/kivoctl/Targets.h"

#include <gmock/gmock.h>

#include <functional>

#include "ZYNCommon/PayloadCheck.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "tools/kivoctl/Failure.h"
#include "tools/kivoctl/Text.h"

namespace kivo::ctl {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

std::string WhatIsWrongWith(const std::function<void()>& act) {
    try {
        act();
    } catch (const UsageFailure& failure) {
        return failure.what();
    }
    return "nothing";
}

std::string WhatIsWrongWithJson(const std::string& json) {
    return WhatIsWrongWith([&json] { ReadTargets(json, "t.json"); });
}

std::string WhatIsWrongWithTarget(const Target& target) {
    return WhatIsWrongWith([&target] { EncodeTargets({target}); });
}

Target WithAlternate(const std::string& key, const std::string& altKey) {
    Target target;
    target.titleKey = key;
    target.altTitle = altKey;
    return target;
}

/// What the daemon reads of the message that kivoctl sends for these targets.
class Received {
  public:
    explicit Received(const std::vector<Target>& targets) {
        const CFRef<CFDataRef> data = EncodeTargets(targets);
        const std::span<const UInt8> sent = BytesOf(data.Get());
        mSize = sent.size();
        std::vector<UInt8> bytes(sent.begin(), sent.end());
        bytes.resize(mSize + kZeroBytesAfterPayload);
        mIsComplete = PayloadIsComplete<STargetWindowRequestSpec>(bytes.data(), mSize);
        if (mIsComplete) mSpec.Deserialize(bytes.data());
    }

    bool IsComplete() const { return mIsComplete; }
    size_t Size() const { return mSize; }
    unsigned int Count() const { return mSpec.recordCount; }
    const ZYN_Driver_TargetWindowInfo& At(unsigned int i) const { return mSpec.records[i]; }

  private:
    size_t mSize = 0;
    bool mIsComplete = false;
    STargetWindowRequestSpec mSpec;
};

std::u16string TextOf(const unsigned short* units, UInt64 length) {
    return {units, units + length};
}

TEST(KivoCtlTargets, SendTheKeyAsTheTitleToo) {
    Target target;
    target.titleKey = "Mixer";
    const Received received({target});
    ASSERT_TRUE(received.IsComplete());
    ASSERT_EQ(received.Count(), 1u);
    const auto& record = received.At(0);
    EXPECT_STREQ(record.titleKey, "Mixer");
    EXPECT_EQ(TextOf(record.titleChars, record.titleLength), u"Mixer");
    EXPECT_FALSE(record.hasAltTitle);
}

TEST(KivoCtlTargets, SendAllFields) {
    Target target = WithAlternate("Mixer", "Tracks");
    target.title = "Mix 日";
    target.altTitleText = "Spuren und mehr";
    target.auxValue1 = 640;
    target.auxValue2 = 480.9;
    target.auxByte = 0xAB;
    target.auxFlag = true;
    const Received received({target, target});
    ASSERT_TRUE(received.IsComplete());
    const auto& record = received.At(1);
    EXPECT_EQ(TextOf(record.titleChars, record.titleLength), u"Mix 日");
    EXPECT_STREQ(record.altTitle, "Tracks");
    EXPECT_EQ(TextOf(record.altTitleChars, record.altTitleLength), u"Spuren und mehr");
    EXPECT_EQ(record.auxValue1, 640.0);
    EXPECT_EQ(record.auxValue2, 480.0);
    EXPECT_EQ(record.auxByte, 0xAB);
    EXPECT_TRUE(record.auxFlag);
    EXPECT_TRUE(record.hasAltTitle);
}

TEST(KivoCtlTargets, BringASingleAlternateKeyWholeWhateverItsLength) {
    for (const std::string character : {"x", "ä", "日", "𝄞"}) {
        std::string key;
        while (key.size() + character.size() <= 255) {
            key += character;
            const Received received({WithAlternate("k", key)});
            ASSERT_TRUE(received.IsComplete()) << key;
            EXPECT_STREQ(received.At(0).altTitle, key.c_str());
        }
    }
}

TEST(KivoCtlTargets, BringASingleAlternateKeyWholeBehindAShortText) {
    Target target = WithAlternate("k", std::string(255, 'x'));
    target.altTitleText = "";
    const Received received({target});
    ASSERT_TRUE(received.IsComplete());
    EXPECT_STREQ(received.At(0).altTitle, target.altTitle->c_str());
}

TEST(KivoCtlTargets, BringARecordBehindALongAlternateKeyWhole) {
    std::string key;
    for (int i = 0; i < 85; ++i)
        key += "日";
    Target plain;
    plain.titleKey = "z";
    const Received received({WithAlternate("k", key), plain});
    ASSERT_TRUE(received.IsComplete());
    EXPECT_STREQ(received.At(0).altTitle, key.c_str());
    EXPECT_STREQ(received.At(1).titleKey, "z");
    EXPECT_EQ(TextOf(received.At(1).titleChars, received.At(1).titleLength), u"z");
}

TEST(KivoCtlTargets, SendTheReservedSize) {
    Target target;
    target.titleKey = "ab";  // 24 + 3 + 4 = 31 bytes
    EXPECT_EQ(Received({target}).Size(), 4u + 31u);
    EXPECT_EQ(Received({target, target, target}).Size(), 4u + 31u * 6u);
}

TEST(KivoCtlTargets, AreRefusedWhenTheyDoNotFit) {
    const std::string tooLong(256, 'k');
    Target target;
    target.titleKey = tooLong;
    target.title = "";
    EXPECT_THAT(WhatIsWrongWithTarget(target), HasSubstr("target 0's key has 256 bytes"));
    EXPECT_THAT(WhatIsWrongWithTarget(WithAlternate("k", tooLong)),
                HasSubstr("target 0's alternate key has 256 bytes"));
    target.titleKey = std::string(255, 'k');
    target.title = std::string(1024, 't');
    EXPECT_EQ(WhatIsWrongWithTarget(target), "nothing");
    target.title = std::string(1025, 't');
    EXPECT_THAT(WhatIsWrongWithTarget(target), HasSubstr("title has 1025 UTF-16 units"));
}

TEST(KivoCtlTargets, AreRefusedWhenTheirTextCannotBeSent) {
    EXPECT_THAT(WhatIsWrongWithTarget(WithAlternate("", "x")), HasSubstr("key is empty"));
    EXPECT_THAT(WhatIsWrongWithTarget(WithAlternate("x", "")), HasSubstr("key is empty"));
    EXPECT_THAT(WhatIsWrongWithTarget(WithAlternate("\xFF", "x")), HasSubstr("not valid UTF-8"));
    EXPECT_THAT(WhatIsWrongWithTarget(WithAlternate(std::string("a\0b", 3), "x")),
                HasSubstr("zero character"));
    Target target;
    target.titleKey = "x";
    target.altTitleText = "y";
    EXPECT_THAT(WhatIsWrongWithTarget(target), HasSubstr("needs an altTitle"));
}

TEST(KivoCtlTargets, AreRefusedWhenThereAreNoneOrTooMany) {
    EXPECT_THAT(WhatIsWrongWith([] { EncodeTargets({}); }), HasSubstr("empty"));
    Target target;
    target.titleKey = "x";
    EXPECT_THAT(WhatIsWrongWith([&] { EncodeTargets(std::vector(16385, target)); }),
                HasSubstr("16385 targets"));
}

TEST(KivoCtlTargets, AreRefusedWhenTheMessageGrowsTooLarge) {
    Target target;
    target.titleKey = "x";
    EXPECT_THAT(WhatIsWrongWith([&] { EncodeTargets(std::vector(16384, target)); }),
                HasSubstr("MiB"));
}

TEST(KivoCtlReadTargets, TakesEveryField) {
    const auto targets = ReadTargets(R"([{"titleKey":"a=b","title":"A","altTitle":"c",
        "altTitleText":"C","auxValue1":1.5,"auxValue2":-2,"auxByte":255,"auxFlag":true},
        {"titleKey":"z"}])",
                                     "t.json");
    ASSERT_THAT(targets, SizeIs(2));
    EXPECT_EQ(targets[0].titleKey, "a=b");
    EXPECT_EQ(targets[0].title, "A");
    EXPECT_EQ(targets[0].altTitle, "c");
    EXPECT_EQ(targets[0].altTitleText, "C");
    EXPECT_EQ(targets[0].auxValue1, 1.5);
    EXPECT_EQ(targets[0].auxValue2, -2);
    EXPECT_EQ(targets[0].auxByte, 255);
    EXPECT_TRUE(targets[0].auxFlag);
    EXPECT_EQ(targets[1].titleKey, "z");
    EXPECT_FALSE(targets[1].altTitle);
}

TEST(KivoCtlReadTargets, SaysWhatIsWrongAndWhere) {
    EXPECT_THAT(WhatIsWrongWithJson("[{"), HasSubstr("t.json is not valid JSON: parse error"));
    EXPECT_THAT(WhatIsWrongWithJson("\"\xFF\""), HasSubstr("not valid JSON"));
    EXPECT_THAT(WhatIsWrongWithJson("{}"), HasSubstr("array"));
    EXPECT_THAT(WhatIsWrongWithJson("[1]"), HasSubstr("t.json: record 0 is not an object"));
    EXPECT_THAT(WhatIsWrongWithJson(R"([{"titleKey":"a"},{"title":"b"}])"),
                HasSubstr("record 1 has no \"titleKey\""));
    EXPECT_THAT(WhatIsWrongWithJson(R"([{"titleKey":"a","titel":"b"}])"),
                HasSubstr("\"titel\" is not a field"));
    EXPECT_THAT(WhatIsWrongWithJson(R"([{"titleKey":7}])"), HasSubstr("must be a string"));
    EXPECT_THAT(WhatIsWrongWithJson(R"([{"titleKey":"a","auxByte":256}])"),
                HasSubstr("from 0 to 255"));
    EXPECT_THAT(WhatIsWrongWithJson(R"([{"titleKey":"a","auxByte":-1}])"),
                HasSubstr("from 0 to 255"));
    EXPECT_THAT(WhatIsWrongWithJson(R"([{"titleKey":"a","auxFlag":1}])"),
                HasSubstr("true or false"));
    EXPECT_THAT(WhatIsWrongWithJson(R"([{"titleKey":"a","auxValue1":"1"}])"),
                HasSubstr("a number"));
}

}  // namespace
}  // namespace kivo::ctl
