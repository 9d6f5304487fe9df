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
    explicit Frame(int format, int bar, int parity)
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
        picture.planes = {reinterpret_cast<const std::uint8_t*>(luma.data()),
                          reinterpret_cast<const std::uint8_t*>(chroma.data()),
                          reinterpret_cast<const std::uint8_t*>(chroma.data())};
        picture.strides = {kWidth * static_cast<int>(sizeof(Sample)),
                           kWidth / 2 * static_cast<int>(sizeof(Sample)),
                           kWidth / 2 * static_cast<int>(sizeof(Sample))};
    }
    std::vector<Sample> luma;
    std::vector<Sample> chroma;
    Picture picture;
};

template <class Sample>
int At(const Picture& picture, int x, int y) {
    return reinterpret_cast<const Sample*>(picture.planes[0] + y * picture.strides[0])[x];
}

template <class Sample>
void KeepsStillLinesAndRemovesCombs(int format, int parity) {
    Deinterlacer deinterlacer;
    for (int i = 0; i < 3; ++i) {
        const Frame<Sample> frame(format, 20 + 16 * i, parity);
        const Picture result = deinterlacer.Process(frame.picture);
        EXPECT_FALSE(result.interlaced);
        for (int y = 9; y < 23; ++y) {
            for (int x = 16; x < kWidth; ++x) {
                const bool expected = x >= 20 + 16 * i && x < 28 + 16 * i;
                ASSERT_EQ(At<Sample>(result, x, y), expected ? 200 : 40)
                    << "the first field's block alone: " << x << "," << y << " of picture " << i;
            }
        }
        for (int y = 0; i > 0 && y < kHeight; ++y) {
            ASSERT_EQ(At<Sample>(result, 3, y), y % 4 == 3 ? 200 : 40) << "a still line, picture " << i;
        }
    }
}

} // namespace

TEST(Deinterlacer, KeepsStillLinesAndRemovesCombs) {
    KeepsStillLinesAndRemovesCombs<std::uint8_t>(AV_PIX_FMT_YUV420P, 0);
    KeepsStillLinesAndRemovesCombs<std::uint8_t>(AV_PIX_FMT_YUV420P, 1);
    KeepsStillLinesAndRemovesCombs<std::uint16_t>(AV_PIX_FMT_YUV420P10LE, 0);
}

TEST(Deinterlacer, PassesWhatItDoesNotWorkOn) {
    Deinterlacer deinterlacer;
    Frame<std::uint8_t> frame(AV_PIX_FMT_NV12, 30, 0);
    EXPECT_EQ(deinterlacer.Process(frame.picture).planes, frame.picture.planes) << "not planar";
    Frame<std::uint8_t> progressive(AV_PIX_FMT_YUV420P, 30, 0);
    progressive.picture.interlaced = false;
    EXPECT_EQ(deinterlacer.Process(progressive.picture).planes, progressive.picture.planes) << "progressive";
}

} // namespace vistrame::test
