// Connects to the first source of the last device and prints what arrives as hexadecimal digits,
// a line a packet, until it is ended. Written against the MIDI names alone.

#include <CoreMIDI/CoreMIDI.h>
#include <unistd.h>

#include <cstdio>

namespace {

void Print(const MIDIPacketList* list, void*, void*) {
    const MIDIPacket* packet = list->packet;
    for (UInt32 i = 0; i < list->numPackets; ++i, packet = MIDIPacketNext(packet)) {
        for (UInt16 at = 0; at < packet->length; ++at) {
            std::printf("%02X", packet->data[at]);
        }
        std::printf("\n");
    }
    std::fflush(stdout);
}

/// The first source of the device of this index, or 0.
MIDIEndpointRef SourceOf(ItemCount index) {
    return MIDIEntityGetSource(MIDIDeviceGetEntity(MIDIGetDevice(index), 0), 0);
}

}  // namespace

int main() {
    MIDIClientRef client = 0;
    MIDIPortRef port = 0;
    OSStatus status = MIDIClientCreate(CFSTR("probe"), nullptr, nullptr, &client);
    if (status == noErr) status = MIDIInputPortCreate(client, CFSTR("in"), Print, nullptr, &port);
    const ItemCount count = MIDIGetNumberOfDevices();
    if (status == noErr) status = MIDIPortConnectSource(port, SourceOf(count - 1), nullptr);
    std::printf("status %d\n", static_cast<int>(status));
    std::fflush(stdout);
    if (status != noErr) return 1;
    pause();
    return 0;
}
