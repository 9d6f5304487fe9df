#pragma once

#include <cstdint>

namespace vistrame {

// How many times as long as usual this program waits for the player at most: VISTRAME_PATIENCE in the
// environment, for machines that are slow, as emulated ones are. 1 unless set, and never below.
double Patience();

inline std::uint32_t Patiently(std::uint32_t msec) {
    return static_cast<std::uint32_t>(msec * Patience());
}

} // namespace vistrame
