// How sequencer clients and ports become devices, entities and endpoints.

#include <CoreMIDI/Setup.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace kivo::midi {
namespace {

using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;

constexpr unsigned kReads = kCanBeRead | kCanBeSubscribedForReading;
constexpr unsigned kWrites = kCanBeWritten | kCanBeSubscribedForWriting;

SequencerClient Card(int number, const std::string& name, std::vector<SequencerPort> ports) {
    return {number, name, true, number / 4, std::move(ports)};
}

Device OnlyDevice(std::vector<SequencerPort> ports) {
    return DevicesAmong({Card(20, "Kivo", std::move(ports))}).at(0);
}

std::vector<std::string> NamesOf(const std::vector<Entity>& entities) {
    std::vector<std::string> names;
    for (const Entity& entity : entities)
        names.push_back(entity.name);
    return names;
}

TEST(MIDIEntityName, TrailingNumberIsNoPartOfIt) {
    EXPECT_EQ(EntityNameOf("Kivo MIDI"), "Kivo MIDI");
    EXPECT_EQ(EntityNameOf("Kivo MIDI 1"), "Kivo MIDI");
    EXPECT_EQ(EntityNameOf("Kivo MIDI 12"), "Kivo MIDI");
}

TEST(MIDIEntityName, NumberThatIsAPartOfAWordStays) {
    EXPECT_EQ(EntityNameOf("Kivo MIDI1"), "Kivo MIDI1");
    EXPECT_EQ(EntityNameOf("f_midi-0"), "f_midi-0");
    EXPECT_EQ(EntityNameOf("Kivo 2 MIDI"), "Kivo 2 MIDI");
    EXPECT_EQ(EntityNameOf("Kivo MIDI 1a"), "Kivo MIDI 1a");
}

TEST(MIDIEntityName, OnlyOneNumberIsTakenOff) {
    EXPECT_EQ(EntityNameOf("Kivo MIDI 1 2"), "Kivo MIDI 1");
}

TEST(MIDIEntityName, NeverBecomesEmpty) {
    EXPECT_EQ(EntityNameOf(""), "");
    EXPECT_EQ(EntityNameOf("7"), "7");
    EXPECT_EQ(EntityNameOf(" 7"), " 7");
    EXPECT_EQ(EntityNameOf("Kivo MIDI "), "Kivo MIDI ");
}

TEST(MIDIDevices, AreKernelClientsWithACard) {
    const std::vector<SequencerClient> clients = {
        {0, "System", true, -1, {}},
        {14, "Midi Through", true, -1, {{0, "Midi Through Port-0", kReads | kWrites}}},
        Card(20, "Kivo", {}),
        {128, "Kivo", false, -1, {{0, "Kivo MIDI", kReads | kWrites}}},
        Card(24, "Other Pad", {}),
    };
    EXPECT_THAT(DevicesAmong(clients),
                ElementsAre(Field(&Device::name, "Kivo"), Field(&Device::name, "Other Pad")));
}

TEST(MIDIDevices, WithoutPortsHaveNoEntities) {
    EXPECT_THAT(OnlyDevice({}).entities, IsEmpty());
}

TEST(MIDIEntities, PortWithANumberIsTheWholeEntity) {
    const Device device = OnlyDevice({{0, "Kivo MIDI 1", kReads | kWrites}});
    ASSERT_THAT(NamesOf(device.entities), ElementsAre("Kivo MIDI"));
    EXPECT_THAT(device.entities[0].sources, SizeIs(1));
    EXPECT_THAT(device.entities[0].destinations, SizeIs(1));
}

TEST(MIDIEntities, NumberedPortsAreOneEntityInTheirOrder) {
    const Device device =
        OnlyDevice({{0, "Kivo MIDI 1", kReads | kWrites}, {1, "Kivo MIDI 2", kReads | kWrites}});
    ASSERT_THAT(NamesOf(device.entities), ElementsAre("Kivo MIDI"));
    EXPECT_THAT(device.entities[0].sources, ElementsAre(Field(&Endpoint::address, Address{20, 0}),
                                                        Field(&Endpoint::address, Address{20, 1})));
    EXPECT_THAT(
        device.entities[0].destinations,
        ElementsAre(Field(&Endpoint::name, "Kivo MIDI 1"), Field(&Endpoint::name, "Kivo MIDI 2")));
}

TEST(MIDIEntities, OtherNamesAreOtherEntitiesInTheOrderOfTheirFirstPorts) {
    const Device device =
        OnlyDevice({{0, "Kivo DAW", kReads}, {1, "Kivo MIDI", kReads}, {2, "Kivo DAW 2", kReads}});
    EXPECT_THAT(NamesOf(device.entities), ElementsAre("Kivo DAW", "Kivo MIDI"));
    EXPECT_THAT(device.entities[0].sources, SizeIs(2));
}

TEST(MIDIEntities, DirectionIsThatOfTheCapabilities) {
    const Device device = OnlyDevice({{0, "Kivo MIDI 1", kReads}, {1, "Kivo MIDI 2", kWrites}});
    ASSERT_THAT(device.entities, SizeIs(1));
    EXPECT_THAT(device.entities[0].sources, ElementsAre(Field(&Endpoint::address, Address{20, 0})));
    EXPECT_THAT(device.entities[0].destinations,
                ElementsAre(Field(&Endpoint::address, Address{20, 1})));
}

TEST(MIDIEntities, PortsThatNobodyMaySubscribeToAreLeftOut) {
    EXPECT_THAT(OnlyDevice({{0, "Kivo MIDI", kCanBeRead | kCanBeWritten}}).entities, IsEmpty());
    EXPECT_THAT(OnlyDevice({{0, "Kivo MIDI", kReads | kWrites | kIsPrivate}}).entities, IsEmpty());
    EXPECT_THAT(OnlyDevice({{0, "Kivo MIDI", 0}}).entities, IsEmpty());
}

/// A setup that looks at clients, as often as a test wants.
class MIDISetupReferences : public testing::Test {
  protected:
    void Look(const std::vector<SequencerClient>& clients) { setup.Update(clients, references); }

    References references;
    midi::Setup setup;
};

TEST_F(MIDISetupReferences, AreDistinctAndNotZero) {
    Look({Card(20, "Kivo", {{0, "Kivo MIDI", kReads | kWrites}})});
    const Device& device = setup.Devices().at(0);
    const Entity& entity = device.entities.at(0);
    const std::set<MIDIObjectRef> all = {0, device.ref, entity.ref, entity.sources.at(0).ref,
                                         entity.destinations.at(0).ref};
    EXPECT_THAT(all, SizeIs(5));
}

TEST_F(MIDISetupReferences, StayWhileTheObjectDoes) {
    const auto kivo = Card(24, "Kivo", {{0, "Kivo MIDI", kReads | kWrites}});
    Look({kivo});
    const Device before = setup.Devices().at(0);
    Look({Card(20, "Other Pad", {}), kivo});
    const Device& after = setup.Devices().at(1);
    EXPECT_EQ(after.ref, before.ref);
    EXPECT_EQ(after.entities[0].ref, before.entities[0].ref);
    EXPECT_EQ(after.entities[0].sources[0].ref, before.entities[0].sources[0].ref);
    EXPECT_EQ(after.entities[0].destinations[0].ref, before.entities[0].destinations[0].ref);
    EXPECT_EQ(setup.FindDevice(before.ref), &after);
}

TEST_F(MIDISetupReferences, OfWhatHasGoneStandForNothing) {
    Look({Card(20, "Kivo", {{0, "Kivo MIDI", kReads | kWrites}})});
    const Device before = setup.Devices().at(0);
    Look({});
    EXPECT_EQ(setup.FindDevice(before.ref), nullptr);
    EXPECT_EQ(setup.FindEntity(before.entities[0].ref), nullptr);
    EXPECT_EQ(setup.FindSource(before.entities[0].sources[0].ref), nullptr);
    EXPECT_EQ(setup.FindDestination(before.entities[0].destinations[0].ref), nullptr);
    EXPECT_EQ(setup.FindName(before.ref), nullptr);
}

TEST_F(MIDISetupReferences, OfAnotherDeviceInTheSamePlaceAreNew) {
    Look({Card(20, "Kivo", {})});
    const MIDIDeviceRef before = setup.Devices().at(0).ref;
    Look({Card(20, "Other Pad", {})});
    EXPECT_NE(setup.Devices().at(0).ref, before);
}

TEST_F(MIDISetupReferences, SourceAndDestinationAreToldApart) {
    Look({Card(20, "Kivo", {{0, "Kivo MIDI 1", kReads | kWrites}})});
    const Entity& entity = setup.Devices().at(0).entities.at(0);
    EXPECT_EQ(setup.FindSource(entity.sources[0].ref), &entity.sources[0]);
    EXPECT_EQ(setup.FindSource(entity.destinations[0].ref), nullptr);
    EXPECT_EQ(setup.FindDestination(entity.sources[0].ref), nullptr);
    EXPECT_EQ(*setup.FindName(entity.sources[0].ref), "Kivo MIDI 1");
    EXPECT_EQ(*setup.FindName(entity.ref), "Kivo MIDI");
}

}  // namespace
}  // namespace kivo::midi
