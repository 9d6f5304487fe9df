#pragma once

#include "tests/live/programme_run.h"

namespace vistrame::live {

// Hears the fade-in and sees the stall watchdog at work: prints a line for each measurement and says whether all were
// right. `only`: that one alone, counted from 1; 0: all of them.
bool RunTimers(const Surroundings& where, SoundWatch& sound, std::size_t only);

} // namespace vistrame::live
