#pragma once

#include "tests/live/programme_run.h"

namespace vistrame::live {

// Plays every coding through every demultiplexer, renderer and clock, prints a row for each, and says whether all
// were right: colours, tone, lip sync, motion. `only`: that row alone, counted from 1; 0: all of them.
bool RunMatrix(const Surroundings& where, SoundWatch& sound, std::size_t only);

} // namespace vistrame::live
