// The list of MIDI devices, and which of them the daemon would hold.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "tests/support/ScriptedSequencer.h"
#include "tools/kivoctl/Midi.h"

namespace kivo::test {
namespace {

using ctl::Answer;
using ctl::ExitCode;
using testing::HasSubstr;

class KivoCtlMidi : public testing::Test {
  protected:
    static Answer Look() { return ctl::DescribeMidi(ctl::ListMidiDevices()); }

    /// Why a device is not held; "held" when it is.
    static std::string ReasonOf(std::size_t device) {
        const nlohmann::ordered_json fields = Look().message.fields["devices"][device];
        return fields["held"] == true ? "held" : fields["reason"];
    }

    /// What is printed when MIDI cannot be reached.
    std::string Complaint(int error) {
        sequencer.openError = error;
        try {
            Look();
        } catch (const ctl::Failure& failure) {
            EXPECT_EQ(failure.Status(), ExitCode::kBroken);
            return failure.what();
        }
        return "none";
    }

    ScriptedSequencer sequencer;
};

TEST_F(KivoCtlMidi, NoDeviceIsSaidSo) {
    const Answer answer = Look();
    EXPECT_EQ(answer.status, ExitCode::kNotFound);
    EXPECT_EQ(answer.message.words, "no MIDI device is plugged in");
    EXPECT_EQ(answer.message.fields.dump(), R"({"name":"midi","held":false,"devices":[]})");
}

TEST_F(KivoCtlMidi, DeviceThatWouldBeHeldIsListedWithAllThatItHas) {
    sequencer.Plug("Kivo", {"Kivo MIDI 1", "Kivo MIDI 2"});
    const Answer answer = Look();
    EXPECT_EQ(answer.status, ExitCode::kAnswered);
    EXPECT_THAT(answer.message.words, HasSubstr("device \"Kivo\": the daemon would hold this one\n"
                                                "  entity \"Kivo MIDI\"\n"
                                                "    source \"Kivo MIDI 1\"\n"
                                                "    source \"Kivo MIDI 2\"\n"
                                                "    destination \"Kivo MIDI 1\"\n"
                                                "    destination \"Kivo MIDI 2\"\n"));
    EXPECT_EQ(answer.message.fields.dump(),
              R"({"name":"midi","held":true,"devices":[{"name":"Kivo","held":true,"entities":[)"
              R"({"name":"Kivo MIDI","sources":["Kivo MIDI 1","Kivo MIDI 2"],)"
              R"("destinations":["Kivo MIDI 1","Kivo MIDI 2"]}]}]})");
}

TEST_F(KivoCtlMidi, OtherNamesAreNotHeld) {
    sequencer.Plug("kivo", {"Kivo MIDI"});
    sequencer.Plug("Kivo 2", {"Kivo MIDI"});
    EXPECT_EQ(ReasonOf(0), "its name is not exactly \"Kivo\"");
    EXPECT_EQ(ReasonOf(1), "its name is not exactly \"Kivo\"");
    EXPECT_EQ(Look().status, ExitCode::kNotFound);
    EXPECT_THAT(Look().message.words, HasSubstr("would hold none of them"));
}

TEST_F(KivoCtlMidi, DeviceWithoutANameIsNotHeld) {
    sequencer.Plug("", {"Kivo MIDI"});
    EXPECT_EQ(ReasonOf(0), "it has no name");
}

TEST_F(KivoCtlMidi, OfTwoTheFirstCounts) {
    sequencer.Plug("Kivo", {"Kivo MIDI"});
    sequencer.Plug("Kivo", {"Kivo MIDI"});
    EXPECT_EQ(ReasonOf(0), "held");
    EXPECT_EQ(ReasonOf(1), "another device of this name comes first, and only that one counts");
}

TEST_F(KivoCtlMidi, FirstOneCountsEvenIfItLacksSomething) {
    sequencer.Plug("Kivo", {"Kivo DAW"});
    sequencer.Plug("Kivo", {"Kivo MIDI"});
    EXPECT_EQ(ReasonOf(0), "it has no entity \"Kivo MIDI\"");
    EXPECT_EQ(ReasonOf(1), "another device of this name comes first, and only that one counts");
    EXPECT_EQ(Look().status, ExitCode::kNotFound);
}

TEST_F(KivoCtlMidi, MissingDirectionsAreTold) {
    auto& capabilities = sequencer.Plug("Kivo", {"Kivo MIDI"}).ports[0].capabilities;
    capabilities = midi::kCanBeRead | midi::kCanBeSubscribedForReading;
    EXPECT_EQ(ReasonOf(0), "its entity \"Kivo MIDI\" has no destination");
    capabilities = midi::kCanBeWritten | midi::kCanBeSubscribedForWriting;
    EXPECT_EQ(ReasonOf(0), "its entity \"Kivo MIDI\" has no source");
}

TEST_F(KivoCtlMidi, ControlCharactersInNamesDoNotReachTheTerminal) {
    sequencer.Plug("Bell\a", {});
    EXPECT_THAT(Look().message.words, HasSubstr("device \"Bell\\x07\""));
}

TEST_F(KivoCtlMidi, MissingSequencerIsToldWithWhatToDo) {
    EXPECT_THAT(Complaint(-ENOENT), HasSubstr("modprobe snd-seq"));
}

TEST_F(KivoCtlMidi, MissingPermissionIsToldWithWhatToDo) {
    EXPECT_THAT(Complaint(-EACCES), HasSubstr("group audio"));
}

TEST_F(KivoCtlMidi, SignsOutWhenItHasLooked) {
    Look();
    EXPECT_EQ(sequencer.calls, (std::vector<std::string>{"open kivoctl", "close"}));
}

}  // namespace
}  // namespace kivo::test
