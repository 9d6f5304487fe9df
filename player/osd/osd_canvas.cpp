#include "player/osd/osd_canvas.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace vistrame {

namespace {

// Cuts one axis of a rectangle that begins before `extent` and is not empty.
void ClipAxis(int& start, int& length, int extent) {
    if (start < 0) {
        length += start;
        start = 0;
    }
    length = std::max(std::min(extent - start, length), 0);
}

// Exact for every canvas that can exist; a nonsensical size may wrap around.
std::uint64_t BytesFor(int bitsPerPixel, int width, int height) {
    const auto pixels = static_cast<std::uint64_t>(std::int64_t{height} * width);
    return static_cast<std::uint64_t>(bitsPerPixel) * pixels / 8;
}

// What can be counted in a pointer difference at four bytes a pixel, the widest format.
bool Addressable(int width, int height) {
    constexpr std::int64_t kMostPixels = std::numeric_limits<std::ptrdiff_t>::max() / 4;
    return width >= 0 && height >= 0 && std::int64_t{height} * width <= kMostPixels;
}

} // namespace

OsdCanvas::~OsdCanvas() {
    if (pixels_ != nullptr && ownsPixels_ != 0) {
        std::free(pixels_);
    }
}

bool OsdCanvas::create(int width, int height) {
    width_ = width;
    height_ = height;
    stride_ = static_cast<std::uint32_t>(std::int64_t{bitsPerPixel()} * width / 8);
    pixels_ = Addressable(width, height) ? static_cast<std::uint8_t*>(std::calloc(bufferSize(), 1)) : nullptr;
    ownsPixels_ = 1;
    return pixels_ != nullptr;
}

bool OsdCanvas::attach(int width, int height, std::uint32_t stride, void* pixels) {
    width_ = width;
    height_ = height;
    stride_ = stride;
    pixels_ = static_cast<std::uint8_t*>(pixels);
    ownsPixels_ = 0;
    return true;
}

std::size_t OsdCanvas::bufferSize() const {
    return static_cast<std::size_t>(BytesFor(bitsPerPixel(), width_, height_));
}

void OsdCanvas::clipRect(int& x, int& y, int& w, int& h) const {
    if (w < 1 || h < 1 || x >= width_ || y >= height_) {
        return;
    }
    ClipAxis(x, w, width_);
    ClipAxis(y, h, height_);
}

void* OsdCanvas::notifyChanged(int x, int y, int w, int h) {
    return listener_ != nullptr ? listener_->canvasChanged(this, x, y, w, h) : nullptr;
}

void* OsdCanvas::notifyAllChanged() {
    return notifyChanged(0, 0, width_, height_);
}

} // namespace vistrame
