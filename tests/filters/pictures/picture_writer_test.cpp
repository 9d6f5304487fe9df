// Pictures written into buffers of every shape, against a plain conversion of every pixel.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filters/pictures/picture_writer.h"

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace vistrame::test {

namespace {

constexpr std::uint8_t kUntouched = 0xA5; // far from every value that a picture or its black has
constexpr std::size_t kGuard = 4096;      // bytes around the buffer
constexpr int kTolerance = 9;             // the scaler counts in few bits

struct Colour {
    double a, b, c; // Y, U, V or R, G, B

    bool IsNear(const Colour& other) const {
        return std::abs(a - other.a) <= kTolerance && std::abs(b - other.b) <= kTolerance &&
               std::abs(c - other.c) <= kTolerance;
    }
};

Colour ToRgb(const Colour& yuv) { // standard definition
    const double luma = 1.164 * (yuv.a - 16);
    const Colour rgb{luma + 1.596 * (yuv.c - 128), luma - 0.813 * (yuv.c - 128) - 0.391 * (yuv.b - 128),
                     luma + 2.017 * (yuv.b - 128)};
    return {std::clamp(rgb.a, 0.0, 255.0), std::clamp(rgb.b, 0.0, 255.0), std::clamp(rgb.c, 0.0, 255.0)};
}

// A picture whose colours change evenly from corner to corner, so that they are known at any size.
class Gradient {
public:
    Gradient(int width, int height, Aspect aspect) {
        picture_.width = width;
        picture_.height = height;
        picture_.aspect = aspect;
        picture_.format = AV_PIX_FMT_YUV420P;
        picture_.colours.matrix = AVCOL_SPC_SMPTE170M;
        for (std::size_t i = 0; i < 3; ++i) {
            const int step = i == 0 ? 1 : 2;
            const int stride = (width / step + 127) & ~63; // as decoders pad theirs
            planes_[i].resize(static_cast<std::size_t>(stride) * (height + 2));
            for (int y = 0; y < (height + step - 1) / step; ++y) {
                for (int x = 0; x < stride; ++x) {
                    const Colour colour = At(std::min((x * step + step / 2.0) / width, 1.0),
                                             std::min((y * step + step / 2.0) / height, 1.0));
                    planes_[i][static_cast<std::size_t>(y) * stride + x] =
                        static_cast<std::uint8_t>(std::lround(i == 0   ? colour.a
                                                              : i == 1 ? colour.b
                                                                       : colour.c));
                }
            }
            picture_.planes[i] = planes_[i].data();
            picture_.strides[i] = stride;
        }
    }
    const Picture& Get() const { return picture_; }
    static Colour At(double x, double y) { return {40 + 30 * x + 20 * y, 120 - 30 * x, 130 + 20 * x}; }

private:
    std::vector<std::uint8_t> planes_[3];
    Picture picture_;
};

// What stands at a pixel, worked out from the layouts' definitions alone.
Colour PixelAt(const PictureBuffer& type, const std::uint8_t* buffer, int x, int y) {
    const auto rgb = [&](int bytesPerPixel) {
        const int line = (type.stride * bytesPerPixel + 3) / 4 * 4;
        const std::uint8_t* pixel = buffer + std::ptrdiff_t{line} * (type.topDown ? y : type.lines - 1 - y) +
                                    std::ptrdiff_t{x} * bytesPerPixel;
        return Colour{static_cast<double>(pixel[2]), static_cast<double>(pixel[1]),
                      static_cast<double>(pixel[0])};
    };
    const int half = (type.stride + 1) / 2;
    const std::uint8_t* chroma = buffer + std::ptrdiff_t{type.stride} * type.lines;
    const double luma = buffer[std::ptrdiff_t{type.stride} * y + x];
    switch (type.pixels.format) {
        case AV_PIX_FMT_BGR0:
            return rgb(4);
        case AV_PIX_FMT_BGR24:
            return rgb(3);
        case AV_PIX_FMT_NV12: {
            const std::uint8_t* pair = chroma + std::ptrdiff_t{2} * (half * (y / 2) + x / 2);
            return {luma, static_cast<double>(pair[0]), static_cast<double>(pair[1])};
        }
        case AV_PIX_FMT_YUV420P: { // V before U
            const std::uint8_t* v = chroma + std::ptrdiff_t{half} * (y / 2) + x / 2;
            const std::uint8_t* u = v + std::ptrdiff_t{half} * ((type.lines + 1) / 2);
            return {luma, static_cast<double>(*u), static_cast<double>(*v)};
        }
        default: { // Y U Y V
            const std::uint8_t* pair = buffer + std::ptrdiff_t{4} * (half * y + x / 2);
            return {static_cast<double>(pair[std::ptrdiff_t{x % 2} * 2]), static_cast<double>(pair[1]),
                    static_cast<double>(pair[3])};
        }
    }
}

struct Layout {
    const char* name;
    PixelLayout pixels;
};
const Layout kLayouts[] = {
    {"RGB32", {AV_PIX_FMT_BGR0, 32, true, false}},   {"NV12", {AV_PIX_FMT_NV12, 12, false, false}},
    {"YV12", {AV_PIX_FMT_YUV420P, 12, false, true}}, {"YUY2", {AV_PIX_FMT_YUYV422, 16, false, false}},
    {"RGB24", {AV_PIX_FMT_BGR24, 24, true, false}},
};

struct Rectangle {
    int x, y, width, height;
};

// Where pictures with the aspect belong: the whole height or width, in the middle, at even pixels.
Rectangle Placed(const PictureBuffer& target, Aspect aspect) {
    const double wide = static_cast<double>(aspect.x * target.aspect.y) / (aspect.y * target.aspect.x);
    Rectangle place{0, 0, target.width, target.height};
    if (wide > 1) {
        place.height = std::max(2, static_cast<int>(target.height / wide) / 2 * 2);
    } else if (wide < 1) {
        place.width = std::max(2, static_cast<int>(target.width * wide) / 2 * 2);
    }
    place.x = (target.width - place.width) / 4 * 2;
    place.y = (target.height - place.height) / 4 * 2;
    return place;
}

class Written {
public:
    Written(PictureWriter& writer, const Gradient& source, const PictureBuffer& target)
        : source_(source), target_(target), bytes_(static_cast<std::size_t>(target.Bytes())) {
        memory_.assign(bytes_ + 2 * kGuard, kUntouched);
        ok_ = writer.Write(source.Get(), target, PictureWriter::Fit::kLetterbox, memory_.data() + kGuard,
                           target.Bytes());
    }
    // Empty, or what is wrong.
    std::string Fault() const {
        const auto untouched = [](std::uint8_t byte) { return byte == kUntouched; };
        const auto end = memory_.begin() + static_cast<std::ptrdiff_t>(kGuard + bytes_);
        if (!ok_ || !std::all_of(memory_.begin(), memory_.begin() + kGuard, untouched) ||
            !std::all_of(end, memory_.end(), untouched)) {
            return ok_ ? "written outside the buffer" : "refused";
        }
        const bool rgb = target_.pixels.bottomUp;
        const Rectangle place = Placed(target_, source_.Get().aspect);
        for (int y = 0; y < target_.height; ++y) {
            for (int x = 0; x < target_.width; ++x) {
                const bool inside =
                    x >= place.x && x < place.x + place.width && y >= place.y && y < place.y + place.height;
                const Colour yuv = inside ? Gradient::At((x - place.x + 0.5) / place.width,
                                                         (y - place.y + 0.5) / place.height)
                                          : Colour{16, 128, 128};
                if (!PixelAt(target_, memory_.data() + kGuard, x, y).IsNear(rgb ? ToRgb(yuv) : yuv)) {
                    return "wrong at " + std::to_string(x) + ", " + std::to_string(y);
                }
            }
        }
        return {};
    }

private:
    const Gradient& source_;
    const PictureBuffer& target_;
    const std::size_t bytes_;
    std::vector<std::uint8_t> memory_;
    bool ok_ = false;
};

} // namespace

// Each pixel of the picture is written, and none beside it.
TEST(PictureWriter, EveryWidthInEveryLayout) {
    struct Row {
        const char* what;
        int padding; // of the lines
        Aspect aspect;
        bool sameSize; // as the source: converted only; else scaled
        bool topDown;  // where lines usually run upwards
    };
    const Row rows[] = {
        {"converted, exact stride", 0, {16, 9}, true, false},
        {"converted, padded stride", 24, {16, 9}, true, true},
        {"scaled, bars at the sides", 0, {4, 3}, false, true},
        {"scaled, bars above and below", 6, {64, 9}, false, false},
    };
    PictureWriter writer;
    for (int width = 16; width <= 1920; ++width) {
        const int height = 8 + width % 3;
        const Gradient same(width, height, {16, 9});
        for (const Row& row : rows) {
            const bool scaled = !row.sameSize;
            // Scaling costs most to set up: every width once, each layout every few.
            const Gradient other(scaled ? 360 : 16, scaled ? 24 : 2, row.aspect);
            for (std::size_t i = 0; i < std::size(kLayouts); ++i) {
                if (scaled && (static_cast<std::size_t>(width) / 2 + i) % std::size(kLayouts) != 0) {
                    continue;
                }
                const bool topDown = row.topDown || !kLayouts[i].pixels.bottomUp;
                const PictureBuffer target{kLayouts[i].pixels,
                                           width + row.padding,
                                           height + row.padding / 6,
                                           width,
                                           height,
                                           topDown,
                                           {16, 9},
                                           {AVCOL_SPC_SMPTE170M}};
                ASSERT_EQ(Written(writer, scaled ? other : same, target).Fault(), "")
                    << kLayouts[i].name << ", " << width << " x " << height << ", " << row.what;
            }
        }
    }
}

// Renderers go by the matrix that the type names, and by the size where it names none.
TEST(PictureWriter, YuvGetsTheMatrixOfItsBuffer) {
    const Colour green{32, 192, 32};
    const Colour sd{124, 81, 69}; // the same
    const Colour hd{142, 74, 64}; // and again
    std::vector<std::uint8_t> planes[3];
    Picture picture;
    picture.format = AV_PIX_FMT_YUV420P;
    picture.width = 352;
    picture.height = 288;
    for (std::size_t i = 0; i < 3; ++i) {
        planes[i].assign(std::size_t{352} * 288, static_cast<std::uint8_t>(i == 0   ? sd.a
                                                                           : i == 1 ? sd.b
                                                                                    : sd.c));
        picture.planes[i] = planes[i].data();
        picture.strides[i] = 352;
    }
    PictureWriter writer;
    for (const Layout& layout : kLayouts) {
        for (const int matrix : {AVCOL_SPC_UNSPECIFIED, AVCOL_SPC_BT709, AVCOL_SPC_SMPTE170M}) {
            for (const int width : {352, 1280}) {
                const bool topDown = !layout.pixels.bottomUp;
                const PictureBuffer target{layout.pixels, width, 288, width, 288, topDown, {16, 9}, {matrix}};
                std::vector<std::uint8_t> bytes(static_cast<std::size_t>(target.Bytes()));
                ASSERT_TRUE(
                    writer.Write(picture, target, PictureWriter::Fit::kFill, bytes.data(), target.Bytes()));
                const bool toHd = matrix == AVCOL_SPC_UNSPECIFIED ? width == 1280 : matrix == AVCOL_SPC_BT709;
                const Colour meant = !topDown ? green : toHd ? hd : sd;
                EXPECT_TRUE(PixelAt(target, bytes.data(), width / 2, 100).IsNear(meant))
                    << layout.name << ", matrix " << matrix << ", width " << width;
            }
        }
    }
}

// A grey of 10 bits lies between two of 8: its mean comes out, in every layout, by pixels of both kinds.
TEST(PictureWriter, DithersWhatEightBitsCannotHold) {
    constexpr int kWidth = 128;
    constexpr int kHeight = 64;
    for (const bool full : {false, true}) {
        for (const Layout& layout : kLayouts) {
            if (full && layout.pixels.format == AV_PIX_FMT_YUYV422) {
                continue; // in its range two steps of the full one fall together
            }
            double before = -1;
            for (int luma = 512; luma < 520; ++luma) {
                std::vector<std::uint16_t> planes[3];
                Picture picture;
                picture.format = AV_PIX_FMT_YUV420P10LE;
                picture.width = kWidth;
                picture.height = kHeight;
                picture.colours.fullRange = full;
                for (std::size_t i = 0; i < 3; ++i) {
                    planes[i].assign(std::size_t{kWidth} * kHeight,
                                     static_cast<std::uint16_t>(i == 0 ? luma : 512));
                    picture.planes[i] = reinterpret_cast<const std::uint8_t*>(planes[i].data());
                    picture.strides[i] = kWidth * 2;
                }
                const PictureBuffer target{layout.pixels, kWidth, kHeight, kWidth,
                                           kHeight,       true,   {16, 9}, {}};
                std::vector<std::uint8_t> bytes(static_cast<std::size_t>(target.Bytes()));
                PictureWriter writer;
                ASSERT_TRUE(
                    writer.Write(picture, target, PictureWriter::Fit::kFill, bytes.data(), target.Bytes()));
                double mean = 0;
                for (int pixel = 0; pixel < kWidth * kHeight; ++pixel) {
                    mean += PixelAt(target, bytes.data(), pixel % kWidth, pixel / kWidth).a;
                }
                mean /= kWidth * kHeight;
                EXPECT_GT(mean, before) << layout.name << ", luma " << luma << ", full range " << full;
                before = mean + 0.1;
            }
        }
    }
}

} // namespace vistrame::test
