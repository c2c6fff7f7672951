#pragma once

#include <string>
#include <vector>

#include "tools/kivoctl/Questions.h"

namespace kivo::ctl {

/// The ports of a MIDI device that belong together.
struct MidiEntity {
    std::string name;  ///< empty when it has none
    bool isControllers = false;
    std::vector<std::string> sources;
    std::vector<std::string> destinations;
};

struct MidiDevice {
    std::string name;  ///< empty when it has none
    bool isNamedAsController = false;
    std::vector<MidiEntity> entities;
};

/// Lists the MIDI devices that there are. Names are compared as the daemon compares them. Throws
/// Failure when MIDI cannot be reached.
std::vector<MidiDevice> ListMidiDevices();

/// Tells the devices, which of them a daemon that starts now would hold, and why not the others;
/// kNotFound when it would hold none.
Answer DescribeMidi(const std::vector<MidiDevice>& devices);

}  // namespace kivo::ctl
