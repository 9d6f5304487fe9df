#pragma once

#include <cstdint>
#include <span>

namespace vistrame {

// Brings sound to 16 bits. What would be louder than those can say is turned down as a whole and comes back
// slowly, instead of having its tops cut off: channels mixed at their full levels add up to more than one
// has.
//
// Units      samples from -1 to 1 or beyond, interleaved.
// Threads    one at a time.
class SoundLimiter {
public:
    void Restart() { gain_ = 1; }
    // A frame of the stream, which is looked at as a whole; `out` is as long.
    void Apply(std::span<const float> in, int channels, int rate, std::span<std::int16_t> out);

private:
    float gain_ = 1;
};

} // namespace vistrame
