// The canvas against its rules written down plainly (plain_canvas.h).
//
//   every blend               alpha 0-255 x new 0-255 x old 0-255, each width of the blended fill, and blendPixel
//   random drawing            every operation, rectangles of any kind, buffers with gaps and odd addresses
//   copies onto oneself       overlapping rectangles of one canvas, and two canvases over one bitmap
//   worked examples           numbers worked out by hand
//   buffers                   create, attach, no memory, listener
#include "osd/osd_canvas_argb32.h"

#include <array>
#include <climits>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "osd/pixel_blend.h"
#include "tests/osd/plain_canvas.h"

namespace vistrame {

namespace {

using Random = std::mt19937;

int Between(Random& random, int low, int high) {
    return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
}

// A canvas on a foreign buffer with gaps between its rows, at an odd address, ending where its allocation ends;
// beside it the plain one with the same pixels.
struct Pair {
    Pair(Random& random, int width, int height)
        : gap(Between(random, 0, 2) * 3),
          offset(Between(random, 0, 1)),
          stride(static_cast<std::size_t>(width) * 4 + gap),
          bytes(std::make_unique<std::uint8_t[]>(Size(height))),
          plain{width, height, {}} {
        for (std::size_t i = 0; i < Size(height); ++i) {
            bytes[i] = static_cast<std::uint8_t>(random());
        }
        canvas.attach(width, height, static_cast<std::uint32_t>(stride), bytes.get() + offset);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                plain.pixels.push_back(
                    LoadPixel(bytes.get() + offset + y * stride + static_cast<std::size_t>(x) * 4));
            }
        }
        untouched.assign(bytes.get(), bytes.get() + Size(height));
    }

    std::size_t Size(int height) const { return offset + stride * height - gap; }

    // Every byte of the allocation: the plain pixels, and between them what was there at the start.
    void ExpectEqual() {
        std::vector<std::uint8_t> expected = untouched;
        for (int y = 0; y < plain.height; ++y) {
            std::memcpy(expected.data() + offset + y * stride, &plain.At(0, y),
                        static_cast<std::size_t>(plain.width) * 4);
        }
        ASSERT_EQ(std::memcmp(expected.data(), bytes.get(), expected.size()), 0);
    }

    int gap, offset;
    std::size_t stride;
    std::unique_ptr<std::uint8_t[]> bytes;
    OsdCanvasArgb32 canvas;
    PlainCanvas plain;
    std::vector<std::uint8_t> untouched;
};

// Mostly the interesting alphas and, in one case of four, any.
std::uint32_t AnyColour(Random& random) {
    constexpr std::array<std::uint32_t, 5> kAlphas = {0, 1, 127, 254, 255};
    const std::uint32_t colour = random();
    const std::uint32_t choice = random() % 8;
    return choice < kAlphas.size() ? (colour & 0x00FFFFFF) | kAlphas[choice] << 24 : colour;
}

TEST(Canvas, EveryBlendEqualsTheRule) {
    std::vector<std::uint32_t> olds(256), blended(256), expected(256);
    for (std::uint32_t old = 0; old < 256; ++old) {
        olds[old] = old * 0x01010101;
    }
    OsdCanvasArgb32 canvas;
    canvas.attach(256, 1, 1024, blended.data());
    for (std::uint32_t alpha = 0; alpha < 256; ++alpha) {
        for (std::uint32_t added = 0; added < 256; ++added) {
            const std::uint32_t colour = alpha << 24 | added * 0x010101;
            for (std::uint32_t old = 0; old < 256; ++old) {
                expected[old] = PlainCanvas::Blended(olds[old], colour);
            }
            blended = olds;
            for (int x = 0; x < 256; ++x) {
                canvas.blendPixel(x, 0, colour);
            }
            ASSERT_EQ(blended, expected) << "alpha " << alpha << " new " << added;
            for (const BlendWidth width : {BlendWidth::kOne, BlendWidth::kFour, BlendWidth::kEight}) {
                if (alpha == 0 || alpha == 255 || width > WidestBlend()) {
                    continue;
                }
                blended = olds;
                BlendColourOver(canvas.pixelsPtr(), 1024, 256, 1, colour, width);
                ASSERT_EQ(blended, expected)
                    << "alpha " << alpha << " new " << added << " at once " << static_cast<int>(width);
            }
        }
    }
}

TEST(Canvas, RandomDrawingEqualsTheRules) {
    Random random(20260102);
    for (int round = 0; round < 300; ++round) {
        Pair drawn(random, Between(random, 1, 70), Between(random, 1, 40));
        Pair source(random, Between(random, 1, 70), Between(random, 1, 40));
        for (int step = 0; step < 20; ++step) {
            const int x = Between(random, -30, 90), y = Between(random, -20, 60);
            const int w = Between(random, -10, 110), h = Between(random, -10, 70);
            const int sx = Between(random, 0, 80), sy = Between(random, 0, 50);
            const std::uint32_t colour = AnyColour(random);
            const auto alpha = static_cast<std::uint8_t>(colour >> 24),
                       red = static_cast<std::uint8_t>(colour >> 16),
                       green = static_cast<std::uint8_t>(colour >> 8),
                       blue = static_cast<std::uint8_t>(colour);
            const int operation = Between(random, 0, 5);
            SCOPED_TRACE("operation " + std::to_string(operation) + " at " + std::to_string(x) + "," +
                         std::to_string(y) + " size " + std::to_string(w) + "x" + std::to_string(h));
            switch (operation) {
                case 0:
                    drawn.canvas.setPixel(x, y, colour);
                    drawn.plain.Set(x, y, colour);
                    break;
                case 1:
                    drawn.canvas.blendPixel(x, y, colour);
                    drawn.plain.Blend(x, y, colour);
                    break;
                case 2:
                    drawn.canvas.fillRect(x, y, w, h, red, green, blue, alpha);
                    drawn.plain.Fill(x, y, w, h, colour);
                    break;
                case 3:
                    drawn.canvas.fillRectAlpha(x, y, w, h, red, green, blue, alpha);
                    drawn.plain.FillAlpha(x, y, w, h, colour);
                    break;
                case 4:
                    drawn.canvas.copyFrom(source.canvas, x, y, sx, sy, w, h);
                    drawn.plain.Transfer(source.plain, false, x, y, sx, sy, w, h);
                    break;
                default:
                    drawn.canvas.blendFrom(source.canvas, x, y, sx, sy, w, h);
                    drawn.plain.Transfer(source.plain, true, x, y, sx, sy, w, h);
                    break;
            }
            ASSERT_NO_FATAL_FAILURE(drawn.ExpectEqual());
        }
        ASSERT_NO_FATAL_FAILURE(source.ExpectEqual());
    }
}

TEST(Canvas, CopiesOntoItselfKeepTheOrderOfColumns) {
    Random random(7);
    for (int round = 0; round < 400; ++round) {
        Pair drawn(random, 24, 18);
        // A second canvas over the same bitmap must come to the same as the canvas itself.
        OsdCanvasArgb32 view;
        view.attach(24, 18, static_cast<std::uint32_t>(drawn.stride), drawn.canvas.pixelsPtr());
        const OsdCanvas& source = round % 2 == 0 ? drawn.canvas : view;
        const int dx = Between(random, -5, 20), dy = Between(random, -5, 15);
        const int sx = Between(random, 0, 20), sy = Between(random, 0, 15);
        const int w = Between(random, 1, 24), h = Between(random, 1, 18);
        const bool blend = round % 4 < 2;
        if (blend) {
            drawn.canvas.blendFrom(source, dx, dy, sx, sy, w, h);
        } else {
            drawn.canvas.copyFrom(source, dx, dy, sx, sy, w, h);
        }
        drawn.plain.Transfer(drawn.plain, blend, dx, dy, sx, sy, w, h);
        ASSERT_NO_FATAL_FAILURE(drawn.ExpectEqual()) << "round " << round;
    }
}

TEST(Canvas, WorkedExamples) {
    OsdCanvasArgb32 canvas;
    ASSERT_TRUE(canvas.create(1920, 1080));
    EXPECT_EQ(canvas.bufferSize(), 8294400U);
    EXPECT_EQ(canvas.bitsPerPixel(), 32);
    const std::vector<std::uint8_t> zeros(canvas.bufferSize());
    EXPECT_EQ(std::memcmp(canvas.pixelsPtr(), zeros.data(), zeros.size()), 0);

    struct Blend {
        std::uint32_t old, colour, result;
    };
    const Blend blends[] = {
        {0, 0x80FFFFFF, 0x807F7F7F},                                                // just short of 128
        {0, 0x01FFFFFF, 0x01000000},                                                // just short of 1
        {0x11223344, 0xFF102030, 0x00102030},                                       // opaque leaves alpha 0
        {0x11223344, 0x00102030, 0x11223344}, {0x807F7F7F, 0x807F7F7F, 0xBF7F7F7F}, // equal components stay
    };
    for (const Blend& row : blends) {
        canvas.setPixel(3, 4, row.old);
        canvas.blendPixel(3, 4, row.colour);
        EXPECT_EQ(LoadPixel(canvas.pixelsPtr() + std::size_t{4 * 7680 + 3 * 4}), row.result)
            << std::hex << row.colour;
    }

    struct Clip {
        std::array<int, 4> rect, clipped;
    };
    const Clip clips[] = {
        {{-10, 5, 5, 5}, {0, 5, 0, 5}},
        {{1920, 0, 10, 10}, {1920, 0, 10, 10}}, // to the right: left alone
        {{-5, 1080, 10, 10}, {-5, 1080, 10, 10}},
        {{-5, -5, 0, 10}, {-5, -5, 0, 10}}, // empty: left alone
        {{-5, -7, 10, 10}, {0, 0, 5, 3}},
        {{1915, 1000, INT_MAX, INT_MAX}, {1915, 1000, 5, 80}},
        {{INT_MIN, 0, INT_MAX, 1}, {0, 0, 0, 1}},
    };
    for (const Clip& row : clips) {
        auto [x, y, w, h] = row.rect;
        canvas.clipRect(x, y, w, h);
        EXPECT_EQ((std::array{x, y, w, h}), row.clipped);
    }

    std::uint8_t red = 0, green = 0, blue = 0, alpha = 0;
    canvas.fillRectAlpha(1910, 1070, 100, 100, 1, 2, 3, 255);
    canvas.getPixel(1919, 1079, red, green, blue, alpha);
    EXPECT_EQ((std::array{red, green, blue, alpha}), (std::array<std::uint8_t, 4>{1, 2, 3, 255}));
    canvas.fillRect(1910, 1070, 10, 10, 9, 8, 7, 0); // transparent again
    canvas.getPixel(1910, 1070, red, green, blue, alpha);
    EXPECT_EQ((std::array{red, green, blue, alpha}), (std::array<std::uint8_t, 4>{9, 8, 7, 0}));
}

// A canvas of another format: one byte per pixel, grey, half transparent.
class GreySource final : public OsdCanvas {
public:
    int bitsPerPixel() const override { return 8; }
    void setPixel(int x, int y, std::uint32_t colour) override {
        row(y)[x] = static_cast<std::uint8_t>(colour);
    }
    void blendPixel(int, int, std::uint32_t) override {}
    void getPixel(int x, int y, std::uint8_t& red, std::uint8_t& green, std::uint8_t& blue,
                  std::uint8_t& alpha) const override {
        red = green = blue = row(y)[x];
        alpha = 128;
    }
    void fillRect(int, int, int, int, std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t) override {}
    void fillRectAlpha(int, int, int, int, std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t) override {}
    void copyFrom(const OsdCanvas&, int, int, int, int, int, int) override {}
    void blendFrom(const OsdCanvas&, int, int, int, int, int, int) override {}
};

TEST(Canvas, TakesPixelsOfAnotherFormat) {
    GreySource source;
    ASSERT_TRUE(source.create(5, 3));
    EXPECT_EQ(source.bufferSize(), 15U);
    for (int i = 0; i < 15; ++i) {
        source.setPixel(i % 5, i / 5, static_cast<std::uint32_t>(i * 16));
    }
    std::vector<std::uint32_t> pixels(16, 0x40302010);
    OsdCanvasArgb32 canvas;
    canvas.attach(4, 4, 16, pixels.data());
    canvas.copyFrom(source, -1, 2, 0, 1, 9, 9); // rows 1 and 2 of the source, its first column off the canvas
    canvas.blendFrom(source, 3, 0, 4, 0, 1, 1);
    EXPECT_EQ(pixels[8], 0x80606060);  // (1, 1) of the source
    EXPECT_EQ(pixels[15], 0x80E0E0E0); // (4, 2)
    EXPECT_EQ(pixels[4], 0x40302010U); // above: untouched
    EXPECT_EQ(pixels[3], PlainCanvas::Blended(0x40302010, 0x80404040));
}

TEST(Canvas, WithoutABufferEverythingIsSkipped) {
    OsdCanvasArgb32 empty, refused, source;
    EXPECT_FALSE(refused.create(INT_MAX, INT_MAX));
    EXPECT_EQ(refused.width(), INT_MAX);
    EXPECT_FALSE(OsdCanvasArgb32().create(-4, -4));
    ASSERT_TRUE(source.create(8, 8));
    for (OsdCanvasArgb32* canvas : {&empty, &refused}) {
        EXPECT_EQ(canvas->pixelsPtr(), nullptr);
        canvas->setPixel(0, 0, 0xFFFFFFFF);
        canvas->blendPixel(0, 0, 0x80FFFFFF);
        canvas->fillRect(0, 0, 5, 5, 1, 2, 3, 4);
        canvas->fillRectAlpha(0, 0, 5, 5, 1, 2, 3, 4);
        canvas->fillRectAlpha(0, 0, 5, 5, 1, 2, 3, 255);
        canvas->copyFrom(source, 0, 0, 0, 0, 8, 8);
        canvas->blendFrom(source, 0, 0, 0, 0, 8, 8);
        source.copyFrom(*canvas, 0, 0, 0, 0, 8, 8);
    }
    EXPECT_EQ(LoadPixel(source.pixelsPtr()), 0U);
}

TEST(Canvas, ForeignBuffersStayAndListenersAnswer) {
    struct Listener : OsdChangeListener {
        void* canvasChanged(OsdCanvas* canvas, int x, int y, int w, int h) override {
            told = {x, y, w, h};
            return canvas;
        }
        std::array<int, 4> told{};
    } listener;
    std::array<std::uint32_t, 12> buffer{}; // freeing it would be found by the sanitizer
    {
        OsdCanvasArgb32 canvas;
        EXPECT_TRUE(canvas.attach(3, 2, 24, buffer.data()));
        EXPECT_EQ(canvas.notifyAllChanged(), nullptr);
        canvas.setListener(&listener);
        canvas.fillRect(0, 0, 3, 2, 1, 1, 1, 1);
        EXPECT_EQ(listener.told, (std::array<int, 4>{})); // drawing does not report itself
        EXPECT_EQ(canvas.notifyChanged(1, 2, 3, 4), &canvas);
        EXPECT_EQ(listener.told, (std::array{1, 2, 3, 4}));
        canvas.notifyAllChanged();
        EXPECT_EQ(listener.told, (std::array{0, 0, 3, 2}));
    }
    EXPECT_EQ(buffer[6], 0x01010101U); // the second row, behind a gap
    EXPECT_EQ(buffer[3], 0U);
}

} // namespace

} // namespace vistrame
