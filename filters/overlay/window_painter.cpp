#include "filters/overlay/window_painter.h"

#include <algorithm>

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

void WindowPainter::Prepare(HWND window, const PictureType& type, const std::uint8_t* pixels, long bytes) {
    window_ = window;
    ready_.reset();
    RECT client{};
    if (bytes < type.Bytes() || GetClientRect(window, &client) == FALSE || client.right <= 0 ||
        client.bottom <= 0) {
        return;
    }
    PictureBuffer target;
    target.pixels = kWindowPixels;
    target.width = target.stride = client.right;
    target.height = target.lines = client.bottom;
    target.aspect = type.aspect;
    pixels_.resize(static_cast<std::size_t>(target.Bytes()));
    if (writer_.Write(PictureIn(type, pixels), target, PictureWriter::Fit::kFill, pixels_.data(),
                      target.Bytes())) {
        ready_ = target;
    }
}

void WindowPainter::Show() {
    auto* const dc = ready_ ? GetDC(window_) : nullptr;
    if (dc == nullptr) {
        return;
    }
    BITMAPINFO format{};
    format.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    format.bmiHeader.biWidth = ready_->stride;
    format.bmiHeader.biHeight = -ready_->lines; // from the top line on
    format.bmiHeader.biPlanes = 1;
    format.bmiHeader.biBitCount = static_cast<WORD>(ready_->pixels.bits);
    format.bmiHeader.biCompression = BI_RGB;
    (void)SetDIBitsToDevice(dc, 0, 0, static_cast<DWORD>(ready_->width), static_cast<DWORD>(ready_->height),
                            0, 0, 0, static_cast<UINT>(ready_->lines), pixels_.data(), &format,
                            DIB_RGB_COLORS);
    (void)ReleaseDC(window_, dc);
}

} // namespace vistrame
