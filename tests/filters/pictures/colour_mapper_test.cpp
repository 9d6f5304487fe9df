// Colours that a monitor of standard range has to be given as others.
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "filters/pictures/colour_mapper.h"

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace vistrame::test {

namespace {

struct Weights {
    double red, blue; // of the luma
};
constexpr Weights k709{0.2126, 0.0722};
constexpr Weights k2020{0.2627, 0.0593};
constexpr Weights k601{0.299, 0.114};

// A picture of one colour, whose lines and columns end within a block.
struct Plain {
    Plain(int format, int bits, const Colours& colours, const Weights& weights, const Triple& rgb) {
        const double luma =
            weights.red * rgb[0] + weights.blue * rgb[2] + (1 - weights.red - weights.blue) * rgb[1];
        const double unit = 1 << (bits - 8);
        const double values[] = {(16 + 219 * luma) * unit,
                                 (128 + 112 * (rgb[2] - luma) / (1 - weights.blue)) * unit,
                                 (128 + 112 * (rgb[0] - luma) / (1 - weights.red)) * unit};
        picture.format = format;
        picture.width = 61;
        picture.height = 35;
        picture.colours = colours;
        for (std::size_t i = 0; i < 3; ++i) {
            const auto value = static_cast<std::uint16_t>(std::lround(values[i]));
            for (int at = 0; at < 64 * 36; ++at) {
                planes[i].push_back(static_cast<std::uint8_t>(value));
                if (bits > 8) {
                    planes[i].push_back(static_cast<std::uint8_t>(value >> 8));
                }
            }
            picture.planes[i] = planes[i].data();
            picture.strides[i] = bits > 8 ? 128 : 64;
        }
    }
    std::vector<std::uint8_t> planes[3];
    Picture picture;
};

// Its mean in a plane, where the last lines and columns count as the others.
double Mean(const Picture& picture, std::size_t plane, int width, int height) {
    double sum = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            sum += picture.planes[plane][y * picture.strides[plane] + x];
        }
    }
    return sum / (width * height);
}

} // namespace

TEST(ColourMapper, ShowsWhatTheStreamMeansInBt709) {
    const Colours pq{AVCOL_SPC_BT2020_NCL, false, AVCOL_PRI_BT2020, AVCOL_TRC_SMPTE2084};
    const Colours hlg{AVCOL_SPC_BT2020_NCL, false, AVCOL_PRI_BT2020, AVCOL_TRC_ARIB_STD_B67};
    const Colours wide{AVCOL_SPC_BT2020_NCL, false, AVCOL_PRI_BT2020, AVCOL_TRC_BT2020_10};
    const Colours us{AVCOL_SPC_SMPTE170M, false, AVCOL_PRI_SMPTE170M, AVCOL_TRC_SMPTE170M};
    struct Row {
        const char* what;
        Colours colours;
        Triple signal, shown; // 0 to 1, and 0 to 255 as the recommendations have it
        Weights weights = k2020;
        int format = AV_PIX_FMT_YUV420P10LE;
        int bits = 10;
    };
    const Row rows[] = {
        {"PQ, white of graphics", pq, {0.58, 0.58, 0.58}, {230.1, 230.1, 230.1}},
        {"PQ, grey of 33 cd/m2", pq, {0.4, 0.4, 0.4}, {118.8, 118.8, 118.8}},
        {"PQ, above the peak", pq, {0.9, 0.9, 0.9}, {255, 255, 255}},
        {"PQ, skin", pq, {0.5, 0.4, 0.35}, {213.6, 106.7, 87.7}},
        {"HLG, white of graphics", hlg, {0.75, 0.75, 0.75}, {230.4, 230.4, 230.4}},
        {"HLG, brown", hlg, {0.5, 0.3, 0.2}, {157.5, 79.9, 56.9}},
        {"HLG in 8 bits", hlg, {0.5, 0.5, 0.5}, {143.1, 143.1, 143.1}, k2020, AV_PIX_FMT_YUV420P, 8},
        {"HLG, 4:2:2", hlg, {0.5, 0.3, 0.2}, {157.5, 79.9, 56.9}, k2020, AV_PIX_FMT_YUV422P10LE},
        {"BT.2020, brown", wide, {0.6, 0.5, 0.4}, {168.1, 124.0, 97.6}},
        {"525 lines, red", us, {0.8, 0.2, 0.2}, {199.0, 60.0, 50.1}, k601, AV_PIX_FMT_YUV420P, 8},
    };
    ColourMapper mapper;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const Plain plain(row.format, row.bits, row.colours, row.weights, row.signal);
        const Picture& mapped = mapper.Map(plain.picture);
        EXPECT_EQ(mapped.colours, (Colours{AVCOL_SPC_BT709, false, AVCOL_PRI_BT709, AVCOL_TRC_BT709}));
        const bool half = row.format != AV_PIX_FMT_YUV422P10LE;
        EXPECT_EQ(mapped.format, half ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_YUV422P);
        const double luma = (Mean(mapped, 0, 61, 35) - 16) * 255 / 219;
        const double u = (Mean(mapped, 1, 31, half ? 18 : 35) - 128) * 255 / 112;
        const double v = (Mean(mapped, 2, 31, half ? 18 : 35) - 128) * 255 / 112;
        const double red = luma + (1 - k709.red) * v;
        const double blue = luma + (1 - k709.blue) * u;
        EXPECT_NEAR(red, row.shown[0], 2.5);
        EXPECT_NEAR(blue, row.shown[2], 2.5);
        EXPECT_NEAR((luma - k709.red * red - k709.blue * blue) / (1 - k709.red - k709.blue), row.shown[1],
                    2.5);
    }
}

TEST(ColourMapper, DithersWhatIsBetweenTwoStepsAndLeavesTheRestAlone) {
    const Colours wide{AVCOL_SPC_BT2020_NCL, false, AVCOL_PRI_BT2020};
    ColourMapper mapper;
    double last = 0;
    for (int step = 0; step < 4; ++step) { // of 10 bits
        const double grey = (25 + step / 4.0) / 219;
        const Plain plain(AV_PIX_FMT_YUV420P10LE, 10, wide, k2020, {grey, grey, grey});
        const double mean = Mean(mapper.Map(plain.picture), 0, 56, 32);
        EXPECT_TRUE(step == 0 || (mean > last + 0.15 && mean < last + 0.35)) << mean << " after " << last;
        last = mean;
    }
    for (const Colours& usual : {Colours{}, Colours{AVCOL_SPC_BT709, false, AVCOL_PRI_BT709, AVCOL_TRC_BT709},
                                 Colours{AVCOL_SPC_BT470BG, false, AVCOL_PRI_BT470BG}}) {
        const Plain plain(AV_PIX_FMT_YUV420P, 8, usual, k709, {0.5, 0.5, 0.5});
        EXPECT_EQ(&mapper.Map(plain.picture), &plain.picture);
    }
}

} // namespace vistrame::test
