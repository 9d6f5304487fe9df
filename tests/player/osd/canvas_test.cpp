// The canvas against its rules written down plainly.
#include "player/osd/osd_canvas_argb32.h"

#include <algorithm>
#include <array>
#include <climits>
#include <functional>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "player/osd/pixel_blend.h"

namespace vistrame {
namespace {

// A pixel at a time, in double precision.
struct PlainCanvas {
    int width, height;
    std::size_t stride, offset;      // bytes; `offset` is where the first pixel lies
    std::vector<std::uint8_t> bytes; // up to the end of the last row

    std::size_t Place(int x, int y) const { return offset + y * stride + static_cast<std::size_t>(x) * 4; }
    std::uint32_t Get(int x, int y) const { return LoadPixel(&bytes[Place(x, y)]); }

    static std::uint32_t Blended(std::uint32_t old, std::uint32_t colour) {
        const std::uint32_t alpha = colour >> 24;
        if (alpha == 0 || alpha == 255) {
            return alpha == 0 ? old : colour & 0x00FFFFFF;
        }
        const float keepSingle = static_cast<float>(255 - alpha) * 0.003921569F;
        const double keep = keepSingle;
        const double take = 1.0 - keep;
        const double covered = (old >> 24) * keep + alpha * keep + alpha * take;
        std::uint32_t result = static_cast<std::uint32_t>(covered) << 24;
        for (int shift = 0; shift < 24; shift += 8) {
            const double component = (old >> shift & 255) * keep + (colour >> shift & 255) * take;
            result |= static_cast<std::uint32_t>(component) << shift;
        }
        return result;
    }

    void Put(bool blend, int x, int y, std::uint32_t colour) {
        if (x >= 0 && x < width && y >= 0 && y < height) {
            StorePixel(&bytes[Place(x, y)], blend ? Blended(Get(x, y), colour) : colour);
        }
    }

    // With the canvas's opaque fill the first row is written even when the cut rectangle has no height.
    void Fill(bool alpha, int x, int y, int w, int h, std::uint32_t colour) {
        const bool blend = alpha && colour >> 24 != 255;
        if (w >= 1 && h >= 1 && x < width && y < height) {
            w = x < 0 ? w + x : w;
            h = y < 0 ? h + y : h;
            x = std::max(x, 0);
            y = std::max(y, 0);
        }
        for (int row = y; row < y + std::max(h, blend ? 0 : 1); ++row) {
            for (int column = x; column < x + w; ++column) {
                Put(blend, column, row, colour);
            }
        }
    }

    // `source` may be this canvas.
    void Transfer(bool blend, const PlainCanvas& source, int dx, int dy, int sx, int sy, int w, int h) {
        for (int x = sx; x < std::min(sx + w, source.width); ++x) {
            for (int y = sy; y < std::min(sy + h, source.height); ++y) {
                Put(blend, x - sx + dx, y - sy + dy, source.Get(x, y));
            }
        }
    }
};

std::mt19937 random;

int Between(int low, int high) {
    return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
}

// A canvas on a foreign buffer of random bytes with gaps between its rows, at any address, ending where its
// allocation ends; beside it the plain one with the same bytes.
struct Pair {
    Pair(int width, int height) : plain{width, height, 0, static_cast<std::size_t>(Between(0, 1)), {}} {
        plain.stride = static_cast<std::size_t>(width) * 4 + Between(0, 2) * 3;
        plain.bytes.resize(plain.Place(width, height - 1));
        std::ranges::generate(plain.bytes, std::ref(random));
        bytes = plain.bytes;
        for (OsdCanvasArgb32* on : {&canvas, &view}) {
            on->attach(width, height, static_cast<std::uint32_t>(plain.stride), &bytes[plain.offset]);
        }
    }

    PlainCanvas plain;
    std::vector<std::uint8_t> bytes;
    OsdCanvasArgb32 canvas, view; // two canvases over one bitmap
};

TEST(Canvas, EveryBlendEqualsTheRule) {
    std::vector<std::uint32_t> olds(256), blended(256), expected(256);
    for (std::uint32_t old = 0; old < 256; ++old) {
        olds[old] = old * 0x01010101;
    }
    OsdCanvasArgb32 canvas;
    canvas.attach(256, 1, 1024, blended.data());
    for (std::uint32_t colour = 0; colour < 0x10000; ++colour) { // alpha and component
        const std::uint32_t argb = colour >> 8 << 24 | (colour & 255) * 0x010101;
        blended = olds;
        for (int old = 0; old < 256; ++old) {
            expected[old] = PlainCanvas::Blended(olds[old], argb);
            canvas.blendPixel(old, 0, argb);
        }
        ASSERT_EQ(blended, expected) << std::hex << argb;
        for (const BlendWidth width : {BlendWidth::kOne, BlendWidth::kFour, BlendWidth::kEight}) {
            if (argb >> 24 != 0 && argb >> 24 != 255 && width <= WidestBlend()) {
                blended = olds;
                BlendColourOver(canvas.pixelsPtr(), 1024, 256, 1, argb, width);
                ASSERT_EQ(blended, expected) << std::hex << argb << " by " << static_cast<int>(width);
            }
        }
    }
}

// Rectangles of any kind, inside and outside; sources that are another canvas, the same and one over the same
// bitmap.
TEST(Canvas, RandomDrawingEqualsTheRules) {
    const std::array<std::uint32_t, 7> kAlphas = {0, 1, 77, 127, 180, 254, 255};
    for (int round = 0; round < 300; ++round) {
        Pair drawn(Between(1, 70), Between(1, 40)), other(Between(1, 70), Between(1, 40));
        for (int step = 0; step < 20; ++step) {
            const int x = Between(-30, 90), y = Between(-20, 60), w = Between(-10, 110), h = Between(-10, 70);
            const int sx = Between(0, 80), sy = Between(0, 50);
            const int from = Between(0, 3), operation = Between(0, 2);
            const bool blend = Between(0, 1) != 0;
            const OsdCanvas& source = from < 2 ? other.canvas : from == 2 ? drawn.canvas : drawn.view;
            const PlainCanvas& plainSource = from < 2 ? other.plain : drawn.plain;
            const std::uint32_t colour = kAlphas[random() % kAlphas.size()] << 24 ^ (random() & 0xFFFFFF);
            const auto part = [&](int shift) { return static_cast<std::uint8_t>(colour >> shift); };
            OsdCanvasArgb32& to = drawn.canvas;
            if (operation == 0) {
                blend ? to.blendPixel(x, y, colour) : to.setPixel(x, y, colour);
                drawn.plain.Put(blend, x, y, colour);
            } else if (operation == 1) {
                blend ? to.fillRectAlpha(x, y, w, h, part(16), part(8), part(0), part(24))
                      : to.fillRect(x, y, w, h, part(16), part(8), part(0), part(24));
                drawn.plain.Fill(blend, x, y, w, h, colour);
            } else {
                blend ? to.blendFrom(source, x, y, sx, sy, w, h) : to.copyFrom(source, x, y, sx, sy, w, h);
                drawn.plain.Transfer(blend, plainSource, x, y, sx, sy, w, h);
            }
            ASSERT_TRUE(drawn.bytes == drawn.plain.bytes && other.bytes == other.plain.bytes)
                << "operation " << operation << " blend " << blend << " from " << from << " at " << x << ","
                << y << " size " << w << "x" << h << " source " << sx << "," << sy;
        }
    }
}

TEST(Canvas, IsTransparentAtFirstAndClipsToItsSize) {
    OsdCanvasArgb32 canvas;
    ASSERT_TRUE(canvas.create(1920, 1080));
    ASSERT_EQ(canvas.bufferSize(), 8294400U);
    EXPECT_EQ(std::count(canvas.pixelsPtr(), canvas.pixelsPtr() + 8294400, 0), 8294400);
    using Rect = std::array<int, 4>;
    const std::pair<Rect, Rect> clips[] = {
        {{-10, 5, 5, 5}, {0, 5, 0, 5}},
        {{1920, 0, 10, 10}, {1920, 0, 10, 10}}, // to the right, below, empty: left alone
        {{-5, 1080, 10, 10}, {-5, 1080, 10, 10}},
        {{-5, -5, 0, 10}, {-5, -5, 0, 10}},
        {{1915, 1000, INT_MAX, INT_MAX}, {1915, 1000, 5, 80}},
        {{INT_MIN, 0, INT_MAX, 1}, {0, 0, 0, 1}},
    };
    for (auto [rect, clipped] : clips) {
        canvas.clipRect(rect[0], rect[1], rect[2], rect[3]);
        EXPECT_EQ(rect, clipped);
    }
}

TEST(Canvas, WithoutABufferEverythingIsSkipped) {
    OsdCanvasArgb32 refused, source;
    EXPECT_FALSE(refused.create(INT_MAX, INT_MAX));
    ASSERT_TRUE(source.create(8, 8)); // transparent
    refused.setPixel(0, 0, 0xFFFFFFFF);
    refused.blendPixel(0, 0, 0x80FFFFFF);
    refused.fillRect(0, 0, 5, 5, 1, 2, 3, 4);
    refused.fillRectAlpha(0, 0, 5, 5, 1, 2, 3, 4);
    refused.copyFrom(source, 0, 0, 0, 0, 8, 8);
    source.blendFrom(refused, 0, 0, 0, 0, 8, 8);
    EXPECT_EQ(LoadPixel(source.pixelsPtr()), 0U);
}

} // namespace
} // namespace vistrame
