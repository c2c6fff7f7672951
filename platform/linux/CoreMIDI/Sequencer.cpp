#include "CoreMIDI/Sequencer.h"

#include "CoreMIDI/AlsaSequencer.h"
#include "CoreMIDI/MIDISeams.h"

namespace kivo::midi {
namespace {

SequencerOpener& Installed() {
    static SequencerOpener opener;
    return opener;
}

}  // namespace

OpenedSequencer OpenSequencer(const std::string& clientName) {
    return Installed() ? Installed()(clientName) : OpenAlsaSequencer(clientName);
}

void InstallSequencer(SequencerOpener opener) {
    Installed() = std::move(opener);
}

}  // namespace kivo::midi
