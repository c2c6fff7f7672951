// Apple's names over clients, ports and the setup.

#include "CoreMIDI/MIDIServices.h"

#include <CoreFoundation/CFStringSeams.h>
#include <CoreFoundation/WithoutExceptions.h>

#include <cerrno>
#include <map>

#include "CoreMIDI/MIDIClient.h"
#include "CoreMIDI/MIDISeams.h"
#include "CoreMIDI/Setup.h"

namespace kivo::midi {
namespace {

constinit ConstantString gPropertyName(__CFString::kConstant, u"name");

constexpr OSStatus kParameterError = -50;  // Apple's paramErr

/// Everything that the names stand for in this process.
struct Services {
    References references;
    Setup setup;
    std::map<MIDIClientRef, std::unique_ptr<MIDIClient>> clients;
};

/// Never destroyed: who does not dispose of a client keeps it until the process ends, and its
/// reading thread then runs while static objects go.
Services& Shared() {
    static auto* const services = new Services;
    return *services;
}

MIDIClient* FindClient(MIDIClientRef ref) {
    const auto found = Shared().clients.find(ref);
    return found != Shared().clients.end() ? found->second.get() : nullptr;
}

OSStatus CreateClient(CFStringRef name, MIDIClientRef& client) {
    OpenedSequencer opened = OpenSequencer(Utf8Of(name));
    if (opened.sequencer == nullptr) {
        const bool forbidden = opened.error == -EACCES || opened.error == -EPERM;
        return forbidden ? kMIDINotPermitted : kMIDIServerStartErr;
    }
    const MIDIClientRef ref = Shared().references.Next();
    Shared().clients.emplace(ref, std::make_unique<MIDIClient>(std::move(opened.sequencer)));
    client = ref;
    return noErr;
}

OSStatus DisposeClient(MIDIClientRef ref) {
    const MIDIClient* const client = FindClient(ref);
    if (client == nullptr) return kMIDIInvalidClient;
    if (client->IsReadingOnThisThread()) return kMIDIWrongThread;
    Shared().clients.erase(ref);
    return noErr;
}

OSStatus CreatePort(MIDIClientRef clientRef, CFStringRef name, MIDIReadProc readProc, void* refCon,
                    MIDIPortRef& port) {
    MIDIClient* const client = FindClient(clientRef);
    if (client == nullptr) return kMIDIInvalidClient;
    const MIDIPortRef ref = Shared().references.Next();
    const OSStatus status = client->AddPort({0, 0, readProc, refCon}, ref, Utf8Of(name));
    if (status == noErr) port = ref;
    return status;
}

OSStatus ConnectSource(MIDIPortRef portRef, MIDIEndpointRef sourceRef, void* refCon) {
    for (const auto& [ref, client] : Shared().clients) {
        const MIDIClient::Port* const port = client->FindPort(portRef);
        if (port == nullptr) continue;
        if (port->readProc == nullptr) return kMIDIInvalidPort;
        if (Shared().setup.FindDestination(sourceRef) != nullptr) return kMIDIWrongEndpointType;
        const Endpoint* const source = Shared().setup.FindSource(sourceRef);
        if (source == nullptr) return kMIDIUnknownEndpoint;
        return client->Connect(*port, source->address, refCon);
    }
    return kMIDIInvalidPort;
}

/// All sequencer clients; none without a sequencer. Asked through a client's connection, and
/// through one made for the purpose while nobody has signed in.
std::vector<SequencerClient> LookAround() {
    auto& clients = Shared().clients;
    if (!clients.empty()) return clients.begin()->second->Connection().Clients();
    const OpenedSequencer opened = OpenSequencer("Kivo");
    return opened.sequencer != nullptr ? opened.sequencer->Clients()
                                       : std::vector<SequencerClient>();
}

/// The reference of an element; 0 past the end, or without the object that it belongs to.
template <typename Owner, typename Element>
MIDIObjectRef ReferenceAt(const Owner* owner, std::vector<Element> Owner::*elements,
                          ItemCount index) {
    if (owner == nullptr || index >= (owner->*elements).size()) return 0;
    return (owner->*elements)[index].ref;
}

template <typename Owner, typename Element>
ItemCount CountOf(const Owner* owner, std::vector<Element> Owner::*elements) {
    return owner != nullptr ? (owner->*elements).size() : 0;
}

OSStatus CopyName(MIDIObjectRef object, CFStringRef property, CFStringRef& text) {
    const std::string* const name = Shared().setup.FindName(object);
    if (name == nullptr) return kMIDIObjectNotFound;
    if (!CFEqual(property, kMIDIPropertyName) || name->empty()) return kMIDIUnknownProperty;
    text = CreateStringFromUtf8(*name);
    return noErr;
}

}  // namespace

std::size_t CountClients() {
    return Shared().clients.size();
}

void ForgetEverything() {
    Shared().clients.clear();
    Shared().setup = Setup();
}

}  // namespace kivo::midi

using namespace kivo::midi;
using kivo::WithoutExceptions;

const CFStringRef kMIDIPropertyName = &gPropertyName.object;

MIDIPacket* MIDIPacketNext(const MIDIPacket* packet) {
#if defined(__arm__) || defined(__aarch64__)
    constexpr std::uintptr_t kAlignment = 4;
#else
    constexpr std::uintptr_t kAlignment = 1;
#endif
    const auto end = reinterpret_cast<std::uintptr_t>(packet->data) + packet->length;
    return reinterpret_cast<MIDIPacket*>((end + kAlignment - 1) / kAlignment * kAlignment);
}

OSStatus MIDIClientCreate(CFStringRef name, MIDINotifyProc, void*, MIDIClientRef* outClient) {
    if (name == nullptr || outClient == nullptr) return kParameterError;
    return WithoutExceptions<OSStatus>(kMIDIServerStartErr,
                                       [&] { return CreateClient(name, *outClient); });
}

OSStatus MIDIClientDispose(MIDIClientRef client) {
    return WithoutExceptions<OSStatus>(kMIDIMessageSendErr, [&] { return DisposeClient(client); });
}

OSStatus MIDIInputPortCreate(MIDIClientRef client, CFStringRef portName, MIDIReadProc readProc,
                             void* refCon, MIDIPortRef* outPort) {
    if (portName == nullptr || readProc == nullptr || outPort == nullptr) return kParameterError;
    return WithoutExceptions<OSStatus>(kMIDIMessageSendErr, [&] {
        return CreatePort(client, portName, readProc, refCon, *outPort);
    });
}

OSStatus MIDIOutputPortCreate(MIDIClientRef client, CFStringRef portName, MIDIPortRef* outPort) {
    if (portName == nullptr || outPort == nullptr) return kParameterError;
    return WithoutExceptions<OSStatus>(kMIDIMessageSendErr, [&] {
        return CreatePort(client, portName, nullptr, nullptr, *outPort);
    });
}

OSStatus MIDIPortConnectSource(MIDIPortRef port, MIDIEndpointRef source, void* connRefCon) {
    return WithoutExceptions<OSStatus>(kMIDIMessageSendErr,
                                       [&] { return ConnectSource(port, source, connRefCon); });
}

ItemCount MIDIGetNumberOfDevices() {
    return WithoutExceptions<ItemCount>(0, [] {
        Shared().setup.Update(LookAround(), Shared().references);
        return Shared().setup.Devices().size();
    });
}

MIDIDeviceRef MIDIGetDevice(ItemCount deviceIndex0) {
    const std::vector<Device>& devices = Shared().setup.Devices();
    return deviceIndex0 < devices.size() ? devices[deviceIndex0].ref : 0;
}

ItemCount MIDIDeviceGetNumberOfEntities(MIDIDeviceRef device) {
    return CountOf(Shared().setup.FindDevice(device), &Device::entities);
}

MIDIEntityRef MIDIDeviceGetEntity(MIDIDeviceRef device, ItemCount entityIndex0) {
    return ReferenceAt(Shared().setup.FindDevice(device), &Device::entities, entityIndex0);
}

ItemCount MIDIEntityGetNumberOfSources(MIDIEntityRef entity) {
    return CountOf(Shared().setup.FindEntity(entity), &Entity::sources);
}

MIDIEndpointRef MIDIEntityGetSource(MIDIEntityRef entity, ItemCount sourceIndex0) {
    return ReferenceAt(Shared().setup.FindEntity(entity), &Entity::sources, sourceIndex0);
}

ItemCount MIDIEntityGetNumberOfDestinations(MIDIEntityRef entity) {
    return CountOf(Shared().setup.FindEntity(entity), &Entity::destinations);
}

MIDIEndpointRef MIDIEntityGetDestination(MIDIEntityRef entity, ItemCount destIndex0) {
    return ReferenceAt(Shared().setup.FindEntity(entity), &Entity::destinations, destIndex0);
}

OSStatus MIDIObjectGetStringProperty(MIDIObjectRef obj, CFStringRef propertyID, CFStringRef* str) {
    if (propertyID == nullptr || str == nullptr) return kParameterError;
    return WithoutExceptions<OSStatus>(kMIDIObjectNotFound,
                                       [&] { return CopyName(obj, propertyID, *str); });
}
