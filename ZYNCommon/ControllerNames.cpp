#include "ZYNCommon/ControllerNames.h"

#include "platform/CFRef.h"

namespace kivo {

bool MIDINamesEqual(const char* wanted, const char* found, unsigned int limit) {
    for (unsigned int i = 0; i < limit; ++i) {
        if (wanted[i] != found[i]) return false;
        if (wanted[i] == '\0') return true;
    }
    return false;
}

bool ReadMIDIName(MIDIObjectRef object, MIDIName& name) {
    name.fill('\0');
    CFRef<CFStringRef> text;
    if (MIDIObjectGetStringProperty(object, kMIDIPropertyName, text.Receive()) != noErr || !text) {
        return false;
    }
    return CFStringGetCString(text.Get(), name.data(), static_cast<CFIndex>(name.size()),
                              kCFStringEncodingMacRoman);
}

}  // namespace kivo
