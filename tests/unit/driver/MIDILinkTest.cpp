// Finding the controller and holding a connection to it.

#include <CoreMIDI/MIDISeams.h>

#include <cerrno>

#include "ZYNCommon/DesignedRetention.h"
#include "tests/unit/driver/DriverTest.h"

namespace kivo::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

class MIDILinkTest : public DriverTest {
  protected:
    static auto Subscribes() { return Contains(StartsWith("subscribe ")); }
    std::size_t Retained() const {
        return CountDesignedRetentions(DesignedRetention::kMidiSession) - mRetainedBefore;
    }

  private:
    const std::size_t mRetainedBefore = CountDesignedRetentions(DesignedRetention::kMidiSession);
};

TEST_F(MIDILinkTest, SignsInUnderItsNameWithTwoPorts) {
    StartDriver();
    EXPECT_THAT(sequencer.calls, ElementsAre("open KIVO", StartsWith("port Input from hardware "),
                                             StartsWith("port Output to hardware ")));
    EXPECT_NE(Probe().MIDIClient(), 0U);
    EXPECT_FALSE(Probe().Connected());
}

TEST_F(MIDILinkTest, KivoIsFoundAndConnected) {
    sequencer.Plug("Other Pad", {"Kivo MIDI"});
    sequencer.Plug("Kivo", {"Kivo MIDI"});
    StartDriver();
    EXPECT_TRUE(Probe().Connected());
    EXPECT_NE(Probe().Source(), 0U);
    EXPECT_NE(Probe().Destination(), 0U);
    EXPECT_EQ(sequencer.calls.back(), "subscribe 20:0 to 0");
}

TEST_F(MIDILinkTest, NumberOfThePortMakesNoDifference) {
    sequencer.Plug("Kivo", {"Kivo MIDI 1", "Kivo MIDI 2"});
    StartDriver();
    EXPECT_TRUE(Probe().Connected());
    EXPECT_EQ(sequencer.calls.back(), "subscribe 16:0 to 0");
}

TEST_F(MIDILinkTest, EntityNeedNotBeTheFirst) {
    sequencer.Plug("Kivo", {"Kivo DAW", "Kivo MIDI"});
    StartDriver();
    EXPECT_EQ(sequencer.calls.back(), "subscribe 16:1 to 0");
}

TEST_F(MIDILinkTest, OtherNamesAreNotTheController) {
    for (const char* name :
         {"kivo", "KIVO", "Kivo 2", "Kivo ", " Kivo", "Kiv", "Kivoo", "Kivo\xE2\x98\x83"}) {
        sequencer.Plug(name, {"Kivo MIDI"});
    }
    StartDriver();
    EXPECT_FALSE(Probe().Connected());
    EXPECT_EQ(driver->LocateControllerDevice(), 0U);
    EXPECT_THAT(sequencer.calls, Not(Subscribes()));
}

TEST_F(MIDILinkTest, FirstOfTwoKivosWins) {
    sequencer.Plug("Kivo", {"Kivo MIDI"});
    sequencer.Plug("Kivo", {"Kivo MIDI"});
    StartDriver();
    EXPECT_EQ(driver->LocateControllerDevice(), MIDIGetDevice(0));
    EXPECT_EQ(sequencer.calls.back(), "subscribe 16:0 to 0");
}

TEST_F(MIDILinkTest, FirstKivoDecidesEvenIfOnlyTheSecondIsWhole) {
    sequencer.Plug("Kivo", {"Kivo DAW"});
    sequencer.Plug("Kivo", {"Kivo MIDI"});
    StartDriver();
    EXPECT_FALSE(Probe().Connected());
}

TEST_F(MIDILinkTest, KivoWithoutTheEntityIsNotConnected) {
    sequencer.Plug("Kivo", {"Kivo DAW", "kivo midi", "Kivo MIDI Extra"});
    StartDriver();
    EXPECT_FALSE(Probe().Connected());
    EXPECT_NE(driver->LocateControllerDevice(), 0U);
    EXPECT_EQ(driver->LocateControllerPrivateEntity(driver->LocateControllerDevice()), 0U);
}

TEST_F(MIDILinkTest, KivoWithoutASourceIsNotConnected) {
    sequencer.Plug("Kivo", {"Kivo MIDI"}).ports[0].capabilities =
        midi::kCanBeWritten | midi::kCanBeSubscribedForWriting;
    StartDriver();
    EXPECT_FALSE(Probe().Connected());
    EXPECT_EQ(Probe().Source(), 0U);
    EXPECT_EQ(Probe().Destination(), 0U);
}

TEST_F(MIDILinkTest, KivoWithoutADestinationIsNotConnected) {
    sequencer.Plug("Kivo", {"Kivo MIDI"}).ports[0].capabilities =
        midi::kCanBeRead | midi::kCanBeSubscribedForReading;
    StartDriver();
    EXPECT_FALSE(Probe().Connected());
    EXPECT_EQ(Probe().Source(), 0U);
    EXPECT_THAT(sequencer.calls, Not(Subscribes()));
}

TEST_F(MIDILinkTest, ObjectsWithoutANameAreSkipped) {
    sequencer.Plug("", {"Kivo MIDI"});
    sequencer.Plug("Kivo", {"", "Kivo MIDI"});
    StartDriver();
    EXPECT_TRUE(Probe().Connected());
    EXPECT_EQ(sequencer.calls.back(), "subscribe 20:1 to 0");
}

TEST_F(MIDILinkTest, ControllerPluggedInLaterIsNotFound) {
    StartDriver();
    sequencer.calls.clear();
    sequencer.Plug("Kivo", {"Kivo MIDI"});
    Run(60);
    EXPECT_FALSE(Probe().Connected());
    EXPECT_THAT(sequencer.calls, ElementsAre());
}

TEST_F(MIDILinkTest, FailedSearchKeepsWhatWasFoundBefore) {
    sequencer.Plug("Kivo", {"Kivo MIDI"});
    StartDriver();
    const MIDIEndpointRef source = Probe().Source();
    const MIDIEndpointRef destination = Probe().Destination();
    sequencer.clients.clear();
    EXPECT_FALSE(driver->LocateController());
    EXPECT_EQ(Probe().Source(), source);
    EXPECT_EQ(Probe().Destination(), destination);
}

TEST_F(MIDILinkTest, SearchInNoDeviceFindsNothing) {
    StartDriver();
    EXPECT_EQ(driver->LocateControllerPrivateEntity(0), 0U);
    EXPECT_EQ(driver->LocateControllerEchoEntity(0), 0U);
}

TEST_F(MIDILinkTest, EchoEntityIsFoundByItsOwnOperation) {
    sequencer.Plug("Kivo", {"Kivo MIDI", "echo", "Echo"});
    StartDriver();
    const MIDIDeviceRef device = driver->LocateControllerDevice();
    EXPECT_EQ(driver->LocateControllerEchoEntity(device), MIDIDeviceGetEntity(device, 2));
}

/// The errors with which the sequencer cannot be opened.
class NoMIDITest : public MIDILinkTest, public testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(MissingAndForbidden, NoMIDITest, testing::Values(-ENOENT, -EACCES));

TEST_P(NoMIDITest, LeavesTheDaemonAtWork) {
    StartControlCenter();
    sequencer.openError = GetParam();
    StartDriver();
    EXPECT_EQ(Probe().MIDIClient(), 0U);
    EXPECT_EQ(Probe().InputPort(), 0U);
    EXPECT_FALSE(Probe().Connected());
    EXPECT_TRUE(Probe().HasTimer());
    Run(0.1);
    EXPECT_EQ(controlCenter->PayloadsOf(kMessageConnect).size(), 1U);
    driver.reset();
    EXPECT_EQ(Retained(), 0U);
}

TEST_F(MIDILinkTest, WithoutBothPortsTheControllerIsNotLookedFor) {
    sequencer.Plug("Kivo", {"Kivo MIDI"});
    for (const char* refused : {"Input from hardware", "Output to hardware"}) {
        sequencer.portErrors = {{refused, -ENOMEM}};
        StartDriver();
        EXPECT_NE(Probe().MIDIClient(), 0U);
        EXPECT_FALSE(Probe().Connected());
        EXPECT_EQ(Probe().Source(), 0U);
        driver.reset();
    }
    EXPECT_THAT(sequencer.calls, Not(Subscribes()));
}

TEST_F(MIDILinkTest, RefusedConnectionIsSurvived) {
    sequencer.Plug("Kivo", {"Kivo MIDI"});
    sequencer.subscribeError = -EBUSY;
    StartDriver();
    EXPECT_THAT(sequencer.calls, Subscribes());
    EXPECT_FALSE(Probe().Connected());
    EXPECT_NE(Probe().Source(), 0U);
    EXPECT_TRUE(Probe().HasTimer());
}

TEST_F(MIDILinkTest, FailuresAreNotLogged) {
    StartControlCenter();
    sequencer.openError = -EACCES;
    testing::internal::CaptureStderr();
    StartDriver();
    EXPECT_THAT(testing::internal::GetCapturedStderr(), Not(testing::HasSubstr("MIDI")));
    EXPECT_THAT(CapturedLogTexts(), Not(Contains(testing::HasSubstr("MIDI"))));
}

TEST_F(MIDILinkTest, WhatArrivesChangesNothing) {
    StartControlCenter();
    sequencer.Plug("Kivo", {"Kivo MIDI"});
    StartDriver();
    Run(0.5);
    controlCenter->received.clear();
    for (int i = 0; i < 1000; ++i) {
        sequencer.Play({16, 0}, 0, {0x90, 60, 64});
    }
    ASSERT_TRUE(sequencer.AwaitAllRead());
    Run(0.5);
    EXPECT_TRUE(Probe().Connected());
    EXPECT_THAT(controlCenter->received, testing::IsEmpty());
}

TEST_F(MIDILinkTest, SignsInAfterTheLocalPortIsThereAndBeforeTheControlCenterIsLookedFor) {
    bool checked = false;
    sequencer.onOpen = [&] {
        const auto port = Adopt(CFMessagePortCreateRemote(nullptr, CFSTR("Kivo_MessagePort_KIVB")));
        EXPECT_TRUE(port);
        EXPECT_THAT(CapturedLogTexts(), ElementsAre()) << "nobody was looked for in vain yet";
        checked = true;
    };
    StartDriver();
    EXPECT_TRUE(checked);
    EXPECT_THAT(CapturedLogTexts(), Contains("remotePort is not valid"));
}

TEST_F(MIDILinkTest, SignOutForgetsTheSessionAndLeavesItToTheEndOfTheProcess) {
    sequencer.Plug("Kivo", {"Kivo MIDI"});
    StartDriver();
    driver->MIDISignOut();
    EXPECT_EQ(Probe().MIDIClient(), 0U);
    EXPECT_FALSE(Probe().Connected());
    EXPECT_EQ(midi::CountClients(), 1U);
    EXPECT_THAT(sequencer.calls, Not(Contains("close")));
    EXPECT_EQ(Retained(), 4U) << "client, two ports, connection";
}

TEST_F(MIDILinkTest, TeardownSignsOutOnce) {
    StartDriver();
    driver.reset();
    EXPECT_EQ(Retained(), 3U) << "client and two ports";
    EXPECT_EQ(midi::CountClients(), 1U);
}

TEST(NameCmp, IsEqualityOfTextsShorterThanTheLimit) {
    const std::string long127(127, 'x');
    const std::string long128(128, 'x');
    EXPECT_TRUE(MIDINamesEqual("Kivo", "Kivo", kMIDINameLimit));
    EXPECT_TRUE(MIDINamesEqual("", "", kMIDINameLimit));
    EXPECT_TRUE(MIDINamesEqual(long127.c_str(), long127.c_str(), kMIDINameLimit));
    EXPECT_FALSE(MIDINamesEqual(long128.c_str(), long128.c_str(), kMIDINameLimit));
    EXPECT_FALSE(MIDINamesEqual("Kivo", "Kivo 2", kMIDINameLimit));
    EXPECT_FALSE(MIDINamesEqual("Kivo 2", "Kivo", kMIDINameLimit));
    EXPECT_FALSE(MIDINamesEqual("Kivo", "kivo", kMIDINameLimit));
    EXPECT_FALSE(MIDINamesEqual("", "", 0));
    EXPECT_FALSE(MIDINamesEqual("Kivo", "Kivo", 4)) << "the NUL must lie before the limit";
    EXPECT_TRUE(MIDINamesEqual("Kivo", "Kivo", 5));
}

TEST_F(MIDILinkTest, NameCmpIsThatComparison) {
    StartDriver();
    EXPECT_TRUE(driver->NameCmp("Kivo", "Kivo", 128));
    EXPECT_FALSE(driver->NameCmp("Kivo", "kivo", 128));
}

TEST(ControllerNames, AreWhatTheControllerCallsItself) {
    EXPECT_STREQ(kControllerDeviceName.data(), "Kivo");
    EXPECT_STREQ(kControllerEntityName.data(), "Kivo MIDI");
    EXPECT_STREQ(kEchoEntityName.data(), "Echo");
    EXPECT_EQ(kControllerEntityName.back(), '\0');
}

}  // namespace
}  // namespace kivo::test
