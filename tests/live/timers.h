#pragma once

#include "tests/live/programme_run.h"

namespace vistrame::live {

// Hears the fade-in and sees the stall watchdog at work: prints a line for each measurement and says whether all were
// right.
bool RunTimers(const Surroundings& where, SoundWatch& sound);

} // namespace vistrame::live
