#pragma once

#include "tests/live/programme_run.h"

namespace vistrame::live {

// Plays every coding through every demultiplexer, renderer and clock, prints a row for each, and says whether all
// were right: colours, tone, lip sync, motion.
bool RunMatrix(const Surroundings& where, SoundWatch& sound);

} // namespace vistrame::live
