// What holds of the MIDI names on any system, with whatever devices it has.

#include <CoreMIDI/CoreMIDI.h>
#include <gtest/gtest.h>

#include <array>
#include <set>

#include "platform/CFRef.h"

namespace {

using kivo::CFRef;

constexpr MIDIObjectRef kNoObject = 0x7FFFFFF0;

TEST(CoreMIDIPackets, NextPacketFollowsTheBytesOfThisOne) {
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
