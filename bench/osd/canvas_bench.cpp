// How fast the canvas fills: opaque against memset of as many bytes, blended against the plain per-pixel rule
// in double precision.
#include <cstdint>
#include <cstring>
#include <vector>

#include "bench/osd/rounds.h"
#include "player/osd/osd_canvas_argb32.h"
#include "player/osd/overlay_size.h"

namespace vistrame {

namespace {

constexpr int kRounds = 41;

// The rule as it reads: a virtual call per pixel, its factors worked out there.
class PlainCanvas {
public:
    explicit PlainCanvas(OsdCanvasArgb32& canvas) : canvas_(canvas) {}
    virtual ~PlainCanvas() = default;

    virtual void BlendPixel(int x, int y, std::uint32_t colour) {
        const std::uint32_t alpha = colour >> 24;
        if (!canvas_.contains(x, y) || alpha == 0) {
            return;
        }
        std::uint8_t* pixel = canvas_.pixelsPtr() + (static_cast<std::size_t>(y) * canvas_.width() + x) * 4;
        const double keep = static_cast<float>(255 - alpha) * 0.003921569F; // rounded to single precision
        const double take = 1.0 - keep;
        pixel[0] = static_cast<std::uint8_t>(pixel[0] * keep + (colour & 255) * take);
        pixel[1] = static_cast<std::uint8_t>(pixel[1] * keep + (colour >> 8 & 255) * take);
        pixel[2] = static_cast<std::uint8_t>(pixel[2] * keep + (colour >> 16 & 255) * take);
        pixel[3] = static_cast<std::uint8_t>(pixel[3] * keep + alpha * keep + alpha * take);
    }

    void Fill(int x, int y, int w, int h, std::uint32_t colour) {
        for (int row = y; row < y + h; ++row) {
            for (int column = x; column < x + w; ++column) {
                BlendPixel(column, row, colour);
            }
        }
    }

private:
    OsdCanvasArgb32& canvas_;
};

// The same with everything that does not change taken out of the loop.
void TightPlainFill(OsdCanvasArgb32& canvas, int x, int y, int w, int h, std::uint32_t colour) {
    const std::uint32_t alpha = colour >> 24;
    const double keep = static_cast<float>(255 - alpha) * 0.003921569F;
    const double take = 1.0 - keep;
    for (int row = y; row < y + h; ++row) {
        std::uint8_t* pixel = canvas.pixelsPtr() + (static_cast<std::size_t>(row) * canvas.width() + x) * 4;
        for (int column = 0; column < w; ++column, pixel += 4) {
            pixel[0] = static_cast<std::uint8_t>(pixel[0] * keep + (colour & 255) * take);
            pixel[1] = static_cast<std::uint8_t>(pixel[1] * keep + (colour >> 8 & 255) * take);
            pixel[2] = static_cast<std::uint8_t>(pixel[2] * keep + (colour >> 16 & 255) * take);
            pixel[3] = static_cast<std::uint8_t>(pixel[3] * keep + alpha * keep + alpha * take);
        }
    }
}

struct Area {
    const char* name;
    int x, y, w, h;
};

constexpr Area kAreas[] = {
    {"1920 x 1080", 0, 0, kOverlayWidth, kOverlayHeight},
    {"1600 x  900", 160, 90, 1600, 900},
    {" 399 x  301", 77, 51, 399, 301},
};

void BenchOpaque(OsdCanvasArgb32& canvas, std::vector<std::uint8_t>& block) {
    std::printf("%-14s %12s %12s %s\n", "opaque fill", "GB/s", "memset GB/s", "ours / memset");
    for (const Area& area : kAreas) {
        const std::size_t bytes = static_cast<std::size_t>(area.w) * area.h * 4;
        const RoundTimes times = TakeTurns(
            kRounds, [&] { canvas.fillRectAlpha(area.x, area.y, area.w, area.h, 10, 20, 30, 255); },
            [&] { std::memset(block.data(), 0x5A, bytes); });
        const double gigabytes = static_cast<double>(bytes) * 1e-9;
        std::printf("%-14s %12.2f %12.2f %.2f\n", area.name, gigabytes / times.ours, gigabytes / times.peer,
                    times.peer / times.ours);
    }
}

// Whether the bytes are the same.
bool BenchBlend(OsdCanvasArgb32& canvas, OsdCanvasArgb32& reference) {
    PlainCanvas plain(reference);
    bool same = true;
    std::printf("%-14s %9s %9s %9s %12s %12s\n", "blended fill", "Mpixel/s", "plain", "tight", "ours / plain",
                "ours / tight");
    for (const Area& area : kAreas) {
        for (const std::uint8_t alpha : {std::uint8_t{100}, std::uint8_t{200}}) {
            const std::uint32_t colour = std::uint32_t{alpha} << 24 | 0x00C86432;
            const auto ours = [&] {
                canvas.fillRectAlpha(area.x, area.y, area.w, area.h, 0xC8, 0x64, 0x32, alpha);
            };
            const RoundTimes times =
                TakeTurns(kRounds, ours, [&] { plain.Fill(area.x, area.y, area.w, area.h, colour); });
            const RoundTimes tight = TakeTurns(
                kRounds, ours, [&] { TightPlainFill(reference, area.x, area.y, area.w, area.h, colour); });
            const double pixels = static_cast<double>(area.w) * area.h * 1e-6;
            std::printf("%-14s %9.0f %9.0f %9.0f %12.1f %12.1f\n", area.name, pixels / times.ours,
                        pixels / times.peer, pixels / tight.peer, times.peer / times.ours,
                        tight.peer / tight.ours);
            same = same && std::memcmp(canvas.pixelsPtr(), reference.pixelsPtr(), canvas.bufferSize()) == 0;
        }
    }
    return same;
}

int Run() {
    OsdCanvasArgb32 canvas, plain;
    if (!canvas.create(kOverlayWidth, kOverlayHeight) || !plain.create(kOverlayWidth, kOverlayHeight)) {
        return 1;
    }
    std::vector<std::uint8_t> block(canvas.bufferSize());
    BenchOpaque(canvas, block);
    std::uint32_t noise = 1;
    for (std::size_t i = 0; i < canvas.bufferSize(); ++i) {
        noise = noise * 1664525 + 1013904223;
        canvas.pixelsPtr()[i] = plain.pixelsPtr()[i] = static_cast<std::uint8_t>(noise >> 24);
    }
    const bool same = BenchBlend(canvas, plain);
    std::printf("%s\n", same ? "same bytes" : "DIFFERENT BYTES");
    return same ? 0 : 1;
}

} // namespace

} // namespace vistrame

int main() {
    return vistrame::Run();
}
