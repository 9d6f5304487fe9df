#pragma once

#include <string>
#include <vector>

namespace vistrame::live {

// When random-access pictures of a PID are sent, in seconds since a stream file's first PCR, by which the analyzer's
// seek counts, too: a jump of the PCR is bridged by the pace before it.
std::vector<double> RandomAccessTimes(const std::string& file, int pid);

} // namespace vistrame::live
