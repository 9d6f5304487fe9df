// The canvas's rules written down plainly, a pixel at a time in double precision, to compare the canvas with.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "osd/pixel_blend.h"

namespace vistrame {

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

} // namespace vistrame
