#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/PayloadCheck.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "tests/unit/KivoCtlTesting.h"

// The program as a user runs it, against a daemon that follows a script.

namespace kivo::ctl {
namespace {

using test::ChildProgram;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

MATCHER_P2(AnswersWith, status, output, "") {
    return arg.status == status && arg.output == std::string(output) + '\n' && arg.error.empty();
}

MATCHER_P2(FailsWith, status, complaint, "") {
    const std::string& error = arg.error;
    const bool isOneLine = error.find('\n') == error.size() - 1;
    return arg.status == status && arg.output.empty() && isOneLine &&
           error.starts_with("kivoctl: ") && error.find(complaint) != std::string::npos;
}

Bytes FrameOf(CGPoint origin, CGSize size) {
    return BytesOfSpec(SPointSizeSpec(origin, size));
}

Bytes TargetFrameOf(unsigned int index, CGPoint origin, CGSize size) {
    return BytesOfSpec(STargetPointSizeSpec(index, origin, size));
}

/// Finds the window "Mixer", whole or in part, and the target "Tracks".
Bytes AnswerAsADaemon(SInt32 code, std::span<const UInt8> payload) {
    Bytes padded(payload.begin(), payload.end());
    padded.resize(payload.size() + kZeroBytesAfterPayload);
    if (code == kMessagePointer) return BytesOfSpec(SPointSpec(512, 384));
    if (code == kMessageWindow) {
        SWindowRequestSpec request;
        request.Deserialize(padded.data());
        const bool isFound = request.title == (request.partialMatch ? "Mix" : "Mixer");
        return isFound ? FrameOf({10, 20}, {640, 480}) : Bytes();
    }
    if (code == kMessageTargetWindow) {
        STargetWindowRequestSpec request;
        request.Deserialize(padded.data());
        for (unsigned int i = 0; i < request.recordCount; ++i) {
            const std::string key = request.records[i].titleKey;
            if (key == "Tracks") return TargetFrameOf(i, {-5, 0}, {100, 50});
        }
    }
    return {};
}

TEST(KivoCtlAsk, PrintsAnswersInWords) {
    const ScriptedDaemon daemon(AnswerAsADaemon);
    EXPECT_THAT(RunKivoctl({"pointer"}), AnswersWith(0, "pointer at 512, 384"));
    EXPECT_THAT(RunKivoctl({"window", "Mixer"}),
                AnswersWith(0, "window at 10, 20, size 640 x 480"));
    EXPECT_THAT(RunKivoctl({"window", "--partial", "Mix"}),
                AnswersWith(0, "window at 10, 20, size 640 x 480"));
    EXPECT_THAT(RunKivoctl({"target", "Mixer", "Tracks=Mixer"}),
                AnswersWith(0, "target 1 \"Tracks\" at -5, 0, size 100 x 50"));
}

TEST(KivoCtlAsk, PrintsAnswersInJson) {
    const ScriptedDaemon daemon(AnswerAsADaemon);
    EXPECT_THAT(RunKivoctl({"pointer", "--json"}),
                AnswersWith(0, R"({"name":"pointer","x":512,"y":384})"));
    EXPECT_THAT(RunKivoctl({"window", "--json", "Tracks"}),
                AnswersWith(1, R"({"name":"window","found":false})"));
}

TEST(KivoCtlAsk, EndsWithStatus1WhenThereIsNoSuchWindow) {
    const ScriptedDaemon daemon(AnswerAsADaemon);
    EXPECT_THAT(RunKivoctl({"window", "Mix"}),
                AnswersWith(1, "no window was found for the title \"Mix\""));
    EXPECT_THAT(RunKivoctl({"target", "Mixer"}),
                AnswersWith(1, "no window of the front application is one of the targets"));
}

TEST(KivoCtlAsk, SwitchesTheTap) {
    std::promise<int> seen;
    const ScriptedDaemon daemon([&seen](SInt32 code, std::span<const UInt8> payload) {
        seen.set_value(code == kMessageEventTap && payload.size() == 1 ? payload[0] : -1);
        return Bytes();
    });
    EXPECT_THAT(RunKivoctl({"tap", "off"}), AnswersWith(0, "keyboard forwarding is off"));
    EXPECT_EQ(seen.get_future().get(), 0);
}

TEST(KivoCtlAsk, ReadsTargetsFromAFileAndFromStandardInput) {
    const ScriptedDaemon daemon(AnswerAsADaemon);
    const auto path = std::filesystem::path(getenv("XDG_RUNTIME_DIR")) / "targets.json";
    const std::string json = R"([{"titleKey":"A","auxByte":3},{"titleKey":"Tracks"}])";
    std::ofstream(path) << json;
    EXPECT_THAT(RunKivoctl({"target", "First", "--file", path}),
                AnswersWith(0, "target 2 \"Tracks\" at -5, 0, size 100 x 50"));
    ChildProgram program(CommandLine({"target", "--file", "-"}));
    program.Write(json);
    program.CloseInput();
    EXPECT_THAT(program.Wait(), AnswersWith(0, "target 1 \"Tracks\" at -5, 0, size 100 x 50"));
}

TEST(KivoCtlAsk, SendsLongLists) {
    const ScriptedDaemon daemon(AnswerAsADaemon);
    std::vector<std::string> words = {"target"};
    for (int i = 0; i < 999; ++i)
        words.push_back("Some window " + std::to_string(i));
    words.push_back("Tracks");
    EXPECT_THAT(RunKivoctl(words), AnswersWith(0, "target 999 \"Tracks\" at -5, 0, size 100 x 50"));
}

TEST(KivoCtlAsk, AnswersManyAtOnce) {
    const ScriptedDaemon daemon(AnswerAsADaemon);
    std::vector<std::unique_ptr<ChildProgram>> programs;
    for (int i = 0; i < 8; ++i) {
        programs.push_back(std::make_unique<ChildProgram>(CommandLine({"pointer"})));
    }
    for (const auto& program : programs) {
        EXPECT_THAT(program->Wait(), AnswersWith(0, "pointer at 512, 384"));
    }
}

TEST(KivoCtlAsk, SaysWhatToDoWithoutADaemon) {
    for (const auto& words : std::vector<std::vector<std::string>>{
             {"pointer"}, {"window", "x"}, {"target", "x"}, {"tap", "off"}}) {
        EXPECT_THAT(RunKivoctl(words),
                    FailsWith(3, "no daemon is running: start it with `systemctl --user start"));
    }
}

TEST(KivoCtlAsk, TellsATimeOutFromADeadDaemon) {
    std::promise<void> release;
    const std::shared_future<void> released = release.get_future().share();
    const ScriptedDaemon daemon([released](SInt32, std::span<const UInt8>) {
        released.wait();
        return Bytes();
    });
    EXPECT_THAT(RunKivoctl({"pointer", "--timeout", "0.2"}),
                FailsWith(4, "asking where the pointer is: no answer within 0.2 s"));
    // More than a socket holds, and nobody is reading.
    std::vector<std::string> words = {"target", "--timeout=0.2"};
    for (int i = 0; i < 1000; ++i)
        words.push_back(std::to_string(i));
    EXPECT_THAT(RunKivoctl(words), FailsWith(4, "took no message within 0.2 s"));
    release.set_value();
}

TEST(KivoCtlAsk, SaysThatTheDaemonEnded) {
    const DyingDaemon daemon;
    EXPECT_THAT(
        RunKivoctl({"pointer"}),
        FailsWith(5, "the daemon ended while answering (port became invalid, status -5)\n"));
}

TEST(KivoCtlAsk, SaysWhyTheDaemonEndsWhenItIsDesignedTo) {
    const DyingDaemon daemon;
    EXPECT_THAT(RunKivoctl({"target", "Mixer=Tracks"}),
                FailsWith(5, "this happens when a record's alternate window is not open"));
}

TEST(KivoCtlAsk, SaysWhenTheAnswerMakesNoSense) {
    const ScriptedDaemon daemon([](SInt32, std::span<const UInt8>) { return Bytes{1, 2, 3}; });
    EXPECT_THAT(RunKivoctl({"pointer"}), FailsWith(5, "cut off after 3 bytes"));
}

TEST(KivoCtlAsk, SaysWhenTheAnswerCannotBeWritten) {
    const ScriptedDaemon daemon(AnswerAsADaemon);
    // Standard output that was opened for reading.
    const auto ending = test::RunProgram({"/bin/sh", "-c", "'" KIVOCTL "' pointer 1</dev/null"});
    EXPECT_THAT(ending, FailsWith(5, "standard output cannot be written"));
}

TEST(KivoCtlAsk, RefusesBadUsageBeforeItLooksForADaemon) {
    for (const auto& words :
         std::vector<std::vector<std::string>>{{},
                                               {"pointr"},
                                               {"pointer", "--x"},
                                               {"pointer", "--timeout", "0"},
                                               {"window"},
                                               {"target"},
                                               {"tap", "maybe"},
                                               {"status", "1"},
                                               {"listen", "x"},
                                               {"listen", "--units", "many"},
                                               {"listen", "--count", "0"},
                                               {"listen", "--until", "toolong"},
                                               {"session", "--swallow", "nokey"}}) {
        const ChildProgram::Ending ending = RunKivoctl(words);
        EXPECT_THAT(ending, FailsWith(2, "--help"));
    }
}

TEST(KivoCtlAsk, TellsWhoIsRunning) {
    EXPECT_THAT(RunKivoctl({"status"}),
                AnswersWith(3, "no daemon is running; no control center is running"));
    const ScriptedDaemon daemon(AnswerAsADaemon);
    EXPECT_THAT(RunKivoctl({"status", "--json"}),
                AnswersWith(0, R"({"name":"status","daemon":true,"controlCenter":false})"));
}

TEST(KivoCtlHelp, IsPrintedForEveryCommand) {
    for (const char* command :
         {"pointer", "window", "target", "tap", "status", "listen", "session"}) {
        const ChildProgram::Ending ending = RunKivoctl({command, "--help"});
        EXPECT_EQ(ending.status, 0);
        EXPECT_THAT(ending.output, StartsWith(std::string("Usage: kivoctl ") + command));
    }
    EXPECT_THAT(RunKivoctl({"pointer", "--json", "--help"}).output, StartsWith("Usage:"));
    EXPECT_THAT(RunKivoctl({"window", "--", "--help"}), FailsWith(3, "no daemon"));
    EXPECT_THAT(RunKivoctl({"--help"}).output,
                AllOf(HasSubstr("Exit status:"), HasSubstr("session")));
    EXPECT_THAT(RunKivoctl({"--version"}).output, StartsWith("kivoctl "));
}

}  // namespace
}  // namespace kivo::ctl
