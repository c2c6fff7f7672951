#include <gmock/gmock.h>

#include <csignal>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>

#include "ZYNCommon/MessageCodes.h"
#include "ZYNCommon/RawPayloads.h"
#include "ZYNCommon/ZYN_RemoteMessaging.h"
#include "tests/unit/KivoCtlTesting.h"

// kivoctl in the place of the control center; the test speaks to it as the daemon does.

namespace kivo::ctl {
namespace {

using nlohmann::json;
using test::ChildProgram;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

const Bytes kIdentity = {0x42, 0x56, 0x49, 0x4B};

/// A listening kivoctl that owns its port, with the words given and --json.
class Center : public ChildProgram {
  public:
    explicit Center(std::vector<std::string> words) : ChildProgram(WithJson(std::move(words))) {
        mFirst = ReadJson();
    }

    const json& First() const { return mFirst; }

    json ReadJson() {
        const auto line = ReadLine();
        if (!line) throw std::runtime_error("kivoctl ended: " + Wait().error);
        return json::parse(*line);
    }

  private:
    static std::vector<std::string> WithJson(std::vector<std::string> words) {
        words.push_back("--json");
        return CommandLine(words);
    }

    json mFirst;
};

/// The daemon's sending end.
class Driver {
  public:
    Driver() {
        // The first search only forgets a port that has died since it was last found.
        for (int i = 0; i < 2 && (!mPort || !mPort->IsValid()); ++i) {
            mPort = std::make_unique<CACFRemoteMessagePort>(CFSTR("KivoDriver"), nullptr);
        }
        if (!mPort->IsValid()) throw std::runtime_error("nobody owns the port");
    }

    SInt32 Tell(SInt32 code, const Bytes& payload) const {
        return mPort->SendRequest(code, Data(payload).Get(), 5, 0);
    }

    Bytes Ask(SInt32 code, const Bytes& payload) const {
        CFRef<CFDataRef> reply;
        const SInt32 status = mPort->SendRequest(code, Data(payload).Get(), 5, 5,
                                                 kCFRunLoopDefaultMode, reply.Receive());
        if (status != 0) throw std::runtime_error("no reply, status " + std::to_string(status));
        const UInt8* const bytes = CFDataGetBytePtr(reply.Get());
        return {bytes, bytes + CFDataGetLength(reply.Get())};
    }

  private:
    static CFRef<CFDataRef> Data(const Bytes& bytes) {
        return Adopt(
            CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size())));
    }

    std::unique_ptr<CACFRemoteMessagePort> mPort;
};

Bytes Text(const std::string& text) {
    Bytes bytes(text.begin(), text.end());
    bytes.push_back(0);
    return bytes;
}

Bytes KeyDown(UInt16 keyCode) {
    KeyEventRecord record;
    record.keyCode = keyCode;
    record.keyDown = 1;
    Bytes bytes(sizeof record);
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

TEST(KivoCtlListen, SaysFirstThatItOwnsThePort) {
    Center center({"listen"});
    EXPECT_THAT(center.First()["time"].get<std::string>(),
                MatchesRegex("....-..-..T..:..:..[.]...Z"));
    EXPECT_EQ(center.First()["name"], "listening");
    EXPECT_EQ(center.First()["daemon"], false);
    EXPECT_EQ(Driver().Tell(kMessageConnect, kIdentity), 0);
}

TEST(KivoCtlListen, PrintsAJsonObjectForEachMessage) {
    Center center({"listen"});
    const Driver driver;
    driver.Tell(kMessageConnect, kIdentity);
    driver.Tell(kMessageLanguage, Text("German"));
    driver.Tell(kMessageFrontBundleID, Text("org.gnome.gedit"));
    driver.Tell(0x7A7A7A7A, {1});
    driver.Tell(kMessageDisconnect, kIdentity);
    EXPECT_EQ(center.ReadJson()["name"], "connected");
    EXPECT_EQ(center.ReadJson()["language"], "German");
    EXPECT_EQ(center.ReadJson()["bundleIdentifier"], "org.gnome.gedit");
    EXPECT_EQ(center.ReadJson()["hex"], "01");
    EXPECT_EQ(center.ReadJson()["name"], "disconnected");
}

TEST(KivoCtlListen, PrintsWordsWithTheTimeOfTheDay) {
    ChildProgram center(CommandLine({"listen"}));
    EXPECT_THAT(center.ReadLine().value_or(""),
                MatchesRegex("..:..:..[.]...  listening as the control center"));
    Driver().Tell(kMessageFrontBundleID, Text("org.gnome.gedit"));
    EXPECT_THAT(center.ReadLine().value_or(""),
                MatchesRegex("..:..:..[.]...  front application is org.gnome.gedit"));
}

TEST(KivoCtlListen, SaysWhenTheDaemonStartedTooEarly) {
    const ScriptedDaemon daemon([](SInt32, std::span<const UInt8>) { return Bytes(); });
    ChildProgram center(CommandLine({"listen"}));
    EXPECT_THAT(center.ReadLine().value_or(""), HasSubstr("until it is restarted"));
}

TEST(KivoCtlListen, AnswersTheStatusRequest) {
    Center center({"listen", "--units", "2", "--channels", "0x01020304"});
    const Bytes reply = Driver().Ask(kMessageStatus, {});
    ASSERT_EQ(reply.size(), 28u);
    EXPECT_THAT(std::span(reply).first(8), ElementsAre(0, 0, 0, 2, 1, 2, 3, 4));
    EXPECT_THAT(std::span(reply).subspan(8), testing::Each(0));
    EXPECT_EQ(center.ReadJson()["units"], 2);
}

TEST(KivoCtlListen, LetsKeysThroughAndSaysNothingOfThem) {
    Center center({"listen"});
    const Driver driver;
    EXPECT_THAT(driver.Ask(kMessageKeyEvent, KeyDown(0x24)), ElementsAre(1));
    EXPECT_THAT(driver.Ask(kMessageKeyEvent, {}), ElementsAre(1));
    driver.Tell(kMessageConnect, kIdentity);
    EXPECT_EQ(center.ReadJson()["name"], "connected");
}

TEST(KivoCtlListen, SwallowsTheKeysThatItWasToldTo) {
    Center center({"listen", "--keys", "--swallow", "0x24,3"});
    const Driver driver;
    EXPECT_THAT(driver.Ask(kMessageKeyEvent, KeyDown(0x24)), ElementsAre(0));
    EXPECT_THAT(driver.Ask(kMessageKeyEvent, KeyDown(0x25)), ElementsAre(1));
    json swallowed = center.ReadJson();
    EXPECT_EQ(swallowed["key"], "Return");
    EXPECT_EQ(swallowed["swallowed"], true);
    EXPECT_EQ(center.ReadJson()["swallowed"], false);
}

TEST(KivoCtlListen, AsksAProgramAboutKeys) {
    Center center({"listen", "--keys", "--swallow", "3", "--ask",
                   "while read -r key; do case $key in *'\"keyCode\":36,'*) echo swallow;; "
                   "*) echo pass;; esac; done"});
    const Driver driver;
    // The shell may need longer for an answer than a key has.
    json shown;
    const auto ask = [&](UInt16 key) {
        for (;;) {
            const Bytes reply = driver.Ask(kMessageKeyEvent, KeyDown(key));
            shown = center.ReadJson();
            if (!reply.empty()) return reply;
        }
    };
    EXPECT_THAT(ask(0x25), ElementsAre(1));
    EXPECT_THAT(ask(0x24), ElementsAre(0));
    EXPECT_EQ(shown["swallowed"], true);
    EXPECT_THAT(ask(3), ElementsAre(0));
    EXPECT_THAT(ask(0x26), ElementsAre(1));
    EXPECT_EQ(shown["swallowed"], false);
}

TEST(KivoCtlListen, GivesNoAnswerForAProgramThatGivesNone) {
    for (const char* const program : {"exec sleep 60", "exit 0", "/does/not/exist"}) {
        Center center({"listen", "--ask", program});
        EXPECT_THAT(Driver().Ask(kMessageKeyEvent, KeyDown(0x24)), IsEmpty()) << program;
    }
}

TEST(KivoCtlListen, SaysOnceThatTheProgramGivesNoAnswer) {
    Center center({"listen", "--ask", "exec sleep 60"});
    const Driver driver;
    driver.Ask(kMessageKeyEvent, KeyDown(0x24));
    driver.Ask(kMessageKeyEvent, KeyDown(0x25));
    driver.Tell(kMessageConnect, kIdentity);
    EXPECT_THAT(center.ReadJson()["text"].get<std::string>(), HasSubstr("gives no answer"));
    EXPECT_EQ(center.ReadJson()["name"], "connected");
}

TEST(KivoCtlListen, SwitchesForwardingOffAtTheEnd) {
    std::promise<Bytes> switched;
    const ScriptedDaemon daemon([&](SInt32 code, std::span<const UInt8> payload) {
        if (code == kMessageEventTap) switched.set_value({payload.begin(), payload.end()});
        return Bytes();
    });
    Center center({"listen", "--keys", "--count", "1"});
    Driver().Ask(kMessageKeyEvent, KeyDown(0x24));
    EXPECT_EQ(center.ReadJson()["key"], "Return");
    EXPECT_EQ(center.ReadJson()["on"], false);
    EXPECT_EQ(center.Wait().status, 0);
    EXPECT_THAT(switched.get_future().get(), ElementsAre(0));
}

TEST(KivoCtlListen, EndsAfterTheMessageThatItWaitsFor) {
    Center center({"listen", "--until", "KiFI"});
    const Driver driver;
    driver.Tell(kMessageConnect, kIdentity);
    driver.Tell(kMessageFrontBundleID, Text("xterm"));
    EXPECT_EQ(center.ReadJson()["name"], "connected");
    EXPECT_EQ(center.ReadJson()["bundleIdentifier"], "xterm");
    EXPECT_EQ(center.Wait().status, 0);
}

TEST(KivoCtlListen, EndsAfterSoManyMessages) {
    Center center({"listen", "--count", "2"});
    const Driver driver;
    for (int i = 0; i < 3; ++i)
        driver.Tell(kMessageConnect, kIdentity);
    center.ReadJson();
    center.ReadJson();
    const auto ending = center.Wait();
    EXPECT_EQ(ending.status, 0);
    EXPECT_THAT(ending.output, IsEmpty());
}

TEST(KivoCtlListen, EndsWithStatus4WhenNothingCame) {
    EXPECT_EQ(Center({"listen", "--until", "KiFI", "--timeout", "0.1"}).Wait().status, 4);
    EXPECT_EQ(Center({"listen", "--count", "1", "--timeout", "0.1"}).Wait().status, 4);
    EXPECT_EQ(Center({"listen", "--timeout", "0.1"}).Wait().status, 0);
}

TEST(KivoCtlListen, EndsInGoodOrderOnSignals) {
    for (const int number : {SIGINT, SIGTERM}) {
        Center center({"listen"});
        center.Signal(number);
        EXPECT_EQ(center.Wait().status, 0);
        EXPECT_THROW(Driver(), std::runtime_error);
    }
}

TEST(KivoCtlListen, EndsQuietlyWhenNobodyReads) {
    Center center({"listen"});
    const Driver driver;
    center.CloseOutput();
    driver.Tell(kMessageConnect, kIdentity);
    const auto ending = center.Wait();
    EXPECT_EQ(ending.status, 0);
    EXPECT_THAT(ending.error, IsEmpty());
}

TEST(KivoCtlListen, GivesWayToAnotherControlCenter) {
    Center center({"listen"});
    const auto ending = RunKivoctl({"listen"});
    EXPECT_EQ(ending.status, 6);
    EXPECT_THAT(ending.error, HasSubstr("another program owns the port \"KivoDriver\""));
    EXPECT_THAT(RunKivoctl({"status"}).output, HasSubstr("; a control center is running"));
}

/// Answers questions, but tells the control center something first.
class TalkativeDaemon : public ScriptedDaemon {
  public:
    TalkativeDaemon() : ScriptedDaemon(Answer) {}

  private:
    static Bytes Answer(SInt32 code, std::span<const UInt8>) {
        if (code != kMessagePointer) return {};
        const Driver driver;
        driver.Tell(kMessageFrontBundleID, Text("xterm"));
        if (driver.Ask(kMessageKeyEvent, KeyDown(1)) != Bytes{1}) return {};
        return BytesOfSpec(SPointSpec(3, 4));
    }
};

TEST(KivoCtlSession, AnswersCommandsAmongTheMessages) {
    const TalkativeDaemon daemon;
    Center center({"session"});
    center.Write("pointer\n");
    json first = center.ReadJson();
    json second = center.ReadJson();
    EXPECT_EQ(first["name"], "frontApplication");
    EXPECT_EQ(second["name"], "pointer");
    EXPECT_EQ(second["x"], 3);
    EXPECT_TRUE(second.contains("time"));
    center.Write("window \"No such\" --partial\ntarget A 'B C'\n# nothing\n\ntap off\n");
    EXPECT_EQ(center.ReadJson()["found"], false);
    EXPECT_EQ(center.ReadJson()["name"], "target");
    EXPECT_EQ(center.ReadJson()["on"], false);
    center.Write("quit\n");
    EXPECT_EQ(center.Wait().status, 0);
}

TEST(KivoCtlSession, ServesTheDaemonWhileNobodyTypes) {
    Center center({"listen", "--commands"});
    center.Write("poin");
    Driver().Tell(kMessageConnect, kIdentity);
    EXPECT_EQ(center.ReadJson()["name"], "connected");
    center.Write("ter");
    center.CloseInput();
    EXPECT_EQ(center.ReadJson()["status"], 3);
    EXPECT_EQ(center.Wait().status, 0);
}

TEST(KivoCtlSession, TellsWhatIsWrongWithACommandAndGoesOn) {
    Center center({"session"});
    center.Write("pointer\nwindow \"open\npointre\ntap\ntarget --file -\nstatus 1\n");
    EXPECT_THAT(center.ReadJson()["text"], HasSubstr("no daemon is running"));
    EXPECT_THAT(center.ReadJson()["text"], HasSubstr("quote is not closed"));
    EXPECT_THAT(center.ReadJson()["text"], HasSubstr("no command \"pointre\""));
    EXPECT_EQ(center.ReadJson()["status"], 2);
    EXPECT_THAT(center.ReadJson()["text"], HasSubstr("standard input"));
    EXPECT_EQ(center.ReadJson()["name"], "error");
    center.Write("status\n");
    EXPECT_EQ(center.ReadJson()["controlCenter"], true);
}

TEST(KivoCtlSession, SetsWhatTheStatusRequestIsAnswered) {
    Center center({"session"});
    center.Write("status 2 16\n");
    EXPECT_EQ(center.ReadJson()["name"], "statusSet");
    const Bytes reply = Driver().Ask(kMessageStatus, {});
    EXPECT_THAT(std::span(reply).first(8), ElementsAre(0, 0, 0, 2, 0, 0, 0, 16));
}

TEST(KivoCtlSession, FindsADaemonThatWasReplaced) {
    Center center({"session"});
    for (const int x : {1, 2, 3}) {
        const ScriptedDaemon daemon(
            [x](SInt32, std::span<const UInt8>) { return BytesOfSpec(SPointSpec(x, 0)); });
        center.Write("pointer\n");
        EXPECT_EQ(center.ReadJson()["x"], x);
    }
}

TEST(KivoCtlSession, OutlivesItsInputWhenItWaitsForSomething) {
    Center center({"session", "--until", "KiCt"});
    center.CloseInput();
    Driver().Tell(kMessageConnect, kIdentity);
    EXPECT_EQ(center.ReadJson()["name"], "connected");
    EXPECT_EQ(center.Wait().status, 0);
}

}  // namespace
}  // namespace kivo::ctl
