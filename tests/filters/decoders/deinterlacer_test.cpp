#include "filters/decoders/deinterlacer.h"

#include <vector>

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace vistrame::test {

namespace {

constexpr int kWidth = 70; // neither vectors nor their tails alone
constexpr int kHeight = 32;

// Planes of one picture: still horizontal lines at the left, a block that moves between the fields at the
// right.
struct Frame {
    Frame(int bar, int parity) : luma(kWidth * kHeight), chroma(kWidth / 2 * kHeight / 2, std::uint8_t{128}) {
        for (int y = 0; y < kHeight; ++y) {
            const int moved = bar + (y % 2 == parity ? 0 : 8);
            for (int x = 0; x < kWidth; ++x) {
                const bool block = x >= moved && x < moved + 8 && y >= 8 && y < 24;
                const bool line = x < 16 && y % 4 == 3;
                luma[y * kWidth + x] = block || line ? 200 : 40;
            }
        }
        picture.format = AV_PIX_FMT_YUV420P;
        picture.width = kWidth;
        picture.height = kHeight;
        picture.interlaced = true;
        picture.topFieldFirst = parity == 0;
        picture.planes = {luma.data(), chroma.data(), chroma.data()};
        picture.strides = {kWidth, kWidth / 2, kWidth / 2};
    }
    std::vector<std::uint8_t> luma, chroma;
    Picture picture;
};

} // namespace

TEST(Deinterlacer, KeepsStillLinesAndRemovesCombs) {
    for (const int parity : {0, 1}) {
        Deinterlacer deinterlacer;
        for (int i = 0; i < 3; ++i) {
            const Frame frame(20 + 16 * i, parity);
            const Picture result = deinterlacer.Process(frame.picture);
            EXPECT_FALSE(result.interlaced);
            for (int y = 0; y < kHeight; ++y) {
                const std::uint8_t* line = result.planes[0] + y * result.strides[0];
                ASSERT_TRUE(i == 0 || line[3] == (y % 4 == 3 ? 200 : 40)) << "a still line, picture " << i;
                for (int x = 16; y > 8 && y < 23 && x < kWidth; ++x) {
                    ASSERT_EQ(line[x], x >= 20 + 16 * i && x < 28 + 16 * i ? 200 : 40)
                        << "the first field's block alone: " << x << "," << y << " of picture " << i;
                }
            }
        }
    }
}

} // namespace vistrame::test
