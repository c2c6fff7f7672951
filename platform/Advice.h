#pragma once

/// What a user can do about what went wrong, where that differs from system to system: texts for
/// people, each a clause in the middle of a sentence.
namespace kivo::advice {

/// After "no daemon is running: ".
extern const char kStartTheDaemon[];
/// After "the port "..." cannot be made: ".
extern const char kMakeThePortPossible[];
/// Why MIDI is refused, or cannot be had at all, and what to do.
extern const char kMIDIRefused[];
extern const char kMIDIAbsent[];

}  // namespace kivo::advice
