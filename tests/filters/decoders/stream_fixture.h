#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "transport/coding.h"

namespace vistrame::test {

// One unit of an elementary stream as a demultiplexer gives it out: a PES payload with its time.
struct StreamPiece {
    std::vector<std::uint8_t> data;
    std::optional<std::int64_t> time; // 100 ns, the first of the stream at 0
    bool discontinuity = false;
};

// The pieces of the stream's first video or audio; fails the test when the file is not there or holds none.
// Units: every `lossPerMille`-th of a thousand transport packets is left out at random, from a fixed seed.
std::vector<StreamPiece> ReadStream(const std::string& file, bool video, int lossPerMille = 0);

} // namespace vistrame::test
