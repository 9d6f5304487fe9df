#include "player/osd/osd_canvas_argb32.h"

#include <algorithm>
#include <functional>

#include "player/osd/pixel_blend.h"

namespace vistrame {

namespace {

std::uint32_t Packed(std::uint8_t red, std::uint8_t green, std::uint8_t blue, std::uint8_t alpha) {
    return std::uint32_t{alpha} << 24 | std::uint32_t{red} << 16 | std::uint32_t{green} << 8 | blue;
}

// The pixels that a transfer reads and where the first of them lands; empty when nothing is left.
struct Transfer {
    int sx, sy, dx, dy, w, h;
};

// One axis of a transfer, cut to the source at its far end and to the destination at both. Source coordinates
// below 0, which a caller must not pass, hold no pixels either.
void CutTransferAxis(int& from, int& to, int& length, int sourceExtent, int extent) {
    const std::int64_t shift = std::int64_t{to} - from;
    const auto first = std::max<std::int64_t>({from, 0, -shift});
    const auto end = std::min<std::int64_t>({std::int64_t{from} + length, sourceExtent, extent - shift});
    if (first >= end) {
        length = 0;
        return;
    }
    from = static_cast<int>(first);
    to = static_cast<int>(first + shift);
    length = static_cast<int>(end - first);
}

Transfer CutTransfer(const OsdCanvas& source, const OsdCanvas& destination, Transfer wanted) {
    Transfer cut = wanted;
    CutTransferAxis(cut.sx, cut.dx, cut.w, source.width(), destination.width());
    CutTransferAxis(cut.sy, cut.dy, cut.h, source.height(), destination.height());
    if (source.pixelsPtr() == nullptr || destination.pixelsPtr() == nullptr) {
        cut.w = 0;
    }
    return cut;
}

// The rule itself, for sources of another pixel format and for memory that overlaps.
template <typename Put>
void TransferByColumns(const OsdCanvas& source, const Transfer& cut, Put put) {
    for (int i = 0; i < cut.w; ++i) {
        for (int j = 0; j < cut.h; ++j) {
            std::uint8_t red = 0, green = 0, blue = 0, alpha = 0;
            source.getPixel(cut.sx + i, cut.sy + j, red, green, blue, alpha);
            put(cut.dx + i, cut.dy + j, Packed(red, green, blue, alpha));
        }
    }
}

} // namespace

bool OsdCanvasArgb32::create(int width, int height) {
    return OsdCanvas::create(width, height);
}

void OsdCanvasArgb32::setPixel(int x, int y, std::uint32_t colour) {
    if (contains(x, y) && pixels_ != nullptr) {
        StorePixel(at(x, y), colour);
    }
}

void OsdCanvasArgb32::blendPixel(int x, int y, std::uint32_t colour) {
    if (contains(x, y) && pixels_ != nullptr) {
        StorePixel(at(x, y), BlendedPixel(LoadPixel(at(x, y)), colour));
    }
}

void OsdCanvasArgb32::getPixel(int x, int y, std::uint8_t& red, std::uint8_t& green, std::uint8_t& blue,
                               std::uint8_t& alpha) const {
    const std::uint8_t* pixel = at(x, y);
    blue = pixel[0];
    green = pixel[1];
    red = pixel[2];
    alpha = pixel[3];
}

void OsdCanvasArgb32::fillRect(int x, int y, int w, int h, std::uint8_t red, std::uint8_t green,
                               std::uint8_t blue, std::uint8_t alpha) {
    clipRect(x, y, w, h);
    fillOpaque(x, y, w, h, Packed(red, green, blue, alpha));
}

void OsdCanvasArgb32::fillRectAlpha(int x, int y, int w, int h, std::uint8_t red, std::uint8_t green,
                                    std::uint8_t blue, std::uint8_t alpha) {
    clipRect(x, y, w, h);
    const std::uint32_t colour = Packed(red, green, blue, alpha);
    if (alpha == 0) {
        return;
    }
    if (alpha == 255) {
        fillOpaque(x, y, w, h, colour);
        return;
    }
    // What clipRect left alone is empty or lies outside the canvas.
    if (w > 0 && h > 0 && contains(x, y) && pixels_ != nullptr) {
        BlendColourOver(at(x, y), stride_, w, h, colour);
    }
}

// The first row is written pixel by pixel and copied into the rows below it. So a rectangle without height
// still gets its first row, where that lies on the canvas; one to the right of or below the canvas has none
// to copy.
void OsdCanvasArgb32::fillOpaque(int x, int y, int w, int h, std::uint32_t colour) {
    const int first = std::max(x, 0);
    const auto end = static_cast<int>(std::min<std::int64_t>(std::int64_t{x} + w, width_));
    if (first >= end || !contains(first, y) || pixels_ == nullptr) {
        return;
    }
    FillWithColour(at(first, y), stride_, end - first, std::max(h, 1), colour);
}

// By their ranges of addresses, so two views of one bitmap, side by side, count as shared too: merely slower.
bool OsdCanvasArgb32::sharesMemoryWith(const OsdCanvasArgb32& other) const {
    const auto endOf = [](const OsdCanvasArgb32& canvas) {
        return canvas.at(canvas.width_, canvas.height_ - 1);
    };
    const std::less<> before;
    return before(pixels_, endOf(other)) && before(other.pixels_, endOf(*this));
}

void OsdCanvasArgb32::copyFrom(const OsdCanvas& source, int dx, int dy, int sx, int sy, int w, int h) {
    const Transfer cut = CutTransfer(source, *this, {sx, sy, dx, dy, w, h});
    if (cut.w == 0 || cut.h == 0) {
        return;
    }
    const auto* same = dynamic_cast<const OsdCanvasArgb32*>(&source);
    if (same == nullptr || sharesMemoryWith(*same)) {
        TransferByColumns(source, cut,
                          [this](int x, int y, std::uint32_t colour) { setPixel(x, y, colour); });
        return;
    }
    for (int j = 0; j < cut.h; ++j) {
        std::memcpy(at(cut.dx, cut.dy + j), same->at(cut.sx, cut.sy + j),
                    static_cast<std::size_t>(cut.w) * 4);
    }
}

void OsdCanvasArgb32::blendFrom(const OsdCanvas& source, int dx, int dy, int sx, int sy, int w, int h) {
    const Transfer cut = CutTransfer(source, *this, {sx, sy, dx, dy, w, h});
    if (cut.w == 0 || cut.h == 0) {
        return;
    }
    const auto* same = dynamic_cast<const OsdCanvasArgb32*>(&source);
    if (same == nullptr || sharesMemoryWith(*same)) {
        TransferByColumns(source, cut,
                          [this](int x, int y, std::uint32_t colour) { blendPixel(x, y, colour); });
        return;
    }
    for (int j = 0; j < cut.h; ++j) {
        std::uint8_t* to = at(cut.dx, cut.dy + j);
        const std::uint8_t* from = same->at(cut.sx, cut.sy + j);
        for (int i = 0; i < cut.w; ++i, to += 4, from += 4) {
            StorePixel(to, BlendedPixel(LoadPixel(to), LoadPixel(from)));
        }
    }
}

} // namespace vistrame
