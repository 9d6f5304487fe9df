#include "tests/end_to_end/screen_picture.h"

#include <algorithm>
#include <cstdlib>

namespace vistrame::test {
namespace {

Rgb Components(std::uint32_t pixel) {
    return {static_cast<int>(pixel >> 16 & 0xFF), static_cast<int>(pixel >> 8 & 0xFF),
            static_cast<int>(pixel & 0xFF)};
}

int Distance(Rgb one, Rgb other) {
    return std::max(
        {std::abs(one.red - other.red), std::abs(one.green - other.green), std::abs(one.blue - other.blue)});
}

} // namespace

ScreenPicture::ScreenPicture(HWND window) {
    RECT client{};
    POINT corner{};
    if (window == nullptr || !GetClientRect(window, &client) || !ClientToScreen(window, &corner)) {
        return;
    }
    width_ = client.right;
    height_ = client.bottom;
    BITMAPINFO info{};
    info.bmiHeader = {sizeof info.bmiHeader, width_, -height_, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    HBITMAP bitmap = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    HGDIOBJ old = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, width_, height_, screen, corner.x, corner.y, SRCCOPY);
    GdiFlush();
    const auto* first = static_cast<const std::uint32_t*>(bits);
    pixels_.assign(first, first + std::ptrdiff_t{width_} * height_);
    SelectObject(memory, old);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
}

template <typename Visit>
void ScreenPicture::ForEach(Part part, Visit visit) const {
    for (int y = height_ * part.top / 1000; y < height_ * part.bottom / 1000; ++y) {
        for (int x = width_ * part.left / 1000; x < width_ * part.right / 1000; ++x) {
            visit(Components(pixels_[static_cast<std::size_t>(y * width_ + x)]));
        }
    }
}

Rgb ScreenPicture::Mean(Part part) const {
    Rgb sum;
    int count = 0;
    ForEach(part, [&](Rgb pixel) {
        sum = {sum.red + pixel.red, sum.green + pixel.green, sum.blue + pixel.blue};
        ++count;
    });
    count = std::max(count, 1);
    return {sum.red / count, sum.green / count, sum.blue / count};
}

double ScreenPicture::Share(Part part, Rgb colour, int tolerance) const {
    int alike = 0;
    int count = 0;
    ForEach(part, [&](Rgb pixel) {
        alike += Distance(pixel, colour) <= tolerance ? 1 : 0;
        ++count;
    });
    return static_cast<double>(alike) / std::max(count, 1);
}

double ScreenPicture::Difference(const ScreenPicture& other) const {
    if (pixels_.empty() || pixels_.size() != other.pixels_.size()) {
        return 1;
    }
    int differing = 0;
    for (std::size_t i = 0; i < pixels_.size(); ++i) {
        differing += Distance(Components(pixels_[i]), Components(other.pixels_[i])) > 24 ? 1 : 0;
    }
    return static_cast<double>(differing) / static_cast<double>(pixels_.size());
}

} // namespace vistrame::test
