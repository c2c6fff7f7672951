#include "tools/kivoctl/Decode.h"

#include <gmock/gmock.h>

#include <cstring>
#include <vector>

#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/RawPayloads.h"
#include "tools/kivoctl/Failure.h"
#include "tools/kivoctl/Text.h"

namespace kivo::ctl {
namespace {

using testing::HasSubstr;
using testing::Not;

std::vector<UInt8> BytesOfText(const std::string& text) {
    return {text.begin(), text.end()};
}

std::vector<UInt8> KeyRecord(UInt16 keyCode, UInt64 flags, UInt8 keyDown) {
    KeyEventRecord record;
    record.keyCode = keyCode;
    record.flags = flags;
    record.keyDown = keyDown;
    std::vector<UInt8> bytes(sizeof record);
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

Message Decode(SInt32 code, const std::vector<UInt8>& payload) {
    return DecodeNotification(code, payload);
}

TEST(KivoCtlDecode, TellsThatTheDaemonComesAndGoes) {
    const std::vector<UInt8> identity = {0x42, 0x56, 0x49, 0x4B};
    const Message connected = Decode(kMessageConnect, identity);
    EXPECT_EQ(connected.words, "the daemon has connected");
    EXPECT_EQ(connected.fields.dump(), R"({"code":"KiCt","name":"connected","identity":"KIVB"})");
    const Message disconnected = Decode(kMessageDisconnect, identity);
    EXPECT_EQ(disconnected.words, "the daemon is going away");
    EXPECT_EQ(disconnected.fields["name"], "disconnected");
}

TEST(KivoCtlDecode, SaysWhenTheIdentityIsAnother) {
    EXPECT_THAT(Decode(kMessageConnect, {0x58, 0x56, 0x49, 0x4B}).words, HasSubstr("KIVX"));
}

TEST(KivoCtlDecode, ReadsASignatureInTheByteOrderOfTheMachine) {
    const Message message = Decode(kMessageFrontSignature, {0x44, 0x43, 0x42, 0x41});
    EXPECT_EQ(message.words, "front application has the signature ABCD");
    EXPECT_EQ(message.fields.dump(),
              R"({"code":"KiFA","name":"frontApplication","signature":"ABCD"})");
}

TEST(KivoCtlDecode, ReadsThatNobodyIsInFrontYet) {
    const Message message = Decode(kMessageFrontSignature, {0, 0, 0, 0});
    EXPECT_EQ(message.words, "no application is in front yet");
    EXPECT_EQ(message.fields["signature"], nullptr);
}

TEST(KivoCtlDecode, ReadsABundleIdentifier) {
    const Message message =
        Decode(kMessageFrontBundleID, BytesOfText(std::string("org.gnome.gedit") + '\0'));
    EXPECT_EQ(message.words, "front application is org.gnome.gedit");
    EXPECT_EQ(message.fields.dump(),
              R"({"code":"KiFI","name":"frontApplication","bundleIdentifier":"org.gnome.gedit"})");
}

TEST(KivoCtlDecode, ReadsALanguage) {
    const Message message = Decode(kMessageLanguage, BytesOfText(std::string("German\0", 7)));
    EXPECT_EQ(message.words, "language is German");
    EXPECT_EQ(message.fields["language"], "German");
}

TEST(KivoCtlDecode, KeepsControlCharactersOffTheTerminal) {
    const std::string text = std::string(
                                 "a\x1b[2Jb\xC2\x9B"
                                 "c") +
                             '\0';
    const Message message = Decode(kMessageFrontBundleID, BytesOfText(text));
    EXPECT_EQ(message.words, "front application is a\\x1b[2Jb\\x9bc");
    EXPECT_THAT(message.fields.dump(), HasSubstr(R"(a\u001b[2J)"));
}

TEST(KivoCtlDecode, ShowsTheBytesOfTextThatDoesNotEnd) {
    const Message message = Decode(kMessageFrontBundleID, BytesOfText("abc"));
    EXPECT_EQ(message.words, "unreadable message KiFI, 3 bytes: 61 62 63");
    EXPECT_EQ(message.fields.dump(),
              R"({"code":"KiFI","name":"frontApplication","size":3,"hex":"616263",)"
              R"("unreadable":true})");
}

TEST(KivoCtlDecode, ShowsTheBytesOfTextThatIsNotInTheEncoding) {
    EXPECT_EQ(Decode(kMessageLanguage, {0xFF, 0xFE, 0}).words,
              "unreadable message ZSLg, 3 bytes: ff fe 00");
}

TEST(KivoCtlDecode, ShowsTheBytesOfNumbersThatAreCutOff) {
    for (const SInt32 code : {kMessageConnect, kMessageDisconnect, kMessageFrontSignature}) {
        EXPECT_EQ(Decode(code, {1, 2, 3}).fields["unreadable"], true) << MessageCodeText(code);
    }
    EXPECT_EQ(Decode(kMessageKeyEvent, std::vector<UInt8>(23)).fields["unreadable"], true);
}

TEST(KivoCtlDecode, TellsAnUnknownMessageAsSuch) {
    const Message message = Decode(ParseCode("abcd"), {0xDE, 0xAD});
    EXPECT_EQ(message.words, "unknown message abcd, 2 bytes: de ad");
    EXPECT_EQ(message.fields.dump(), R"({"code":"abcd","name":"unknown","size":2,"hex":"dead"})");
    EXPECT_EQ(Decode(1, {}).words, "unknown message 0x00000001, 0 bytes");
}

TEST(KivoCtlDecode, ShowsNoMoreThanTheStartOfAHugePayload) {
    const Message message = Decode(1, std::vector<UInt8>(1 << 20, 0xAB));
    EXPECT_EQ(message.fields["size"], 1 << 20);
    EXPECT_EQ(message.fields["hex"].get<std::string>().size(), 8192u);
    EXPECT_LT(message.words.size(), 200u);
    EXPECT_THAT(message.words, HasSubstr("1048576 bytes"));
}

TEST(KivoCtlDecode, ReadsAKeyEvent) {
    const Message message = Decode(kMessageKeyEvent, KeyRecord(0x24, 0x120002, 1));
    EXPECT_EQ(message.words, "key Return (0x24) with shift+command pressed");
    EXPECT_EQ(message.fields.dump(),
              R"({"code":"eETC","name":"key","keyCode":36,"key":"Return","flags":1179650,)"
              R"("modifiers":["shift","command"],"down":true})");
    EXPECT_EQ(Decode(kMessageKeyEvent, KeyRecord(0, 0, 0)).words, "key A (0x00) released");
    EXPECT_EQ(Decode(kMessageKeyEvent, KeyRecord(0xB3, 0, 0)).words, "key key (0xb3) released");
}

TEST(KivoCtlDecode, SaysWhatBecameOfAKeyEvent) {
    const Message swallowed = DescribeKeyEvent({0x35, 0, true}, true);
    EXPECT_EQ(swallowed.words, "key Escape (0x35) pressed: swallowed");
    EXPECT_EQ(swallowed.fields["swallowed"], true);
    EXPECT_THAT(DescribeKeyEvent({0x35, 0, true}, false).words, HasSubstr("let through"));
}

TEST(KivoCtlDecode, SaysWhatTheStatusRequestWasAnswered) {
    EXPECT_EQ(DescribeStatusRequest(2, 16).fields.dump(),
              R"({"code":"Stus","name":"statusRequest","units":2,"channels":16})");
}

TEST(KivoCtlKeyNames, FollowTheVirtualKeyCodes) {
    EXPECT_EQ(KeyName(0x00), "A");
    EXPECT_EQ(KeyName(0x06), "Z");
    EXPECT_EQ(KeyName(0x1D), "0");
    EXPECT_EQ(KeyName(0x31), "Space");
    EXPECT_EQ(KeyName(0x35), "Escape");
    EXPECT_EQ(KeyName(0x7A), "F1");
    EXPECT_EQ(KeyName(0x7E), "Up");
    EXPECT_EQ(KeyName(0x7F), "Power");
}

TEST(KivoCtlSwallowRule, TakesAllNoneOrCodes) {
    const KeyEvent escape{0x35, 0, true};
    const KeyEvent tab{0x30, 0, false};
    EXPECT_TRUE(SwallowRule::Parse("all").Swallows(tab));
    EXPECT_FALSE(SwallowRule::Parse("none").Swallows(tab));
    EXPECT_FALSE(SwallowRule().Swallows(tab));
    const SwallowRule rule = SwallowRule::Parse("1,0x35");
    EXPECT_TRUE(rule.Swallows(escape));
    EXPECT_FALSE(rule.Swallows(tab));
}

TEST(KivoCtlSwallowRule, TakesNames) {
    const SwallowRule rule = SwallowRule::Parse("escape,Page Up,b,5");
    for (const UInt16 code : {0x35, 0x74, 0x0B, 5}) {
        EXPECT_TRUE(rule.Swallows({code, 0, true})) << code;
    }
    EXPECT_FALSE(rule.Swallows({0x17, 0, true})) << "5 is a code";
}

TEST(KivoCtlSwallowRule, RefusesWhatIsNoKey) {
    for (const char* text : {"", "1,", ",1", "Esc", "65536", "-1", "all,1", "F1,", "Section "}) {
        EXPECT_THROW(SwallowRule::Parse(text), UsageFailure) << text;
    }
}

TEST(KivoCtlText, ReadsCodesOfFourCharacters) {
    EXPECT_EQ(ParseCode("KiFI"), kMessageFrontBundleID);
    for (const char* text : {"", "abc", "abcde", "ab\x01z", "\xC3\xA4zz"}) {
        EXPECT_THROW(ParseCode(text), UsageFailure) << text;
    }
}

TEST(KivoCtlText, LeavesCharactersOfOtherScriptsAlone) {
    EXPECT_EQ(Printable("Müller – 日本"), "Müller – 日本");
    EXPECT_THAT(Printable("a\nb"), Not(HasSubstr("\n")));
}

}  // namespace
}  // namespace kivo::ctl
