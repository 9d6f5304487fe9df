// A renderer that looks at pictures instead of showing them.
#pragma once

#include <array>
#include <vector>

#include "filters/pictures/picture_types.h"
#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

struct Rgb {
    int r = 0, g = 0, b = 0;
};
bool IsNear(Rgb a, Rgb b, int tolerance = 12);

inline constexpr std::array kColumns{Rgb{0xC0, 0, 0}, Rgb{0, 0xC0, 0},
                                     Rgb{0, 0, 0xC0}}; // see make_streams.sh
inline constexpr Rgb kBlack{0, 0, 0};

struct SeenPicture : SinkFilter::Sample {
    int width = 0;
    int height = 0;
    Aspect aspect;
    bool columns = false; // all three have their colours
    int bar = -1;
    int combed = 0;
    Rgb top;  // middle of the top line
    Rgb left; // middle of the left edge
};

// Takes RGB32 with a VIDEOINFOHEADER2, never waits for a picture's time.
class PictureSinkFilter final : public SinkFilter {
public:
    PictureSinkFilter();

    // Set before running.
    bool acceptsAspect = true; // QueryAccept of another aspect while connected
    int padding = 0;           // pixels it wants between the lines, as its buffers then tell

    std::vector<SeenPicture> Pictures() const;
    // Waits for the black picture that a decoder sends ahead when it first runs, and forgets it.
    void AwaitWarmUp();

private:
    ~PictureSinkFilter() override { (void)Stop(); }
    void Look(ByteSpan data, Sample& sample) override;

    std::vector<SeenPicture> pictures_; // under the lock
};

} // namespace vistrame::test
