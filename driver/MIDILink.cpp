// The controller: finding it among the MIDI devices and holding a connection to it. In this version
// the connection is all there is; what arrives through it is not used.

#include "ZYNCommon/ControllerNames.h"
#include "ZYNCommon/DesignedRetention.h"
#include "driver/CZYN_UserSpaceDriver.h"

using kivo::DesignedRetention;
using kivo::MIDIName;

void CZYN_UserSpaceDriver::MIDISignIn() {
    mMIDIClient = 0;
    const OSStatus status = MIDIClientCreate(CFSTR("KIVO"), nullptr, nullptr, &mMIDIClient);
    if (status == noErr) {
        // A port that could not be made stays 0, which DoConnect notices.
        MIDIInputPortCreate(mMIDIClient, CFSTR("Input from hardware"), HardwareReadProcEntry,
                            nullptr, &mInputPort);
        MIDIOutputPortCreate(mMIDIClient, CFSTR("Output to hardware"), &mOutputPort);
        mConnected = DoConnect();
    } else if (mMIDIClient != 0) {
        MIDIClientDispose(mMIDIClient);
        mMIDIClient = 0;
    }
}

// Client, ports and connection are kept: only the end of the process gives them back. Disposing of
// the last client may stop the MIDI server for everybody.
void CZYN_UserSpaceDriver::MIDISignOut() {
    kivo::RetainByDesign(DesignedRetention::kMidiSession, mMIDIClient);
    if (mMIDIClient != 0) {
        kivo::RetainByDesign(DesignedRetention::kMidiSession, mInputPort);
        kivo::RetainByDesign(DesignedRetention::kMidiSession, mOutputPort);
    }
    // A connection is known by the source that it comes from.
    if (mConnected) kivo::RetainByDesign(DesignedRetention::kMidiSession, mSource);
    mMIDIReserved1 = 0;
    mMIDIReserved2 = 0;
    mMIDIClient = 0;
    mConnected = false;
}

bool CZYN_UserSpaceDriver::DoConnect() {
    if (mInputPort == 0 || mOutputPort == 0) return false;
    if (!LocateController()) return false;
    const OSStatus status = MIDIPortConnectSource(mInputPort, mSource, nullptr);
    if (status != noErr) {
        // Whom it was about, for a look in the debugger; nothing else uses it.
        MIDIName refused;
        kivo::ReadMIDIName(mSource, refused);
    }
    return status == noErr;
}

bool CZYN_UserSpaceDriver::LocateController() {
    const MIDIDeviceRef device = LocateControllerDevice();
    if (device == 0) return false;
    const MIDIEntityRef entity = LocateControllerPrivateEntity(device);
    if (entity == 0) return false;
    const MIDIEndpointRef source = MIDIEntityGetSource(entity, 0);
    const MIDIEndpointRef destination = MIDIEntityGetDestination(entity, 0);
    if (source == 0 || destination == 0) return false;
    mSource = source;
    mDestination = destination;
    return true;
}

MIDIDeviceRef CZYN_UserSpaceDriver::LocateControllerDevice() {
    const ItemCount count = MIDIGetNumberOfDevices();
    for (ItemCount index = 0; index < count; ++index) {
        const MIDIDeviceRef device = MIDIGetDevice(index);
        if (IsNamed(device, kivo::kControllerDeviceName)) return device;
    }
    return 0;
}

MIDIEntityRef CZYN_UserSpaceDriver::LocateControllerPrivateEntity(MIDIDeviceRef device) {
    return LocateEntity(device, kivo::kControllerEntityName);
}

MIDIEntityRef CZYN_UserSpaceDriver::LocateControllerEchoEntity(MIDIDeviceRef device) {
    return LocateEntity(device, kivo::kEchoEntityName);
}

MIDIEntityRef CZYN_UserSpaceDriver::LocateEntity(MIDIDeviceRef device, const MIDIName& wanted) {
    const ItemCount count = MIDIDeviceGetNumberOfEntities(device);
    for (ItemCount index = 0; index < count; ++index) {
        const MIDIEntityRef entity = MIDIDeviceGetEntity(device, index);
        if (IsNamed(entity, wanted)) return entity;
    }
    return 0;
}

/// An object without a name is nobody's.
bool CZYN_UserSpaceDriver::IsNamed(MIDIObjectRef object, const MIDIName& wanted) {
    MIDIName name;
    return kivo::ReadMIDIName(object, name) &&
           NameCmp(wanted.data(), name.data(), kivo::kMIDINameLimit);
}

bool CZYN_UserSpaceDriver::NameCmp(const char* wanted, const char* found, unsigned int limit) {
    return kivo::MIDINamesEqual(wanted, found, limit);
}

void CZYN_UserSpaceDriver::HardwareReadProcEntry(const MIDIPacketList*, void*, void*) {}
