#include "platform/Advice.h"

namespace kivo::advice {

const char kStartTheDaemon[] =
    "start it with `launchctl kickstart gui/$(id -u)/com.zynwerks.kivo.driver` or run kivo-driver";
const char kMakeThePortPossible[] =
    "run it as the user who is logged in at the screen, and outside of a sandbox";
const char kMIDIRefused[] = "macOS refuses it; run it as the user who is logged in at the screen";
const char kMIDIAbsent[] = "the MIDI server of macOS does not start; log out and in again";

}  // namespace kivo::advice
