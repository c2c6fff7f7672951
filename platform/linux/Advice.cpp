#include "platform/Advice.h"

namespace kivo::advice {

const char kStartTheDaemon[] =
    "start it with `systemctl --user start kivo-driver` or run kivo-driver";
const char kMakeThePortPossible[] =
    "check that XDG_RUNTIME_DIR names a folder that is yours and can be written";
const char kMIDIRefused[] =
    "you may not use the sequencer, /dev/snd/seq; become a member of the group audio (`sudo "
    "adduser $USER audio`) and log in anew";
const char kMIDIAbsent[] =
    "there is no sequencer, /dev/snd/seq; load it with `sudo modprobe snd-seq`";

}  // namespace kivo::advice
