#include "filters/pictures/standard_range.h"

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace vistrame {

namespace {

constexpr double kWhite = 203;       // cd/m2, BT.2408
constexpr double kHlgDisplay = 1000; // cd/m2, the display that BT.2100 describes HLG for
constexpr double kUsualPeak = 1000;  // cd/m2, of PQ, where the stream does not say
constexpr double kMonitorGamma = 2.4;

// How much red and blue are of the luma.
struct Weights {
    double red, blue;
    [[nodiscard]] double Green() const { return 1 - red - blue; }
};
constexpr Weights k601{0.299, 0.114};
constexpr Weights k709{0.2126, 0.0722};
constexpr Weights k2020{0.2627, 0.0593};

// Standard definition of 525 lines. That of 625 differs from BT.709 by less than anyone sees.
bool Is525(int primaries) {
    return primaries == AVCOL_PRI_SMPTE170M || primaries == AVCOL_PRI_SMPTE240M;
}

Weights WeightsOf(const Colours& colours) {
    switch (colours.matrix) {
        case AVCOL_SPC_BT709:
            return k709;
        case AVCOL_SPC_UNSPECIFIED:
            return Is525(colours.primaries) ? k601 : k2020;
        case AVCOL_SPC_BT2020_NCL:
        case AVCOL_SPC_BT2020_CL:
            return k2020;
        default:
            return k601;
    }
}

Triple RgbOf(const Triple& yuv, const Weights& weights) {
    const double red = yuv[0] + 2 * (1 - weights.red) * yuv[2];
    const double blue = yuv[0] + 2 * (1 - weights.blue) * yuv[1];
    return {red, (yuv[0] - weights.red * red - weights.blue * blue) / weights.Green(), blue};
}

Triple YuvOf(const Triple& rgb, const Weights& weights) {
    const double luma = weights.red * rgb[0] + weights.Green() * rgb[1] + weights.blue * rgb[2];
    return {luma, (rgb[2] - luma) / 2 / (1 - weights.blue), (rgb[0] - luma) / 2 / (1 - weights.red)};
}

// Rows for red, green, blue: light of those primaries as light of BT.709's.
using Matrix = std::array<Triple, 3>;
constexpr Matrix k2020To709{
    {{1.6605, -0.5876, -0.0728}, {-0.1246, 1.1329, -0.0083}, {-0.0182, -0.1006, 1.1187}}}; // BT.2087
constexpr Matrix kSmpteCTo709{
    {{0.9395, 0.0502, 0.0103}, {0.0178, 0.9658, 0.0164}, {-0.0016, -0.0044, 1.0060}}};

Triple Times(const Matrix& matrix, const Triple& v) {
    Triple result{};
    for (std::size_t i = 0; i < 3; ++i) {
        result[i] = matrix[i][0] * v[0] + matrix[i][1] * v[1] + matrix[i][2] * v[2];
    }
    return result;
}

// BT.2100's constants.
constexpr double kPqM1 = 2610.0 / 16384;
constexpr double kPqM2 = 2523.0 / 4096 * 128;
constexpr double kPqC1 = 3424.0 / 4096;
constexpr double kPqC2 = 2413.0 / 4096 * 32;
constexpr double kPqC3 = 2392.0 / 4096 * 32;
constexpr double kPqMost = 10000;

double PqLight(double signal) {
    const double root = std::pow(std::max(signal, 0.0), 1 / kPqM2);
    return kPqMost * std::pow(std::max(root - kPqC1, 0.0) / (kPqC2 - kPqC3 * root), 1 / kPqM1);
}

double PqSignal(double light) {
    const double power = std::pow(std::max(light, 0.0) / kPqMost, kPqM1);
    return std::pow((kPqC1 + kPqC2 * power) / (1 + kPqC3 * power), kPqM2);
}

double HlgScene(double signal) {
    constexpr double kA = 0.17883277;
    constexpr double kB = 0.28466892;
    constexpr double kC = 0.55991073;
    return signal <= 0.5 ? signal * signal / 3 : (std::exp((signal - kC) / kA) + kB) / 12;
}

} // namespace

bool StandardRange::IsNeededFor(const Colours& colours) {
    return colours.transfer == AVCOL_TRC_SMPTE2084 || colours.transfer == AVCOL_TRC_ARIB_STD_B67 ||
           colours.primaries == AVCOL_PRI_BT2020 || Is525(colours.primaries);
}

StandardRange::StandardRange(const Colours& colours) : colours_(colours) {
    const bool pq = colours.transfer == AVCOL_TRC_SMPTE2084;
    const double peak = pq && colours.peak > 0 ? colours.peak : pq ? kUsualPeak : kHlgDisplay;
    peak_ = PqSignal(std::clamp(peak, kWhite, kPqMost));
    top_ = PqSignal(kWhite) / peak_;
    knee_ = 1.5 * top_ - 0.5;
}

// BT.2390's spline, which ends level: brighter than the peak is as bright as the peak.
double StandardRange::Toned(double light) const {
    const double signal = std::min(PqSignal(light) / peak_, 1.0);
    if (signal <= knee_ || knee_ >= 1) {
        return light;
    }
    const double t = (signal - knee_) / (1 - knee_);
    const double t2 = t * t;
    const double t3 = t2 * t;
    return PqLight(
        peak_ * ((2 * t3 - 3 * t2 + 1) * knee_ + (t3 - 2 * t2 + t) * (1 - knee_) + (3 * t2 - 2 * t3) * top_));
}

// Of the monitor's white 1, in the picture's primaries.
Triple StandardRange::LightOf(const Triple& rgb) const {
    Triple light{};
    const auto each = [&](auto function) { std::ranges::transform(rgb, light.begin(), function); };
    if (colours_.transfer == AVCOL_TRC_SMPTE2084) {
        each(PqLight);
    } else if (colours_.transfer == AVCOL_TRC_ARIB_STD_B67) {
        each([](double signal) { return HlgScene(std::clamp(signal, 0.0, 1.0)); });
        const double luminance = k2020.red * light[0] + k2020.Green() * light[1] + k2020.blue * light[2];
        const double gain = kHlgDisplay * std::pow(luminance, 0.2);
        std::ranges::for_each(light, [&](double& one) { one *= gain; });
    } else {
        each([](double signal) { return std::pow(std::max(signal, 0.0), kMonitorGamma); });
        return light;
    }
    const double brightest = *std::ranges::max_element(light);
    const double gain = brightest > 0 ? Toned(brightest) / brightest / kWhite : 0;
    std::ranges::for_each(light, [&](double& one) { one *= gain; });
    return light;
}

Triple StandardRange::Map(const Triple& yuv) const {
    Triple light = LightOf(RgbOf(yuv, WeightsOf(colours_)));
    if (Is525(colours_.primaries)) {
        light = Times(kSmpteCTo709, light);
    } else if (colours_.primaries != AVCOL_PRI_BT709) {
        light = Times(k2020To709, light);
    }
    Triple rgb{};
    std::ranges::transform(light, rgb.begin(),
                           [](double one) { return std::pow(std::clamp(one, 0.0, 1.0), 1 / kMonitorGamma); });
    return YuvOf(rgb, k709);
}

} // namespace vistrame
