#pragma once

// Inside of the layer only, never installed.

#include <CoreMIDI/Sequencer.h>

namespace kivo::midi {

/// Opens the sequencer of ALSA, /dev/snd/seq. No configuration file of ALSA is read and nothing is
/// printed.
OpenedSequencer OpenAlsaSequencer(const std::string& clientName);

}  // namespace kivo::midi
