// A bitmap in memory that the on-screen display is drawn into, and what every pixel format of it shares.
//
// Units      signed pixels, (0, 0) top left, row 0 at the top; strides and sizes in bytes; components 0 to
//            255; colours 0xAARRGGBB.
// Threads    no lock: one thread at a time.
// Ownership  frees the buffer of create() when destroyed, never the one of attach(). create() does not free
//            an earlier buffer: a canvas is created once.
// Errors     pixels outside the canvas, and every pixel of a canvas without a buffer, are skipped silently.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vistrame {

class OsdCanvas;

// Whoever wants to hear of changes. Borrowed by the canvas, called on the thread that draws.
class OsdChangeListener {
public:
    virtual void* canvasChanged(OsdCanvas* canvas, int x, int y, int w, int h) = 0;

protected:
    ~OsdChangeListener() = default;
};

// The order of the virtual operations is fixed.
class OsdCanvas {
public:
    // ownsPixels_ is left as it is: create() or attach() sets it, and without a buffer nobody looks at it.
    OsdCanvas() {} // NOLINT(modernize-use-equals-default)
    OsdCanvas(const OsdCanvas&) = delete;
    OsdCanvas& operator=(const OsdCanvas&) = delete;
    virtual ~OsdCanvas();

    virtual int bitsPerPixel() const = 0;

    virtual void setPixel(int x, int y, std::uint32_t colour) = 0;
    virtual void blendPixel(int x, int y, std::uint32_t colour) = 0;
    // The only access without a bounds check.
    virtual void getPixel(int x, int y, std::uint8_t& red, std::uint8_t& green, std::uint8_t& blue,
                          std::uint8_t& alpha) const = 0;

    // Writes the colour as it is, alpha included: with alpha 0 it makes the rectangle transparent again.
    virtual void fillRect(int x, int y, int w, int h, std::uint8_t red, std::uint8_t green, std::uint8_t blue,
                          std::uint8_t alpha) = 0;
    // Blends the colour over the rectangle; alpha is coverage, and 255 writes an opaque colour.
    virtual void fillRectAlpha(int x, int y, int w, int h, std::uint8_t red, std::uint8_t green,
                               std::uint8_t blue, std::uint8_t alpha) = 0;

    // Copy, or blend, the w x h pixels of `source` from (sx, sy) on, which must not be negative, to (dx, dy).
    // Pixels are taken column by column, top to bottom, each from what the ones before it left: that shows
    // where source and destination are the same memory.
    virtual void copyFrom(const OsdCanvas& source, int dx, int dy, int sx, int sy, int w, int h) = 0;
    virtual void blendFrom(const OsdCanvas& source, int dx, int dy, int sx, int sy, int w, int h) = 0;

    // Drawing does not report itself: who draws calls these. The listener's answer; null without one.
    virtual void* notifyChanged(int x, int y, int w, int h);
    virtual void* notifyAllChanged();

    // Allocates a buffer of zeros, transparent black. False, and no buffer, when there is no memory.
    virtual bool create(int width, int height);
    // Borrows `pixels` for as long as the canvas is used.
    virtual bool attach(int width, int height, std::uint32_t stride, void* pixels);

    std::uint8_t* pixelsPtr() const { return pixels_; }
    int width() const { return width_; }
    int height() const { return height_; }
    std::size_t bufferSize() const;
    void setListener(OsdChangeListener* listener) { listener_ = listener; }

    bool contains(int x, int y) const { return x >= 0 && x < width_ && y >= 0 && y < height_; }
    // Cuts a rectangle at the canvas's edges; what lies wholly to the left or above becomes empty. An empty
    // one, and one wholly to the right or below, is left exactly as it is.
    void clipRect(int& x, int& y, int& w, int& h) const;

protected:
    std::uint8_t* row(int y) const { return pixels_ + static_cast<std::size_t>(y) * stride_; }

    std::uint8_t* pixels_ = nullptr;
    std::int32_t ownsPixels_; // 1: ours to free
    std::int32_t width_ = 0;
    std::int32_t height_ = 0;
    std::uint32_t stride_ = 0;
    OsdChangeListener* listener_ = nullptr;
};

} // namespace vistrame
