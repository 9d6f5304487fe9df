#include "filters/overlay/window_painter.h"

#include <algorithm>
#include <utility>

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace vistrame {

namespace {

constexpr PixelLayout kWindowPixels{AV_PIX_FMT_BGR0, 32, true, false};

Picture PictureIn(const PictureType& type, const std::uint8_t* pixels) {
    Picture picture;
    // Only read through.
    const PicturePlanes planes = type.PlanesIn(const_cast<std::uint8_t*>(pixels));
    std::ranges::copy(planes.data, picture.planes.begin());
    picture.strides = planes.strides;
    picture.format = type.pixels.format;
    picture.width = type.width;
    picture.height = type.height;
    picture.aspect = type.aspect;
    picture.colours = type.colours;
    return picture;
}

} // namespace

void WindowPainter::Begin(HWND window) {
    const std::lock_guard lock(lock_);
    window_ = window;
    next_.picture.reset();
    shown_.picture.reset();
    asked_ = {};
}

// Under Wine the size of a window inside another process's costs four questions to its server, so it is not
// asked for each picture: a new size nearly always shows in what of the window can be painted.
SIZE WindowPainter::WindowSize() {
    constexpr std::chrono::milliseconds kGoodFor{100};
    const auto now = std::chrono::steady_clock::now();
    if (now - asked_ >= kGoodFor) {
        RECT client{};
        size_ = GetClientRect(window_, &client) != FALSE ? SIZE{client.right, client.bottom} : SIZE{};
        asked_ = now;
    }
    return size_;
}

void WindowPainter::Prepare(const PictureType& type, const std::uint8_t* pixels, long bytes) {
    const std::lock_guard lock(lock_);
    next_.picture.reset();
    const SIZE size = WindowSize();
    if (bytes < type.Bytes() || size.cx <= 0 || size.cy <= 0) {
        return;
    }
    PictureBuffer target;
    target.pixels = kWindowPixels;
    target.width = target.stride = size.cx;
    target.height = target.lines = size.cy;
    target.aspect = type.aspect;
    next_.pixels.resize(static_cast<std::size_t>(target.Bytes()));
    if (writer_.Write(PictureIn(type, pixels), target, PictureWriter::Fit::kFill, next_.pixels.data(),
                      target.Bytes())) {
        next_.picture = target;
    }
}

void WindowPainter::Show() {
    const std::lock_guard lock(lock_);
    if (next_.picture) {
        std::swap(next_, shown_);
        next_.picture.reset();
        // As large as the window was a moment ago; a size that has changed since is made good by the next
        // picture or by Repaint.
        Paint({shown_.picture->width, shown_.picture->height});
    }
}

void WindowPainter::Repaint(std::chrono::milliseconds age) {
    const std::lock_guard lock(lock_);
    if (shown_.picture && std::chrono::steady_clock::now() - painted_ >= age) {
        Paint(WindowSize());
    }
}

void WindowPainter::Paint(SIZE size) {
    auto* const dc = GetDC(window_);
    if (dc == nullptr) {
        return;
    }
    if (RECT clip{}; GetClipBox(dc, &clip) == ERROR || EqualRect(&clip, &clip_) == FALSE) {
        clip_ = clip;
        asked_ = {}; // the next picture asks
    }
    painted_ = std::chrono::steady_clock::now();
    const PictureBuffer& picture = *shown_.picture;
    BITMAPINFO format{};
    format.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    format.bmiHeader.biWidth = picture.stride;
    format.bmiHeader.biHeight = -picture.lines; // from the top line on
    format.bmiHeader.biPlanes = 1;
    format.bmiHeader.biBitCount = static_cast<WORD>(picture.pixels.bits);
    format.bmiHeader.biCompression = BI_RGB;
    if (size.cx == picture.width && size.cy == picture.height) {
        (void)SetDIBitsToDevice(dc, 0, 0, static_cast<DWORD>(picture.width),
                                static_cast<DWORD>(picture.height), 0, 0, 0, static_cast<UINT>(picture.lines),
                                shown_.pixels.data(), &format, DIB_RGB_COLORS);
    } else {
        (void)SetStretchBltMode(dc, COLORONCOLOR);
        (void)StretchDIBits(dc, 0, 0, size.cx, size.cy, 0, 0, picture.width, picture.height,
                            shown_.pixels.data(), &format, DIB_RGB_COLORS, SRCCOPY);
    }
    (void)ReleaseDC(window_, dc);
}

} // namespace vistrame
