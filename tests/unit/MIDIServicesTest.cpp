// What the MIDI names give for each answer of the sequencer, and how what arrives is handed on.

#include <CoreMIDI/CoreMIDI.h>
#include <CoreMIDI/MIDISeams.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include "tests/support/ScriptedSequencer.h"
#include "tests/support/Text.h"

namespace kivo::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Bytes = std::vector<UInt8>;

/// What a read procedure was called with.
struct Received {
    Bytes bytes;
    UInt32 packets;
    MIDITimeStamp time;
    void* portRefCon;
    void* connectionRefCon;
    std::thread::id thread;
};

std::vector<Received>& ReceivedSoFar() {
    static std::vector<Received> received;
    return received;
}

void Receive(const MIDIPacketList* list, void* portRefCon, void* connectionRefCon) {
    const MIDIPacket& packet = list->packet[0];
    ReceivedSoFar().push_back({Bytes(packet.data, packet.data + packet.length), list->numPackets,
                               packet.timeStamp, portRefCon, connectionRefCon,
                               std::this_thread::get_id()});
}

class MIDIServices : public testing::Test {
  protected:
    MIDIServices() { ReceivedSoFar().clear(); }

    OSStatus SignIn() { return MIDIClientCreate(CFSTR("KIVO"), nullptr, nullptr, &client); }
    OSStatus MakeInput() {
        return MIDIInputPortCreate(client, CFSTR("In"), Receive, &portMark, &input);
    }
    MIDIEntityRef FirstEntity() {
        EXPECT_GE(MIDIGetNumberOfDevices(), 1U);
        return MIDIDeviceGetEntity(MIDIGetDevice(0), 0);
    }
    /// Plugs a Kivo in and signs in with an input port.
    void Prepare() {
        sequencer.Plug("Kivo", {"Kivo MIDI 1"});
        ASSERT_EQ(SignIn(), noErr);
        ASSERT_EQ(MakeInput(), noErr);
        source = MIDIEntityGetSource(FirstEntity(), 0);
        destination = MIDIEntityGetDestination(FirstEntity(), 0);
    }
    OSStatus Connect() { return MIDIPortConnectSource(input, source, &connectionMark); }
    void PrepareConnected() {
        Prepare();
        ASSERT_EQ(Connect(), noErr);
    }

    ScriptedSequencer sequencer;
    MIDIClientRef client = 0;
    MIDIPortRef input = 0;
    MIDIEndpointRef source = 0;
    MIDIEndpointRef destination = 0;
    int portMark = 0;
    int connectionMark = 0;
};

constexpr midi::Address kKivoPort{16, 0};

struct OpenCase {
    int error;
    OSStatus status;
};

TEST_F(MIDIServices, ClientWithoutASequencerGetsAnErrorAndNothingElse) {
    for (const auto& [error, status] : std::vector<OpenCase>{{-ENOENT, kMIDIServerStartErr},
                                                             {-ENODEV, kMIDIServerStartErr},
                                                             {-ENXIO, kMIDIServerStartErr},
                                                             {-ENOMEM, kMIDIServerStartErr},
                                                             {-EMFILE, kMIDIServerStartErr},
                                                             {-EACCES, kMIDINotPermitted},
                                                             {-EPERM, kMIDINotPermitted}}) {
        SCOPED_TRACE(error);
        sequencer.openError = error;
        EXPECT_EQ(SignIn(), status);
        EXPECT_EQ(client, 0U);
        EXPECT_EQ(midi::CountClients(), 0U);
    }
}

TEST_F(MIDIServices, ClientIsKnownToTheSequencerByItsName) {
    EXPECT_EQ(SignIn(), noErr);
    EXPECT_NE(client, 0U);
    EXPECT_THAT(sequencer.calls, ElementsAre("open KIVO"));
}

TEST_F(MIDIServices, ClientNeedsANameAndAPlaceForTheResult) {
    EXPECT_EQ(MIDIClientCreate(nullptr, nullptr, nullptr, &client), -50);
    EXPECT_EQ(MIDIClientCreate(CFSTR("KIVO"), nullptr, nullptr, nullptr), -50);
    EXPECT_THAT(sequencer.calls, IsEmpty());
}

TEST_F(MIDIServices, DisposedClientIsClosedAndUnknown) {
    SignIn();
    EXPECT_EQ(MIDIClientDispose(client), noErr);
    EXPECT_THAT(sequencer.calls, ElementsAre("open KIVO", "close"));
    EXPECT_EQ(MIDIClientDispose(client), kMIDIInvalidClient);
    EXPECT_EQ(MakeInput(), kMIDIInvalidClient);
}

TEST_F(MIDIServices, PortsArePrivateAndOfOneDirection) {
    SignIn();
    MIDIPortRef output = 0;
    EXPECT_EQ(MakeInput(), noErr);
    EXPECT_EQ(MIDIOutputPortCreate(client, CFSTR("Out"), &output), noErr);
    const auto mayBe = [](unsigned capability) {
        return std::to_string(capability | midi::kIsPrivate);
    };
    EXPECT_THAT(sequencer.calls, ElementsAre("open KIVO", "port In " + mayBe(midi::kCanBeWritten),
                                             "port Out " + mayBe(midi::kCanBeRead)));
    EXPECT_NE(input, 0U);
    EXPECT_NE(output, 0U);
    EXPECT_NE(input, output);
}

TEST_F(MIDIServices, PortThatTheSequencerRefusesIsNoPort) {
    SignIn();
    sequencer.portErrors = {{"In", -ENOMEM}, {"Out", -ENOMEM}};
    MIDIPortRef output = 0;
    EXPECT_EQ(MakeInput(), kMIDIMessageSendErr);
    EXPECT_EQ(MIDIOutputPortCreate(client, CFSTR("Out"), &output), kMIDIMessageSendErr);
    EXPECT_EQ(input, 0U);
    EXPECT_EQ(output, 0U);
}

TEST_F(MIDIServices, PortsNeedAClientANameAProcedureAndAPlaceForTheResult) {
    EXPECT_EQ(MakeInput(), kMIDIInvalidClient);
    EXPECT_EQ(MIDIOutputPortCreate(4711, CFSTR("Out"), &input), kMIDIInvalidClient);
    SignIn();
    EXPECT_EQ(MIDIInputPortCreate(client, nullptr, Receive, nullptr, &input), -50);
    EXPECT_EQ(MIDIInputPortCreate(client, CFSTR("In"), nullptr, nullptr, &input), -50);
    EXPECT_EQ(MIDIInputPortCreate(client, CFSTR("In"), Receive, nullptr, nullptr), -50);
    EXPECT_EQ(MIDIOutputPortCreate(client, nullptr, &input), -50);
    EXPECT_EQ(MIDIOutputPortCreate(client, CFSTR("Out"), nullptr), -50);
    EXPECT_EQ(input, 0U);
}

TEST_F(MIDIServices, DevicesAreCountedWithoutAClientToo) {
    sequencer.Plug("Kivo", {});
    sequencer.Plug("Other Pad", {});
    EXPECT_EQ(MIDIGetNumberOfDevices(), 2U);
    EXPECT_EQ(sequencer.calls.back(), "close");
    SignIn();
    sequencer.calls.clear();
    EXPECT_EQ(MIDIGetNumberOfDevices(), 2U);
    EXPECT_THAT(sequencer.calls, IsEmpty()) << "the client's connection serves";
}

TEST_F(MIDIServices, NoSequencerMeansNoDevices) {
    sequencer.openError = -ENOENT;
    EXPECT_EQ(MIDIGetNumberOfDevices(), 0U);
    EXPECT_EQ(MIDIGetDevice(0), 0U);
}

TEST_F(MIDIServices, IndicesPastTheEndAndUnknownObjectsGiveNothing) {
    sequencer.Plug("Kivo", {"Kivo MIDI"});
    const MIDIEntityRef entity = FirstEntity();
    EXPECT_EQ(MIDIGetDevice(1), 0U);
    EXPECT_EQ(MIDIDeviceGetEntity(MIDIGetDevice(0), 1), 0U);
    EXPECT_EQ(MIDIEntityGetSource(entity, 1), 0U);
    EXPECT_EQ(MIDIEntityGetDestination(entity, 1), 0U);
    EXPECT_EQ(MIDIDeviceGetNumberOfEntities(entity), 0U) << "it is no device";
    EXPECT_EQ(MIDIDeviceGetEntity(0, 0), 0U);
    EXPECT_EQ(MIDIEntityGetSource(0, 0), 0U);
    EXPECT_EQ(MIDIEntityGetNumberOfSources(0), 0U);
    EXPECT_EQ(MIDIEntityGetNumberOfDestinations(4711), 0U);
}

TEST_F(MIDIServices, ObjectsStayAsTheyWereUntilTheNextLook) {
    sequencer.Plug("Kivo", {"Kivo MIDI"});
    const MIDIEntityRef entity = FirstEntity();
    sequencer.clients.clear();
    EXPECT_NE(MIDIEntityGetSource(entity, 0), 0U);
    EXPECT_EQ(MIDIGetNumberOfDevices(), 0U);
    EXPECT_EQ(MIDIEntityGetSource(entity, 0), 0U);
}

TEST_F(MIDIServices, NamesAreReadFromEachKindOfObject) {
    Prepare();
    const auto nameOf = [](MIDIObjectRef object) {
        CFRef<CFStringRef> name;
        EXPECT_EQ(MIDIObjectGetStringProperty(object, kMIDIPropertyName, name.Receive()), noErr);
        return name ? Utf8Text(name.Get()) : "";
    };
    EXPECT_EQ(nameOf(MIDIGetDevice(0)), "Kivo");
    EXPECT_EQ(nameOf(FirstEntity()), "Kivo MIDI");
    EXPECT_EQ(nameOf(source), "Kivo MIDI 1");
    EXPECT_EQ(nameOf(destination), "Kivo MIDI 1");
}

TEST_F(MIDIServices, NameThatIsNotUtf8IsRepaired) {
    sequencer.Plug("Kivo\xff", {});
    MIDIGetNumberOfDevices();
    CFRef<CFStringRef> name;
    EXPECT_EQ(MIDIObjectGetStringProperty(MIDIGetDevice(0), kMIDIPropertyName, name.Receive()),
              noErr);
    EXPECT_EQ(Utf8Text(name.Get()), "Kivo\xEF\xBF\xBD");
}

TEST_F(MIDIServices, PropertiesThatAreNotThereGiveAnErrorAndNoText) {
    Prepare();
    sequencer.Plug("", {});
    EXPECT_EQ(MIDIGetNumberOfDevices(), 2U);
    CFStringRef text = nullptr;
    EXPECT_EQ(MIDIObjectGetStringProperty(MIDIGetDevice(1), kMIDIPropertyName, &text),
              kMIDIUnknownProperty)
        << "a device without a name";
    EXPECT_EQ(MIDIObjectGetStringProperty(source, CFSTR("model"), &text), kMIDIUnknownProperty);
    EXPECT_EQ(MIDIObjectGetStringProperty(4711, kMIDIPropertyName, &text), kMIDIObjectNotFound);
    EXPECT_EQ(MIDIObjectGetStringProperty(0, kMIDIPropertyName, &text), kMIDIObjectNotFound);
    EXPECT_EQ(MIDIObjectGetStringProperty(source, nullptr, &text), -50);
    EXPECT_EQ(MIDIObjectGetStringProperty(source, kMIDIPropertyName, nullptr), -50);
    EXPECT_EQ(text, nullptr);
}

TEST_F(MIDIServices, ConnectingSubscribesToTheSource) {
    Prepare();
    sequencer.calls.clear();
    EXPECT_EQ(Connect(), noErr);
    EXPECT_THAT(sequencer.calls, ElementsAre("subscribe 16:0 to 0"));
}

TEST_F(MIDIServices, ConnectingWhatCannotBeConnectedGivesTheReason) {
    Prepare();
    MIDIPortRef output = 0;
    MIDIOutputPortCreate(client, CFSTR("Out"), &output);
    sequencer.calls.clear();
    EXPECT_EQ(MIDIPortConnectSource(output, source, nullptr), kMIDIInvalidPort);
    EXPECT_EQ(MIDIPortConnectSource(4711, source, nullptr), kMIDIInvalidPort);
    EXPECT_EQ(MIDIPortConnectSource(0, source, nullptr), kMIDIInvalidPort);
    EXPECT_EQ(MIDIPortConnectSource(input, destination, nullptr), kMIDIWrongEndpointType);
    EXPECT_EQ(MIDIPortConnectSource(input, FirstEntity(), nullptr), kMIDIUnknownEndpoint);
    EXPECT_EQ(MIDIPortConnectSource(input, 0, nullptr), kMIDIUnknownEndpoint);
    EXPECT_THAT(sequencer.calls, IsEmpty());
}

TEST_F(MIDIServices, RefusedSubscriptionGivesTheReason) {
    Prepare();
    for (const auto& [error, status] : std::vector<OpenCase>{{-EPERM, kMIDINotPermitted},
                                                             {-EACCES, kMIDINotPermitted},
                                                             {-ENODEV, kMIDIUnknownEndpoint},
                                                             {-ENOENT, kMIDIUnknownEndpoint},
                                                             {-ENXIO, kMIDIUnknownEndpoint},
                                                             {-EINVAL, kMIDIUnknownEndpoint},
                                                             {-EBUSY, kMIDIMessageSendErr},
                                                             {-ENOMEM, kMIDIMessageSendErr}}) {
        SCOPED_TRACE(error);
        sequencer.subscribeError = error;
        EXPECT_EQ(Connect(), status);
    }
    sequencer.Play(kKivoPort, 0, {0x90, 60, 64});
    ASSERT_TRUE(sequencer.AwaitAllRead());
    EXPECT_THAT(ReceivedSoFar(), IsEmpty()) << "there is no connection";
}

TEST_F(MIDIServices, WhatArrivesIsHandedToTheReadProcedureOnAnotherThread) {
    PrepareConnected();
    sequencer.Play(kKivoPort, 0, {0x90, 60, 64});
    ASSERT_TRUE(sequencer.AwaitAllRead());
    ASSERT_THAT(ReceivedSoFar(), SizeIs(1));
    const Received& received = ReceivedSoFar()[0];
    EXPECT_EQ(received.bytes, (Bytes{0x90, 60, 64}));
    EXPECT_EQ(received.packets, 1U);
    EXPECT_GT(received.time, 0U);
    EXPECT_EQ(received.portRefCon, &portMark);
    EXPECT_EQ(received.connectionRefCon, &connectionMark);
    EXPECT_NE(received.thread, std::this_thread::get_id());
}

TEST_F(MIDIServices, LongMessagesComeInStretches) {
    PrepareConnected();
    Bytes message(600, 0x11);
    message.front() = 0xF0;
    message.back() = 0xF7;
    sequencer.Play(kKivoPort, 0, message);
    ASSERT_TRUE(sequencer.AwaitAllRead());
    ASSERT_THAT(ReceivedSoFar(), SizeIs(3));
    Bytes together;
    for (const Received& received : ReceivedSoFar()) {
        together.insert(together.end(), received.bytes.begin(), received.bytes.end());
    }
    EXPECT_EQ(together, message);
}

TEST_F(MIDIServices, OtherPortsAndOtherSourcesAreNotHandedOn) {
    PrepareConnected();
    sequencer.Play({20, 0}, 0, {0xFE});
    sequencer.Play(kKivoPort, 1, {0xFE});
    sequencer.Play(kKivoPort, 0, {});
    ASSERT_TRUE(sequencer.AwaitAllRead());
    EXPECT_THAT(ReceivedSoFar(), IsEmpty());
}

TEST_F(MIDIServices, ConnectingAgainReplacesTheReference) {
    PrepareConnected();
    sequencer.calls.clear();
    int other = 0;
    EXPECT_EQ(MIDIPortConnectSource(input, source, &other), noErr);
    EXPECT_THAT(sequencer.calls, IsEmpty());
    sequencer.Play(kKivoPort, 0, {0xF8});
    ASSERT_TRUE(sequencer.AwaitAllRead());
    ASSERT_THAT(ReceivedSoFar(), SizeIs(1));
    EXPECT_EQ(ReceivedSoFar()[0].connectionRefCon, &other);
}

TEST_F(MIDIServices, DroppedEventsDoNotEndTheReading) {
    PrepareConnected();
    sequencer.FailRead(-ENOSPC);
    sequencer.FailRead(-EINTR);
    sequencer.Play(kKivoPort, 0, {0xF8});
    ASSERT_TRUE(sequencer.AwaitAllRead());
    EXPECT_THAT(ReceivedSoFar(), SizeIs(1));
}

TEST_F(MIDIServices, FloodIsHandedOnWhole) {
    PrepareConnected();
    for (int i = 0; i < 10'000; ++i)
        sequencer.Play(kKivoPort, 0, {0xF8});
    ASSERT_TRUE(sequencer.AwaitAllRead());
    EXPECT_THAT(ReceivedSoFar(), SizeIs(10'000));
}

std::ptrdiff_t CountThreads() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

bool AwaitThreads(std::ptrdiff_t count) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < deadline) {
        if (CountThreads() == count) return true;
        std::this_thread::yield();
    }
    return false;
}

TEST_F(MIDIServices, ReadingEndsWhenTheSequencerDoes) {
    const std::ptrdiff_t before = CountThreads();
    PrepareConnected();
    EXPECT_EQ(CountThreads(), before + 1);
    sequencer.FailRead(-ENODEV);
    EXPECT_TRUE(AwaitThreads(before)) << "it would spin";
    EXPECT_EQ(MIDIClientDispose(client), noErr);
}

TEST_F(MIDIServices, NothingIsReadBeforeThereIsAConnection) {
    const std::ptrdiff_t before = CountThreads();
    Prepare();
    EXPECT_EQ(CountThreads(), before);
}

TEST_F(MIDIServices, DisposedClientHasNoReadingThread) {
    const std::ptrdiff_t before = CountThreads();
    PrepareConnected();
    EXPECT_EQ(MIDIClientDispose(client), noErr);
    EXPECT_TRUE(AwaitThreads(before));
    EXPECT_EQ(Connect(), kMIDIInvalidPort);
}

OSStatus gDisposedWith = noErr;
MIDIClientRef gDisposed = 0;

TEST_F(MIDIServices, ReadProcedureCannotDisposeOfItsClient) {
    Prepare();
    gDisposed = client;
    MIDIPortRef port = 0;
    MIDIInputPortCreate(
        client, CFSTR("Disposing"),
        [](const MIDIPacketList*, void*, void*) { gDisposedWith = MIDIClientDispose(gDisposed); },
        nullptr, &port);
    ASSERT_EQ(MIDIPortConnectSource(port, source, nullptr), noErr);
    sequencer.Play(kKivoPort, 1, {0xF8});
    ASSERT_TRUE(sequencer.AwaitAllRead());
    EXPECT_EQ(gDisposedWith, kMIDIWrongThread);
    EXPECT_EQ(midi::CountClients(), 1U);
}

TEST_F(MIDIServices, ReadingThreadTakesNoSignals) {
    static std::thread::id handledOn;
    std::signal(SIGUSR1, [](int) { handledOn = std::this_thread::get_id(); });
    PrepareConnected();
    sigset_t blocked;
    sigset_t mine;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &blocked, &mine);
    kill(getpid(), SIGUSR1);
    sequencer.Play(kKivoPort, 0, {0xF8});
    ASSERT_TRUE(sequencer.AwaitAllRead());
    EXPECT_EQ(handledOn, std::thread::id());
    pthread_sigmask(SIG_SETMASK, &mine, nullptr);
    EXPECT_EQ(handledOn, std::this_thread::get_id());
}

TEST(MIDISystemSequencer, IsOpenedWithoutAWord) {
    testing::internal::CaptureStderr();
    MIDIClientRef client = 0;
    const OSStatus status = MIDIClientCreate(CFSTR("KIVO test"), nullptr, nullptr, &client);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    // A machine may or may not have a sequencer; either way the answer is whole.
    EXPECT_EQ(status == noErr, client != 0);
    EXPECT_THAT((std::vector{status}),
                Each(testing::AnyOf(noErr, kMIDIServerStartErr, kMIDINotPermitted)));
    if (client != 0) MIDIClientDispose(client);
}

}  // namespace
}  // namespace kivo::test
