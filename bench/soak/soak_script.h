// What a working day does to a player, as a script for the analyzer stand-in.
#pragma once

#include <string>

namespace vistrame::live {

// `seconds` of random work on the two programmes of the demo stream: changes with and without a pause between
// them, every command, sizes, settings, and packets lost or damaged. Every change is followed by a line
// "count". At its end the script looks whether the picture moves (log line "motion last") and quits. The same
// seed makes the same script.
std::string SoakScript(double seconds, unsigned seed);

} // namespace vistrame::live
