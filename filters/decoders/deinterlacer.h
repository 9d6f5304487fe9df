#pragma once

#include <cstdint>
#include <vector>

#include "filters/pictures/picture.h"

namespace vistrame {

// Turns interlaced pictures into progressive ones at the same rate, without delay.
//
// The lines of the first field stay. A line of the second field stays where the picture has not moved since
// the picture before, and is interpolated from its neighbours above and below where it has; in between it may
// differ from its own value by as much as something moved around it. So still text keeps its sharpness and
// moving edges show no comb.
//
// Planar formats of 8 and 10 bits; a picture in another format, or a progressive one, passes unchanged.
//
// Threads    one at a time.
// Ownership  keeps a copy of the last picture; the result borrows this object's buffer until the next call.
class Deinterlacer {
public:
    Picture Process(const Picture& picture);
    // The next picture has nothing to do with the ones before.
    void Reset() { previousValid_ = false; }

private:
    struct Plane {
        int bytesPerLine = 0;
        int lines = 0;
        std::size_t offset = 0; // in the buffers below
    };
    void Describe(const Picture& picture);
    void Keep(const Picture& picture);

    Picture shape_; // the format and size that the buffers are laid out for
    std::vector<Plane> layout_;
    int sampleBytes_ = 1;
    std::vector<std::uint8_t> previous_;
    std::vector<std::uint8_t> result_;
    bool previousValid_ = false;
};

} // namespace vistrame
