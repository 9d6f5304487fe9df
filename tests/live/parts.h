#pragma once

#include <cstddef>

#include "tests/support/watch/programme_run.h"

namespace vistrame::live {

// What can be measured, each part printing a line for every measurement and saying whether all were right.
// `only`: that measurement alone, counted from 1; 0: all of them.

// The demo of `make play`: both programmes by colour, motion and tone.
bool RunDemo(const Paths& where, SoundWatch& sound, std::size_t only);
// Every coding through every demultiplexer, renderer and clock: colour, motion, tone, lip sync.
bool RunMatrix(const Paths& where, SoundWatch& sound, std::size_t only);
// The same checks on streams of other encoders and multiplexers (make-foreign).
bool RunForeign(const Paths& where, SoundWatch& sound, std::size_t only);
// The fade-in and the stall watchdog.
bool RunTimers(const Paths& where, SoundWatch& sound, std::size_t only);

} // namespace vistrame::live
