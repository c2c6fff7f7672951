#include "CoreMIDI/Setup.h"

#include <algorithm>
#include <string_view>

namespace kivo::midi {
namespace {

bool HasAll(unsigned capabilities, unsigned wanted) {
    return (capabilities & wanted) == wanted;
}

bool IsSource(const SequencerPort& port) {
    return HasAll(port.capabilities, kCanBeRead | kCanBeSubscribedForReading);
}

bool IsDestination(const SequencerPort& port) {
    return HasAll(port.capabilities, kCanBeWritten | kCanBeSubscribedForWriting);
}

/// The element whose `member` is `value`, which is added when there is none.
template <typename Element, typename Value>
Element& FindOrAdd(std::vector<Element>& elements, Value Element::*member, const Value& value) {
    const auto found = std::ranges::find(elements, value, member);
    if (found != elements.end()) return *found;
    elements.emplace_back().*member = value;
    return elements.back();
}

void AddPort(Device& device, const SequencerPort& port) {
    if ((port.capabilities & kIsPrivate) != 0) return;
    if (!IsSource(port) && !IsDestination(port)) return;
    Entity& entity = FindOrAdd(device.entities, &Entity::name, EntityNameOf(port.name));
    const Endpoint endpoint{0, port.name, {device.client, port.number}};
    if (IsSource(port)) entity.sources.push_back(endpoint);
    if (IsDestination(port)) entity.destinations.push_back(endpoint);
}

// Each of these gives the objects of `now` the references that the same objects had `before`, and
// new ones to the rest.

void TakeOver(std::vector<Endpoint>& now, const std::vector<Endpoint>& before,
              References& references) {
    for (Endpoint& endpoint : now) {
        const auto same = std::ranges::find_if(before, [&](const Endpoint& other) {
            return other.address == endpoint.address && other.name == endpoint.name;
        });
        endpoint.ref = same != before.end() ? same->ref : references.Next();
    }
}

void TakeOver(std::vector<Entity>& now, const std::vector<Entity>& before, References& references) {
    for (Entity& entity : now) {
        const auto same = std::ranges::find(before, entity.name, &Entity::name);
        const Entity& old = same != before.end() ? *same : Entity();
        entity.ref = old.ref != 0 ? old.ref : references.Next();
        TakeOver(entity.sources, old.sources, references);
        TakeOver(entity.destinations, old.destinations, references);
    }
}

void TakeOver(std::vector<Device>& now, const std::vector<Device>& before, References& references) {
    for (Device& device : now) {
        const auto same = std::ranges::find_if(before, [&](const Device& other) {
            return other.client == device.client && other.name == device.name;
        });
        device.ref = same != before.end() ? same->ref : references.Next();
        TakeOver(device.entities, same != before.end() ? same->entities : std::vector<Entity>(),
                 references);
    }
}

/// The element with this reference, or null.
template <typename Element>
const Element* Find(const std::vector<Element>& elements, MIDIObjectRef ref) {
    const auto found = std::ranges::find(elements, ref, &Element::ref);
    return found != elements.end() ? &*found : nullptr;
}

/// The first result of `search`, called with one device's entity after the other, that is not null.
template <typename Search>
auto FindInEntities(const std::vector<Device>& devices, Search search)
    -> decltype(search(devices[0].entities[0])) {
    for (const Device& device : devices) {
        for (const Entity& entity : device.entities) {
            if (const auto* found = search(entity)) return found;
        }
    }
    return nullptr;
}

}  // namespace

std::string EntityNameOf(const std::string& portName) {
    const std::size_t lastOther = portName.find_last_not_of("0123456789");
    const bool hasNumber = lastOther != std::string::npos && lastOther + 1 < portName.size() &&
                           portName[lastOther] == ' ';
    return hasNumber && lastOther > 0 ? portName.substr(0, lastOther) : portName;
}

std::vector<Device> DevicesAmong(const std::vector<SequencerClient>& clients) {
    std::vector<Device> devices;
    for (const SequencerClient& client : clients) {
        if (!client.isKernel || client.card < 0) continue;
        Device& device = devices.emplace_back();
        device.name = client.name;
        device.client = client.number;
        for (const SequencerPort& port : client.ports) {
            AddPort(device, port);
        }
    }
    return devices;
}

void Setup::Update(const std::vector<SequencerClient>& clients, References& references) {
    std::vector<Device> devices = DevicesAmong(clients);
    TakeOver(devices, mDevices, references);
    mDevices = std::move(devices);
}

const Device* Setup::FindDevice(MIDIDeviceRef ref) const {
    return Find(mDevices, ref);
}

const Entity* Setup::FindEntity(MIDIEntityRef ref) const {
    return FindInEntities(
        mDevices, [&](const Entity& entity) { return entity.ref == ref ? &entity : nullptr; });
}

const Endpoint* Setup::FindSource(MIDIEndpointRef ref) const {
    return FindInEntities(mDevices,
                          [&](const Entity& entity) { return Find(entity.sources, ref); });
}

const Endpoint* Setup::FindDestination(MIDIEndpointRef ref) const {
    return FindInEntities(mDevices,
                          [&](const Entity& entity) { return Find(entity.destinations, ref); });
}

const std::string* Setup::FindName(MIDIObjectRef ref) const {
    if (const Device* device = FindDevice(ref)) return &device->name;
    if (const Entity* entity = FindEntity(ref)) return &entity->name;
    if (const Endpoint* source = FindSource(ref)) return &source->name;
    if (const Endpoint* destination = FindDestination(ref)) return &destination->name;
    return nullptr;
}

}  // namespace kivo::midi
