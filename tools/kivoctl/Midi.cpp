#include "tools/kivoctl/Midi.h"

#include <CoreMIDI/CoreMIDI.h>

#include <utility>

#include "ZYNCommon/ControllerNames.h"
#include "platform/Advice.h"
#include "tools/kivoctl/Entries.h"
#include "tools/kivoctl/Text.h"

namespace kivo::ctl {

namespace {

/// A sign-in for the length of a look.
class MidiSession {
  public:
    MidiSession() {
        const OSStatus status = MIDIClientCreate(CFSTR("kivoctl"), nullptr, nullptr, &mClient);
        if (status != noErr) throw Explain(status);
    }
    ~MidiSession() { MIDIClientDispose(mClient); }
    MidiSession(const MidiSession&) = delete;
    MidiSession& operator=(const MidiSession&) = delete;

  private:
    static Failure Explain(OSStatus status) {
        const std::string text = "listing the MIDI devices: ";
        if (status == kMIDINotPermitted) return {ExitCode::kBroken, text + advice::kMIDIRefused};
        if (status == kMIDIServerStartErr) return {ExitCode::kBroken, text + advice::kMIDIAbsent};
        return {ExitCode::kBroken,
                text + "signing in failed with status " + std::to_string(status)};
    }

    MIDIClientRef mClient = 0;
};

/// The whole name, for people; the comparison has one of its own.
std::string NameOf(MIDIObjectRef object) {
    CFRef<CFStringRef> name;
    if (MIDIObjectGetStringProperty(object, kMIDIPropertyName, name.Receive()) != noErr) return "";
    return Utf8Of(name.Get());
}

bool IsNamed(MIDIObjectRef object, const MIDIName& wanted) {
    MIDIName name;
    return ReadMIDIName(object, name) && MIDINamesEqual(wanted.data(), name.data(), kMIDINameLimit);
}

std::vector<std::string> NamesOf(MIDIEntityRef entity, ItemCount count,
                                 MIDIEndpointRef (*get)(MIDIEntityRef, ItemCount)) {
    std::vector<std::string> names;
    for (ItemCount index = 0; index < count; ++index) {
        names.push_back(NameOf(get(entity, index)));
    }
    return names;
}

MidiEntity ReadEntity(MIDIEntityRef entity) {
    return {NameOf(entity), IsNamed(entity, kControllerEntityName),
            NamesOf(entity, MIDIEntityGetNumberOfSources(entity), MIDIEntityGetSource),
            NamesOf(entity, MIDIEntityGetNumberOfDestinations(entity), MIDIEntityGetDestination)};
}

MidiDevice ReadDevice(MIDIDeviceRef device) {
    MidiDevice result{NameOf(device), IsNamed(device, kControllerDeviceName), {}};
    const ItemCount count = MIDIDeviceGetNumberOfEntities(device);
    for (ItemCount index = 0; index < count; ++index) {
        result.entities.push_back(ReadEntity(MIDIDeviceGetEntity(device, index)));
    }
    return result;
}

/// The entity that the daemon would take in this device, or null.
const MidiEntity* ControllersEntity(const MidiDevice& device) {
    const auto found = FindEntry(device.entities, true, &MidiEntity::isControllers);
    return found != device.entities.end() ? &*found : nullptr;
}

std::string Quoted(const std::string& text) {
    return '"' + Printable(text) + '"';
}

/// Why the daemon would not hold a device, or empty when it would. `isFirst`: no device before it
/// has the controller's name.
std::string Obstacle(const MidiDevice& device, bool isFirst) {
    const std::string entityName = Quoted(kControllerEntityName.data());
    if (device.name.empty()) return "it has no name";
    if (!device.isNamedAsController) {
        return "its name is not exactly " + Quoted(kControllerDeviceName.data());
    }
    if (!isFirst) return "another device of this name comes first, and only that one counts";
    const MidiEntity* const entity = ControllersEntity(device);
    if (entity == nullptr) return "it has no entity " + entityName;
    if (entity->sources.empty()) return "its entity " + entityName + " has no source";
    if (entity->destinations.empty()) return "its entity " + entityName + " has no destination";
    return "";
}

std::string WordsOf(const std::string& kind, const std::vector<std::string>& names) {
    std::string words;
    for (const std::string& name : names) {
        words += "\n    " + kind + " " + Quoted(name);
    }
    return words;
}

std::string WordsOf(const MidiDevice& device, const std::string& obstacle) {
    std::string words =
        "device " + Quoted(device.name) + ": " +
        (obstacle.empty() ? "the daemon would hold this one" : "not held, because " + obstacle);
    for (const MidiEntity& entity : device.entities) {
        words += "\n  entity " + Quoted(entity.name) + WordsOf("source", entity.sources) +
                 WordsOf("destination", entity.destinations);
    }
    return words;
}

nlohmann::ordered_json FieldsOf(const MidiDevice& device, const std::string& obstacle) {
    nlohmann::ordered_json fields;
    fields["name"] = device.name;
    fields["held"] = obstacle.empty();
    if (!obstacle.empty()) fields["reason"] = obstacle;
    fields["entities"] = nlohmann::ordered_json::array();
    for (const MidiEntity& entity : device.entities) {
        fields["entities"].push_back({{"name", entity.name},
                                      {"sources", entity.sources},
                                      {"destinations", entity.destinations}});
    }
    return fields;
}

}  // namespace

std::vector<MidiDevice> ListMidiDevices() {
    const MidiSession session;
    std::vector<MidiDevice> devices;
    const ItemCount count = MIDIGetNumberOfDevices();
    for (ItemCount index = 0; index < count; ++index) {
        devices.push_back(ReadDevice(MIDIGetDevice(index)));
    }
    return devices;
}

Answer DescribeMidi(const std::vector<MidiDevice>& devices) {
    Message message;
    message.fields = {{"name", "midi"}, {"held", false}};
    message.fields["devices"] = nlohmann::ordered_json::array();
    bool isHeld = false;
    bool isFirst = true;
    for (const MidiDevice& device : devices) {
        const std::string obstacle = Obstacle(device, isFirst);
        isHeld |= obstacle.empty();
        isFirst &= !device.isNamedAsController;
        message.words += WordsOf(device, obstacle) + "\n";
        message.fields["devices"].push_back(FieldsOf(device, obstacle));
    }
    message.fields["held"] = isHeld;
    message.words += isHeld
                         ? "A daemon looks once, as it starts: restart one that was there before "
                           "the controller."
                     : devices.empty() ? "no MIDI device is plugged in"
                                       : "A daemon that starts now would hold none of them.";
    return {std::move(message), isHeld ? ExitCode::kAnswered : ExitCode::kNotFound};
}

}  // namespace kivo::ctl
