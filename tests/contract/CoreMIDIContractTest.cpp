// What holds of the MIDI names on any system, with whatever devices it has.

#include <CoreMIDI/CoreMIDI.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <set>
#include <type_traits>

#include "platform/CFRef.h"

namespace {

using kivo::CFRef;

constexpr MIDIObjectRef kNoObject = 0x7FFFFFF0;

TEST(CoreMIDITypes, ReferencesAreNumbersOf32Bits) {
    static_assert(std::is_same_v<MIDIObjectRef, UInt32>);
    static_assert(std::is_same_v<MIDIClientRef, MIDIObjectRef>);
    static_assert(std::is_same_v<MIDIPortRef, MIDIObjectRef>);
    static_assert(std::is_same_v<MIDIDeviceRef, MIDIObjectRef>);
    static_assert(std::is_same_v<MIDIEntityRef, MIDIObjectRef>);
    static_assert(std::is_same_v<MIDIEndpointRef, MIDIObjectRef>);
}

TEST(CoreMIDITypes, PacketsAreLaidOutInStepsOfFourBytes) {
    EXPECT_EQ(sizeof(MIDIPacket), 268U);
    EXPECT_EQ(offsetof(MIDIPacket, timeStamp), 0U);
    EXPECT_EQ(offsetof(MIDIPacket, length), 8U);
    EXPECT_EQ(offsetof(MIDIPacket, data), 10U);
    EXPECT_EQ(sizeof(MIDIPacketList), 272U);
    EXPECT_EQ(offsetof(MIDIPacketList, packet), 4U);
}

TEST(CoreMIDITypes, ErrorsHaveTheirNumbers) {
    EXPECT_EQ(kMIDIInvalidClient, -10830);
    EXPECT_EQ(kMIDIInvalidPort, -10831);
    EXPECT_EQ(kMIDIWrongEndpointType, -10832);
    EXPECT_EQ(kMIDINoConnection, -10833);
    EXPECT_EQ(kMIDIUnknownEndpoint, -10834);
    EXPECT_EQ(kMIDIUnknownProperty, -10835);
    EXPECT_EQ(kMIDIWrongPropertyType, -10836);
    EXPECT_EQ(kMIDINoCurrentSetup, -10837);
    EXPECT_EQ(kMIDIMessageSendErr, -10838);
    EXPECT_EQ(kMIDIServerStartErr, -10839);
    EXPECT_EQ(kMIDISetupFormatErr, -10840);
    EXPECT_EQ(kMIDIWrongThread, -10841);
    EXPECT_EQ(kMIDIObjectNotFound, -10842);
    EXPECT_EQ(kMIDIIDNotUnique, -10843);
    EXPECT_EQ(kMIDINotPermitted, -10844);
}

TEST(CoreMIDITypes, NextPacketFollowsTheBytesOfThisOne) {
    alignas(8) std::array<UInt8, 2 * sizeof(MIDIPacket)> memory{};
    auto* const packet = reinterpret_cast<MIDIPacket*>(memory.data());
    packet->length = 3;
    const auto distance = reinterpret_cast<const UInt8*>(MIDIPacketNext(packet)) - memory.data();
#if defined(__arm__) || defined(__aarch64__)
    EXPECT_EQ(distance, 16);
#else
    EXPECT_EQ(distance, 13);
#endif
}

TEST(CoreMIDIDevices, AreCountedAndIndexedFromZero) {
    const ItemCount count = MIDIGetNumberOfDevices();
    std::set<MIDIDeviceRef> devices;
    for (ItemCount index = 0; index < count; ++index)
        devices.insert(MIDIGetDevice(index));
    EXPECT_EQ(devices.size(), count);
    EXPECT_FALSE(devices.contains(0));
    for (const MIDIDeviceRef device : devices) {
        CFRef<CFStringRef> name;
        if (MIDIObjectGetStringProperty(device, kMIDIPropertyName, name.Receive()) == noErr) {
            EXPECT_EQ(CFGetTypeID(name.Get()), CFStringGetTypeID());
        }
    }
    EXPECT_EQ(MIDIGetDevice(count), 0U);
}

TEST(CoreMIDIDevices, UnknownObjectsHaveNothingInThem) {
    EXPECT_EQ(MIDIDeviceGetNumberOfEntities(kNoObject), 0U);
    EXPECT_EQ(MIDIDeviceGetEntity(kNoObject, 0), 0U);
    EXPECT_EQ(MIDIEntityGetNumberOfSources(kNoObject), 0U);
    EXPECT_EQ(MIDIEntityGetSource(kNoObject, 0), 0U);
    EXPECT_EQ(MIDIEntityGetNumberOfDestinations(kNoObject), 0U);
    EXPECT_EQ(MIDIEntityGetDestination(kNoObject, 0), 0U);
}

TEST(CoreMIDIProperties, NameIsCalledName) {
    EXPECT_EQ(CFStringCompare(kMIDIPropertyName, CFSTR("name"), 0), kCFCompareEqualTo);
}

TEST(CoreMIDIProperties, UnknownObjectHasNone) {
    CFStringRef name = nullptr;
    EXPECT_NE(MIDIObjectGetStringProperty(kNoObject, kMIDIPropertyName, &name), noErr);
    EXPECT_EQ(name, nullptr);
}

TEST(CoreMIDIClients, UnknownOneCannotBeUsed) {
    MIDIPortRef port = 0;
    EXPECT_NE(MIDIClientDispose(kNoObject), noErr);
    EXPECT_NE(MIDIOutputPortCreate(kNoObject, CFSTR("Output to hardware"), &port), noErr);
    EXPECT_EQ(port, 0U);
}

TEST(CoreMIDIClients, SignInGivesAReferenceOrAnError) {
    MIDIClientRef client = 0;
    const OSStatus status = MIDIClientCreate(CFSTR("KIVO"), nullptr, nullptr, &client);
    EXPECT_EQ(status == noErr, client != 0) << "status " << status;
}

}  // namespace
