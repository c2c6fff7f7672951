// Core MIDI as Apple documents it: the setup, and ports to receive from and send to.

#include <CoreMIDI/CoreMIDI.h>

#include "tests/native/signatures/Signature.h"

TYPE(MIDIObjectRef, UInt32);
TYPE(MIDIClientRef, MIDIObjectRef);
TYPE(MIDIPortRef, MIDIObjectRef);
TYPE(MIDIDeviceRef, MIDIObjectRef);
TYPE(MIDIEntityRef, MIDIObjectRef);
TYPE(MIDIEndpointRef, MIDIObjectRef);
TYPE(MIDITimeStamp, UInt64);
CONSTANT(kMIDIInvalidClient, -10830);
CONSTANT(kMIDIInvalidPort, -10831);
CONSTANT(kMIDIWrongEndpointType, -10832);
CONSTANT(kMIDINoConnection, -10833);
CONSTANT(kMIDIUnknownEndpoint, -10834);
CONSTANT(kMIDIUnknownProperty, -10835);
CONSTANT(kMIDIWrongPropertyType, -10836);
CONSTANT(kMIDINoCurrentSetup, -10837);
CONSTANT(kMIDIMessageSendErr, -10838);
CONSTANT(kMIDIServerStartErr, -10839);
CONSTANT(kMIDISetupFormatErr, -10840);
CONSTANT(kMIDIWrongThread, -10841);
CONSTANT(kMIDIObjectNotFound, -10842);
CONSTANT(kMIDIIDNotUnique, -10843);
CONSTANT(kMIDINotPermitted, -10844);

// Packed to four bytes.
STRUCTURE(MIDIPacket, 268);
FIELD(MIDIPacket, timeStamp, 0, MIDITimeStamp);
FIELD(MIDIPacket, length, 8, UInt16);
FIELD(MIDIPacket, data, 10, Byte[256]);
STRUCTURE(MIDIPacketList, 272);
FIELD(MIDIPacketList, numPackets, 0, UInt32);
FIELD(MIDIPacketList, packet, 4, MIDIPacket[1]);
FUNCTION(MIDIPacketNext, MIDIPacket*(const MIDIPacket*));

ENUMERATION(MIDINotificationMessageID, SInt32);
CONSTANT(kMIDIMsgSetupChanged, 1);
CONSTANT(kMIDIMsgObjectAdded, 2);
CONSTANT(kMIDIMsgObjectRemoved, 3);
CONSTANT(kMIDIMsgPropertyChanged, 4);
CONSTANT(kMIDIMsgThruConnectionsChanged, 5);
CONSTANT(kMIDIMsgSerialPortOwnerChanged, 6);
CONSTANT(kMIDIMsgIOError, 7);
STRUCTURE(MIDINotification, 8);
FIELD(MIDINotification, messageID, 0, MIDINotificationMessageID);
FIELD(MIDINotification, messageSize, 4, UInt32);
TYPE(MIDINotifyProc, void (*)(const MIDINotification*, void*));
TYPE(MIDIReadProc, void (*)(const MIDIPacketList*, void*, void*));

VARIABLE(kMIDIPropertyName, const CFStringRef);
FUNCTION(MIDIClientCreate, OSStatus(CFStringRef, MIDINotifyProc, void*, MIDIClientRef*));
FUNCTION(MIDIClientDispose, OSStatus(MIDIClientRef));
FUNCTION(MIDIInputPortCreate,
         OSStatus(MIDIClientRef, CFStringRef, MIDIReadProc, void*, MIDIPortRef*));
FUNCTION(MIDIOutputPortCreate, OSStatus(MIDIClientRef, CFStringRef, MIDIPortRef*));
FUNCTION(MIDIPortConnectSource, OSStatus(MIDIPortRef, MIDIEndpointRef, void*));
FUNCTION(MIDIGetNumberOfDevices, ItemCount());
FUNCTION(MIDIGetDevice, MIDIDeviceRef(ItemCount));
FUNCTION(MIDIDeviceGetNumberOfEntities, ItemCount(MIDIDeviceRef));
FUNCTION(MIDIDeviceGetEntity, MIDIEntityRef(MIDIDeviceRef, ItemCount));
FUNCTION(MIDIEntityGetNumberOfSources, ItemCount(MIDIEntityRef));
FUNCTION(MIDIEntityGetSource, MIDIEndpointRef(MIDIEntityRef, ItemCount));
FUNCTION(MIDIEntityGetNumberOfDestinations, ItemCount(MIDIEntityRef));
FUNCTION(MIDIEntityGetDestination, MIDIEndpointRef(MIDIEntityRef, ItemCount));
FUNCTION(MIDIObjectGetStringProperty, OSStatus(MIDIObjectRef, CFStringRef, CFStringRef*));
