#pragma once

// Inside of the layer and its tests only, never installed.

#include <CoreMIDI/Sequencer.h>

#include <cstddef>

namespace kivo::midi {

/// Has connections made by `opener`, null for the system's sequencer again.
void InstallSequencer(SequencerOpener opener);

/// How many clients are signed in.
std::size_t CountClients();

/// Signs every client out and forgets the devices.
void ForgetEverything();

}  // namespace kivo::midi
