#include "tools/kivoctl/Questions.h"

#include <gmock/gmock.h>

#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "tools/kivoctl/Text.h"

namespace kivo::ctl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Question Build(const std::vector<std::string>& words) {
    const QuestionKind* const kind = FindQuestionKind(words.at(0));
    if (kind == nullptr) throw std::logic_error("no such question");
    return kind->build(ParseArguments(kind->options, std::span(words).subspan(1)));
}

std::vector<UInt8> PayloadOf(const Question& question) {
    const auto bytes = BytesOf(question.payload.Get());
    return {bytes.begin(), bytes.end()};
}

template <typename Spec>
Answer Read(const Question& question, Spec&& spec) {
    const unsigned char* const bytes = spec.Serialize();
    return question.read({bytes, spec.SerialBufferSize()});
}

SPointSizeSpec Frame() {
    CGPoint origin{10, -20};
    CGSize size{640, 480};
    return SPointSizeSpec(origin, size);
}

STargetPointSizeSpec TargetFrame(unsigned int index) {
    CGPoint origin{10, -20};
    CGSize size{640, 480};
    return STargetPointSizeSpec(index, origin, size);
}

TEST(KivoCtlQuestions, PointerSendsNothingAndReadsAPoint) {
    const Question question = Build({"pointer"});
    EXPECT_EQ(question.code, kMessagePointer);
    EXPECT_THAT(PayloadOf(question), IsEmpty());
    const Answer answer = Read(question, SPointSpec(512, -3));
    EXPECT_EQ(answer.status, ExitCode::kAnswered);
    EXPECT_EQ(answer.message.words, "pointer at 512, -3");
    EXPECT_EQ(answer.message.fields.dump(), R"({"name":"pointer","x":512,"y":-3})");
}

TEST(KivoCtlQuestions, WindowSendsModeAndTitle) {
    const Question whole = Build({"window", "Mixer"});
    EXPECT_EQ(whole.code, kMessageWindow);
    EXPECT_THAT(PayloadOf(whole), ElementsAre(0, 0, 0, 0, 'M', 'i', 'x', 'e', 'r', 0));
    EXPECT_THAT(PayloadOf(Build({"window", "--partial", "Mixer"})),
                ElementsAre(1, 0, 0, 0, 'M', 'i', 'x', 'e', 'r', 0));
}

TEST(KivoCtlQuestions, WindowReadsAFrameOrNone) {
    const Question question = Build({"window", "Mixer"});
    const Answer found = Read(question, Frame());
    EXPECT_EQ(found.status, ExitCode::kAnswered);
    EXPECT_EQ(found.message.words, "window at 10, -20, size 640 x 480");
    EXPECT_EQ(found.message.fields.dump(),
              R"({"name":"window","found":true,"x":10,"y":-20,"width":640,"height":480})");
    const Answer missing = question.read({});
    EXPECT_EQ(missing.status, ExitCode::kNotFound);
    EXPECT_EQ(missing.message.words, "no window was found for the title \"Mixer\"");
    EXPECT_EQ(missing.message.fields.dump(), R"({"name":"window","found":false})");
}

TEST(KivoCtlQuestions, TargetTakesKeysInEveryForm) {
    const Question question = Build({"target", "a=b=c", "--key", "x=y", "--alt", "z", "--", "--d"});
    const std::vector<UInt8> payload = PayloadOf(question);
    STargetWindowRequestSpec spec;
    spec.Deserialize(payload.data());
    ASSERT_EQ(spec.recordCount, 3u);
    EXPECT_STREQ(spec.records[0].titleKey, "a");
    EXPECT_STREQ(spec.records[0].altTitle, "b=c");
    EXPECT_STREQ(spec.records[1].titleKey, "x=y");
    EXPECT_STREQ(spec.records[1].altTitle, "z");
    EXPECT_STREQ(spec.records[2].titleKey, "--d");
    EXPECT_FALSE(spec.records[2].hasAltTitle);
}

TEST(KivoCtlQuestions, TargetReadsWhichKeyItWas) {
    const Question question = Build({"target", "Mixer", "Tracks"});
    const Answer found = Read(question, TargetFrame(1));
    EXPECT_EQ(found.message.words, "target 1 \"Tracks\" at 10, -20, size 640 x 480");
    EXPECT_EQ(found.message.fields.dump(),
              R"({"name":"target","found":true,"index":1,"titleKey":"Tracks",)"
              R"("x":10,"y":-20,"width":640,"height":480})");
    EXPECT_EQ(question.read({}).status, ExitCode::kNotFound);
    EXPECT_EQ(question.read({}).message.fields.dump(), R"({"name":"target","found":false})");
}

TEST(KivoCtlQuestions, TapSendsOneBit) {
    const Question on = Build({"tap", "on"});
    EXPECT_EQ(on.code, kMessageEventTap);
    EXPECT_THAT(PayloadOf(on), ElementsAre(1));
    EXPECT_EQ(on.read({}).message.fields.dump(), R"({"name":"tap","on":true})");
    const Question off = Build({"tap", "off"});
    EXPECT_THAT(PayloadOf(off), ElementsAre(0));
    EXPECT_EQ(off.read({}).message.words, "keyboard forwarding is off");
}

TEST(KivoCtlQuestions, RefuseAnswersThatMakeNoSense) {
    const std::vector<UInt8> cut(7);
    const auto statusOf = [&cut](const Question& question) {
        try {
            question.read(cut);
        } catch (const Failure& failure) {
            return failure.Status();
        }
        return ExitCode::kAnswered;
    };
    EXPECT_EQ(statusOf(Build({"pointer"})), ExitCode::kBroken);
    EXPECT_EQ(statusOf(Build({"window", "x"})), ExitCode::kBroken);
    EXPECT_EQ(statusOf(Build({"target", "x"})), ExitCode::kBroken);
    EXPECT_THROW(Build({"pointer"}).read({}), Failure);
    EXPECT_THROW(Read(Build({"target", "x"}), TargetFrame(1)), Failure);
}

TEST(KivoCtlQuestions, AreRefusedBeforeAnythingIsSent) {
    const std::vector<std::vector<std::string>> lines = {
        {"pointer", "here"},
        {"window"},
        {"window", "a", "b"},
        {"window", "\xFF"},
        {"target"},
        {"target", "=a"},
        {"target", "a="},
        {"target", "--alt", "a"},
        {"target", "--file", "/nowhere/at/all"},
        {"tap"},
        {"tap", "maybe"},
        {"tap", "on", "off"},
        {"pointer", "--x"},
    };
    for (const auto& line : lines)
        EXPECT_THROW(Build(line), UsageFailure) << line[0];
}

}  // namespace
}  // namespace kivo::ctl
