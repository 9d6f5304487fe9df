// The canvas in 32 bits per pixel: bytes blue, green, red, alpha, the layout of D3DFMT_A8R8G8B8.
//
// See OsdCanvas for units, threads, ownership and errors. The results of every operation are those of the
// plain per-pixel rule, to the bit, however it is carried out.
#pragma once

#include "player/osd/osd_canvas.h"

namespace vistrame {

class OsdCanvasArgb32 final : public OsdCanvas {
public:
    int bitsPerPixel() const override { return 32; }

    void setPixel(int x, int y, std::uint32_t colour) override;
    // Alpha 255 stores the colour with alpha byte 0, unlike setPixel and the opaque fill; see BlendedPixel.
    void blendPixel(int x, int y, std::uint32_t colour) override;
    void getPixel(int x, int y, std::uint8_t& red, std::uint8_t& green, std::uint8_t& blue,
                  std::uint8_t& alpha) const override;
    void fillRect(int x, int y, int w, int h, std::uint8_t red, std::uint8_t green, std::uint8_t blue,
                  std::uint8_t alpha) override;
    void fillRectAlpha(int x, int y, int w, int h, std::uint8_t red, std::uint8_t green, std::uint8_t blue,
                       std::uint8_t alpha) override;
    void copyFrom(const OsdCanvas& source, int dx, int dy, int sx, int sy, int w, int h) override;
    void blendFrom(const OsdCanvas& source, int dx, int dy, int sx, int sy, int w, int h) override;
    bool create(int width, int height) override;

private:
    // Pixels are reached bytewise: an attached buffer need not be aligned.
    std::uint8_t* at(int x, int y) const { return row(y) + static_cast<std::size_t>(x) * 4; }
    void fillOpaque(int x, int y, int w, int h, std::uint32_t colour);
    bool sharesMemoryWith(const OsdCanvasArgb32& other) const;
};

} // namespace vistrame
