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
}

void WindowPainter::Prepare(const PictureType& type, const std::uint8_t* pixels, long bytes) {
    const std::lock_guard lock(lock_);
    next_.picture.reset();
    RECT client{};
    if (bytes < type.Bytes() || GetClientRect(window_, &client) == FALSE || client.right <= 0 ||
        client.bottom <= 0) {
        return;
    }
    PictureBuffer target;
    target.pixels = kWindowPixels;
    target.width = target.stride = client.right;
    target.height = target.lines = client.bottom;
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
        // As large as the window was a moment ago; a size of now would be a question to the system for each
        // picture, and one that has changed since is made good by the next picture or by Repaint.
        Paint(shown_.picture->width, shown_.picture->height);
    }
}

void WindowPainter::Repaint(std::chrono::milliseconds age) {
    const std::lock_guard lock(lock_);
    RECT client{};
    if (shown_.picture && std::chrono::steady_clock::now() - painted_ >= age &&
        GetClientRect(window_, &client) != FALSE) {
        Paint(client.right, client.bottom);
    }
}

void WindowPainter::Paint(long width, long height) {
    auto* const dc = GetDC(window_);
    if (dc == nullptr) {
        return;
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
    if (width == picture.width && height == picture.height) {
        (void)SetDIBitsToDevice(dc, 0, 0, static_cast<DWORD>(picture.width),
                                static_cast<DWORD>(picture.height), 0, 0, 0, static_cast<UINT>(picture.lines),
                                shown_.pixels.data(), &format, DIB_RGB_COLORS);
    } else {
        (void)SetStretchBltMode(dc, COLORONCOLOR);
        (void)StretchDIBits(dc, 0, 0, width, height, 0, 0, picture.width, picture.height,
                            shown_.pixels.data(), &format, DIB_RGB_COLORS, SRCCOPY);
    }
    (void)ReleaseDC(window_, dc);
}

} // namespace vistrame
