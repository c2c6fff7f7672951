#pragma once

#include <CoreMIDI/MIDIServices.h>
