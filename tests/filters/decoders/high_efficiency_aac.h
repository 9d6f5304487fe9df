#pragma once

#include <cstdint>
#include <vector>

#include "tests/filters/decoders/stream_fixture.h"

namespace vistrame::test {

// How frames are wrapped, and the object type that the header names: low complexity at half the rate, so that
// the decoder finds the extensions in the frames only, or version 1 or 2.
enum class AacFrames : std::uint8_t {
    kAdts, // low complexity
    kLoas = 2,
    kLoasVersion1 = 5,
    kLoasVersion2 = 29,
};

inline constexpr double kHighEfficiencyTone = 445.3125; // Hz: 19 periods fill a frame

// Two seconds at 48 kHz of one frame again and again, since no encoder is at hand where tests are built:
// a tone, and a faint one of 9 kHz that is in the replicated band. Three frames in a piece. In version 2 the
// right side is 10 dB lower than the left, otherwise there is one channel.
std::vector<StreamPiece> HighEfficiencyAac(AacFrames frames, bool version2);

} // namespace vistrame::test
