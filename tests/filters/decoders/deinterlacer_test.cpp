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

// Planes of one picture: still horizontal lines at the left, a block that moves between the fields at the right.
template <class Sample>
struct Frame {
    Frame(int format, int bar, int parity)
        : luma(kWidth * kHeight), chroma(kWidth / 2 * kHeight / 2, Sample{128}) {
        for (int y = 0; y < kHeight; ++y) {
            const int moved = bar + (y % 2 == parity ? 0 : 8);
            for (int x = 0; x < kWidth; ++x) {
                const bool block = x >= moved && x < moved + 8 && y >= 8 && y < 24;
                const bool line = x < 16 && y % 4 == 3;
                luma[y * kWidth + x] = static_cast<Sample>(block || line ? 200 : 40);
            }
        }
        picture.format = format;
        picture.width = kWidth;
        picture.height = kHeight;
        picture.interlaced = true;
        picture.topFieldFirst = parity == 0;
        const auto* colours = reinterpret_cast<const std::uint8_t*>(chroma.data());
        picture.planes = {reinterpret_cast<const std::uint8_t*>(luma.data()), colours, colours};
        constexpr int kStride = kWidth * static_cast<int>(sizeof(Sample));
        picture.strides = {kStride, kStride / 2, kStride / 2};
    }
    std::vector<Sample> luma;
    std::vector<Sample> chroma;
    Picture picture;
};

template <class Sample>
void KeepsStillLinesAndRemovesCombs(int format, int parity) {
    Deinterlacer deinterlacer;
    for (int i = 0; i < 3; ++i) {
        const Frame<Sample> frame(format, 20 + 16 * i, parity);
        const Picture result = deinterlacer.Process(frame.picture);
        EXPECT_FALSE(result.interlaced);
        for (int y = 0; y < kHeight; ++y) {
            const auto* line = reinterpret_cast<const Sample*>(result.planes[0] + y * result.strides[0]);
            ASSERT_TRUE(i == 0 || line[3] == (y % 4 == 3 ? 200 : 40)) << "a still line, picture " << i;
            for (int x = 16; y > 8 && y < 23 && x < kWidth; ++x) {
                ASSERT_EQ(line[x], x >= 20 + 16 * i && x < 28 + 16 * i ? 200 : 40)
                    << "the first field's block alone: " << x << "," << y << " of picture " << i;
            }
        }
    }
}

} // namespace

TEST(Deinterlacer, KeepsStillLinesAndRemovesCombs) {
    KeepsStillLinesAndRemovesCombs<std::uint8_t>(AV_PIX_FMT_YUV420P, 0);
    KeepsStillLinesAndRemovesCombs<std::uint8_t>(AV_PIX_FMT_YUV420P, 1);
    KeepsStillLinesAndRemovesCombs<std::uint16_t>(AV_PIX_FMT_YUV420P10LE, 0);
}

} // namespace vistrame::test
