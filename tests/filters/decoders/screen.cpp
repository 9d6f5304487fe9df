#include "tests/filters/decoders/screen.h"

#include "tests/filters/decoders/picture_sink.h"

namespace vistrame::test {

namespace {

// What is on the screen at a share of the window's width and height.
Rgb OnScreen(IVideoWindow* window, double across, double down) {
    long x = 0, y = 0, width = 0, height = 0;
    EXPECT_HRESULT_SUCCEEDED(window->GetWindowPosition(&x, &y, &width, &height));
    HDC screen = GetDC(nullptr);
    const COLORREF pixel =
        GetPixel(screen, x + static_cast<int>(width * across), y + static_cast<int>(height * down));
    ReleaseDC(nullptr, screen);
    return {GetRValue(pixel), GetGValue(pixel), GetBValue(pixel)};
}

bool BarOnScreen(IVideoWindow* window, double down) {
    for (int step = 0; step < 50; ++step) { // the bar is two steps wide
        if (IsNear(OnScreen(window, step / 50.0, down), {255, 255, 255}, 40)) {
            return true;
        }
    }
    return false;
}

} // namespace

void ExpectPictureOnScreen(IVideoWindow* window) {
    for (int i = 0; i < 3; ++i) {
        const Rgb column = OnScreen(window, (2 * i + 1) / 6.0, 0.5);
        EXPECT_TRUE(IsNear(column, kColumns[static_cast<std::size_t>(i)]))
            << "column " << i << ": " << column.r << " " << column.g << " " << column.b;
    }
    EXPECT_TRUE(BarOnScreen(window, 0.95));
    EXPECT_FALSE(BarOnScreen(window, 0.25)) << "upside down";
}

} // namespace vistrame::test
