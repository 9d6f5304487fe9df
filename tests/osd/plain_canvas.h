// The canvas's rules written down plainly, a pixel at a time in double precision, to compare the canvas with.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace vistrame {

struct PlainCanvas {
    int width, height;
    std::vector<std::uint32_t> pixels; // 0xAARRGGBB, row by row

    bool Contains(int x, int y) const { return x >= 0 && x < width && y >= 0 && y < height; }
    std::uint32_t& At(int x, int y) { return pixels[static_cast<std::size_t>(y) * width + x]; }

    void Set(int x, int y, std::uint32_t colour) {
        if (Contains(x, y)) {
            At(x, y) = colour;
        }
    }

    static std::uint32_t Blended(std::uint32_t old, std::uint32_t colour) {
        const std::uint32_t alpha = colour >> 24;
        if (alpha == 0) {
            return old;
        }
        if (alpha == 255) {
            return colour & 0x00FFFFFF;
        }
        const float keepSingle = static_cast<float>(255 - alpha) * 0.003921569F;
        const double keep = keepSingle;
        const double take = 1.0 - keep;
        std::uint32_t result = 0;
        for (int shift = 0; shift < 24; shift += 8) {
            const double component = (old >> shift & 255) * keep + (colour >> shift & 255) * take;
            result |= static_cast<std::uint32_t>(component) << shift;
        }
        const double component = (old >> 24) * keep + alpha * keep + alpha * take;
        return result | static_cast<std::uint32_t>(component) << 24;
    }

    void Blend(int x, int y, std::uint32_t colour) {
        if (Contains(x, y)) {
            At(x, y) = Blended(At(x, y), colour);
        }
    }

    void Clip(int& x, int& y, int& w, int& h) const {
        if (w < 1 || h < 1 || x >= width || y >= height) {
            return;
        }
        if (x < 0) {
            w += x;
            x = 0;
        }
        if (y < 0) {
            h += y;
            y = 0;
        }
        w = std::min(width - x, w) < 1 ? 0 : std::min(width - x, w);
        h = std::min(height - y, h) < 1 ? 0 : std::min(height - y, h);
    }

    void Fill(int x, int y, int w, int h, std::uint32_t colour) {
        Clip(x, y, w, h);
        for (int column = x; column < x + w; ++column) {
            Set(column, y, colour);
        }
        if (!Contains(x, y)) {
            return; // a rectangle outside the canvas has no row to copy
        }
        for (int row = y + 1; row < y + h; ++row) {
            for (int column = x; column < x + w; ++column) {
                At(column, row) = At(column, y);
            }
        }
    }

    void FillAlpha(int x, int y, int w, int h, std::uint32_t colour) {
        const std::uint32_t alpha = colour >> 24;
        if (alpha == 255) {
            Fill(x, y, w, h, colour);
            return;
        }
        Clip(x, y, w, h);
        for (int row = y; row < y + h; ++row) {
            for (int column = x; column < x + w; ++column) {
                Blend(column, row, colour);
            }
        }
    }

    // `source` may be this canvas.
    void Transfer(PlainCanvas& source, bool blend, int dx, int dy, int sx, int sy, int w, int h) {
        w = sx + w > source.width ? source.width - sx : w;
        h = sy + h > source.height ? source.height - sy : h;
        for (int i = sx; i < sx + w; ++i) {
            for (int j = sy; j < std::min(source.height, sy + h); ++j) {
                const std::uint32_t colour = source.At(i, j);
                if (blend) {
                    Blend(i - sx + dx, j - sy + dy, colour);
                } else {
                    Set(i - sx + dx, j - sy + dy, colour);
                }
            }
        }
    }
};

} // namespace vistrame
