#pragma once

// Inside of the layer only, never installed: what devices there are.

#include <CoreMIDI/MIDIServices.h>
#include <CoreMIDI/Sequencer.h>

#include <string>
#include <vector>

namespace kivo::midi {

struct Endpoint {
    MIDIEndpointRef ref = 0;
    std::string name;  ///< the port's
    Address address;
};

/// The ports of a device whose names differ in a trailing number only.
struct Entity {
    MIDIEntityRef ref = 0;
    std::string name;
    std::vector<Endpoint> sources;
    std::vector<Endpoint> destinations;
};

/// A sequencer client that stands for a sound card.
struct Device {
    MIDIDeviceRef ref = 0;
    std::string name;
    int client = 0;
    std::vector<Entity> entities;
};

/// The name of the entity that a port belongs to: its own without a trailing space and number.
std::string EntityNameOf(const std::string& portName);

/// The devices among the sequencer's clients, in the order of their numbers, without references.
std::vector<Device> DevicesAmong(const std::vector<SequencerClient>& clients);

/// Hands out the numbers that stand for objects; never the same one twice.
class References {
  public:
    MIDIObjectRef Next() { return mNext++; }

  private:
    MIDIObjectRef mNext = 1;
};

/// The devices as they were at the last look. An object that is still there, which its place and
/// its name tell, keeps its reference from look to look.
class Setup {
  public:
    void Update(const std::vector<SequencerClient>& clients, References& references);

    const std::vector<Device>& Devices() const { return mDevices; }

    // Each gives null for what is not in the setup.
    const Device* FindDevice(MIDIDeviceRef ref) const;
    const Entity* FindEntity(MIDIEntityRef ref) const;
    const Endpoint* FindSource(MIDIEndpointRef ref) const;
    const Endpoint* FindDestination(MIDIEndpointRef ref) const;
    /// The name of a device, an entity or an endpoint.
    const std::string* FindName(MIDIObjectRef ref) const;

  private:
    std::vector<Device> mDevices;
};

}  // namespace kivo::midi
