#pragma once

#include <CoreFoundation/CoreFoundation.h>

/// MIDI devices, and ports to receive from and send to them: Apple's names, the subset in use, over
/// the sequencer of ALSA. How sequencer clients and ports become devices, entities and endpoints is
/// written down in docs/midi.md.
///
/// Objects are numbers, not pointers; 0 stands for none, and a number is never used twice. All
/// calls belong to one thread and none blocks; a read procedure is called on another thread.

typedef UInt32 MIDIObjectRef;
typedef MIDIObjectRef MIDIClientRef;
typedef MIDIObjectRef MIDIPortRef;
typedef MIDIObjectRef MIDIDeviceRef;
typedef MIDIObjectRef MIDIEntityRef;
typedef MIDIObjectRef MIDIEndpointRef;

/// Nanoseconds of the monotonic clock.
typedef UInt64 MIDITimeStamp;

enum {
    kMIDIInvalidClient = -10830,
    kMIDIInvalidPort = -10831,
    kMIDIWrongEndpointType = -10832,
    kMIDINoConnection = -10833,
    kMIDIUnknownEndpoint = -10834,
    kMIDIUnknownProperty = -10835,
    kMIDIWrongPropertyType = -10836,
    kMIDINoCurrentSetup = -10837,
    kMIDIMessageSendErr = -10838,
    kMIDIServerStartErr = -10839,
    kMIDISetupFormatErr = -10840,
    kMIDIWrongThread = -10841,
    kMIDIObjectNotFound = -10842,
    kMIDIIDNotUnique = -10843,
    kMIDINotPermitted = -10844
};

#pragma pack(push, 4)
/// Bytes that arrived at one time: whole messages without running status, or a stretch of a system
/// exclusive one. `length` may exceed the size that `data` is declared with.
typedef struct MIDIPacket {
    MIDITimeStamp timeStamp;
    UInt16 length;
    Byte data[256];
} MIDIPacket;

/// `numPackets` packets, each where `MIDIPacketNext` says.
typedef struct MIDIPacketList {
    UInt32 numPackets;
    MIDIPacket packet[1];
} MIDIPacketList;
#pragma pack(pop)

typedef CF_ENUM(SInt32, MIDINotificationMessageID) {
    kMIDIMsgSetupChanged = 1,
    kMIDIMsgObjectAdded = 2,
    kMIDIMsgObjectRemoved = 3,
    kMIDIMsgPropertyChanged = 4,
    kMIDIMsgThruConnectionsChanged = 5,
    kMIDIMsgSerialPortOwnerChanged = 6,
    kMIDIMsgIOError = 7
};

/// Told of changes of the setup.
typedef struct MIDINotification {
    MIDINotificationMessageID messageID;
    UInt32 messageSize;
} MIDINotification;
typedef void (*MIDINotifyProc)(const MIDINotification* message, void* refCon);

/// Takes what arrived from one source. Called on the layer's reading thread; the list is lent for
/// the call only. `readProcRefCon` is the port's, `srcConnRefCon` the connection's.
typedef void (*MIDIReadProc)(const MIDIPacketList* pktlist, void* readProcRefCon,
                             void* srcConnRefCon);

#ifdef __cplusplus
extern "C" {
#endif

/// The packet behind this one in its list. On ARM packets start at multiples of four bytes.
MIDIPacket* MIDIPacketNext(const MIDIPacket* packet);

/// The name of a device, an entity or an endpoint.
extern const CFStringRef kMIDIPropertyName;

/// Signs in. On success writes `outClient`. kMIDINotPermitted when this user may not use the
/// sequencer, kMIDIServerStartErr when there is none. `notifyProc` is never called: what changes
/// shows in the next `MIDIGetNumberOfDevices`.
OSStatus MIDIClientCreate(CFStringRef name, MIDINotifyProc notifyProc, void* notifyRefCon,
                          MIDIClientRef* outClient);
/// Signs out; ports and connections go with the client, and no read procedure of it runs any more.
/// kMIDIInvalidClient; kMIDIWrongThread from within a read procedure.
OSStatus MIDIClientDispose(MIDIClientRef client);

/// Make ports, which other programs do not see. On success they write `outPort`.
/// kMIDIInvalidClient; kMIDIMessageSendErr when the sequencer refuses.
OSStatus MIDIInputPortCreate(MIDIClientRef client, CFStringRef portName, MIDIReadProc readProc,
                             void* refCon, MIDIPortRef* outPort);
OSStatus MIDIOutputPortCreate(MIDIClientRef client, CFStringRef portName, MIDIPortRef* outPort);

/// Has an input port receive from a source; again, replaces the connection's `connRefCon`.
/// kMIDIInvalidPort for what is no input port; kMIDIWrongEndpointType for a destination;
/// kMIDIUnknownEndpoint for what is no endpoint or was unplugged; kMIDINotPermitted;
/// kMIDIMessageSendErr when the sequencer refuses, as it does when another program holds the source
/// for itself.
OSStatus MIDIPortConnectSource(MIDIPortRef port, MIDIEndpointRef source, void* connRefCon);

/// Looks which devices there are and returns how many; 0 also without a sequencer. The calls below
/// answer from that look.
ItemCount MIDIGetNumberOfDevices(void);

// Each gives 0 for an object that is not there or has gone, and for an index past the end.
MIDIDeviceRef MIDIGetDevice(ItemCount deviceIndex0);
ItemCount MIDIDeviceGetNumberOfEntities(MIDIDeviceRef device);
MIDIEntityRef MIDIDeviceGetEntity(MIDIDeviceRef device, ItemCount entityIndex0);
ItemCount MIDIEntityGetNumberOfSources(MIDIEntityRef entity);
MIDIEndpointRef MIDIEntityGetSource(MIDIEntityRef entity, ItemCount sourceIndex0);
ItemCount MIDIEntityGetNumberOfDestinations(MIDIEntityRef entity);
MIDIEndpointRef MIDIEntityGetDestination(MIDIEntityRef entity, ItemCount destIndex0);

/// Reads a text about a device, entity or endpoint. On success `str` is the caller's to release.
/// kMIDIObjectNotFound; kMIDIUnknownProperty for any property but the name, and for an object
/// without a name.
OSStatus MIDIObjectGetStringProperty(MIDIObjectRef obj, CFStringRef propertyID, CFStringRef* str);

#ifdef __cplusplus
}
#endif
