#pragma once

#include "tests/live/programme_run.h"

namespace vistrame::live {

// Does to a running player what happens to live streams, five times each at different places, prints what the picture
// and the sound did, and says whether all stayed within their limits. `only` as in the matrix.
bool RunLive(const Surroundings& where, SoundWatch& sound, std::size_t only);

} // namespace vistrame::live
