#pragma once

#include <string>

#include "analyzer/measure/multiplex_monitor.h"

namespace vistrame {

// What a viewer has to know of a programme, in a few words: "scrambled", "no map", "empty", "data only",
// "radio", "no PCR for 3 s". Empty: nothing out of the ordinary.
std::string ProgrammeState(const ProgrammeReading& reading);

} // namespace vistrame
