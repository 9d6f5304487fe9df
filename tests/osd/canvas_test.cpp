// The canvas against its rules written down plainly (plain_canvas.h), and against numbers worked out by hand.
#include "osd/osd_canvas_argb32.h"

#include <array>
#include <climits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "osd/pixel_blend.h"
#include "tests/osd/plain_canvas.h"

namespace vistrame {

namespace {

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
        for (std::uint8_t& byte : plain.bytes) {
            byte = static_cast<std::uint8_t>(random());
        }
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

// Rectangles of any kind, inside and outside; sources that are another canvas, the same and one over the same bitmap.
TEST(Canvas, RandomDrawingEqualsTheRules) {
    constexpr std::array<std::uint32_t, 5> kAlphas = {0, 1, 127, 254, 255};
    for (int round = 0; round < 300; ++round) {
        Pair drawn(Between(1, 70), Between(1, 40)), other(Between(1, 70), Between(1, 40));
        for (int step = 0; step < 20; ++step) {
            const int x = Between(-30, 90), y = Between(-20, 60), w = Between(-10, 110), h = Between(-10, 70);
            const int sx = Between(0, 80), sy = Between(0, 50);
            const int from = Between(0, 3);
            const OsdCanvas& source = from < 2 ? other.canvas : from == 2 ? drawn.canvas : drawn.view;
            const PlainCanvas& plainSource = from < 2 ? other.plain : drawn.plain;
            std::uint32_t colour = random();
            if (const std::size_t choice = random() % 8; choice < kAlphas.size()) {
                colour = (colour & 0x00FFFFFF) | kAlphas[choice] << 24;
            }
            const auto part = [&](int shift) { return static_cast<std::uint8_t>(colour >> shift); };
            const int operation = Between(0, 2);
            const bool blend = Between(0, 1) != 0;
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

TEST(Canvas, WorkedExamples) {
    OsdCanvasArgb32 canvas;
    ASSERT_TRUE(canvas.create(1920, 1080));
    ASSERT_EQ(canvas.bufferSize(), 8294400U);
    const std::vector<std::uint8_t> zeros(8294400);
    canvas.fillRectAlpha(1920, 0, 10, 10, 1, 2, 3, 128); // outside: draws nothing
    canvas.fillRectAlpha(-5, 1080, 10, 10, 1, 2, 3, 128);
    canvas.fillRectAlpha(-9, -9, 9, 9, 1, 2, 3, 128);
    EXPECT_TRUE(std::equal(zeros.begin(), zeros.end(), canvas.pixelsPtr()));

    const struct {
        std::uint32_t old, colour, result;
    } blends[] = {
        {0, 0x80FFFFFF, 0x807F7F7F},
        {0, 0x01FFFFFF, 0x01000000},          // just short of 128 and of 1
        {0x11223344, 0xFF102030, 0x00102030}, // opaque leaves alpha 0
        {0x807F7F7F, 0x807F7F7F, 0xBF7F7F7F}, // equal components stay
    };
    for (const auto& row : blends) {
        canvas.setPixel(3, 4, row.old);
        canvas.blendPixel(3, 4, row.colour);
        std::uint8_t red = 0, green = 0, blue = 0, alpha = 0;
        canvas.getPixel(3, 4, red, green, blue, alpha);
        EXPECT_EQ(std::uint32_t{alpha} << 24 | red << 16 | green << 8 | blue, row.result);
    }

    const struct {
        std::array<int, 4> rect, clipped;
    } clips[] = {
        {{-10, 5, 5, 5}, {0, 5, 0, 5}},
        {{1920, 0, 10, 10}, {1920, 0, 10, 10}}, // to the right, below, empty: left alone
        {{-5, 1080, 10, 10}, {-5, 1080, 10, 10}},
        {{-5, -5, 0, 10}, {-5, -5, 0, 10}},
        {{1915, 1000, INT_MAX, INT_MAX}, {1915, 1000, 5, 80}},
        {{INT_MIN, 0, INT_MAX, 1}, {0, 0, 0, 1}},
    };
    for (const auto& row : clips) {
        auto [x, y, w, h] = row.rect;
        canvas.clipRect(x, y, w, h);
        EXPECT_EQ((std::array{x, y, w, h}), row.clipped);
    }
}

TEST(Canvas, WithoutABufferEverythingIsSkipped) {
    OsdCanvasArgb32 refused, source;
    EXPECT_FALSE(refused.create(INT_MAX, INT_MAX));
    ASSERT_TRUE(source.create(8, 8));
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
