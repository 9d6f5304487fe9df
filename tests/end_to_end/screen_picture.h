#pragma once

#include <cstdint>
#include <vector>

#include <windows.h>

namespace vistrame::test {

struct Rgb {
    int red = 0;
    int green = 0;
    int blue = 0;
};

// What the screen shows where a window is.
//
// Units      pixels of the window's client area.
// Errors     no window, or one without an area, is an empty picture.
class ScreenPicture {
public:
    explicit ScreenPicture(HWND window);

    int Width() const { return width_; }
    int Height() const { return height_; }

    // A part of the picture, in thousandths of its width and height.
    struct Part {
        int left, top, right, bottom;
    };
    Rgb Mean(Part part) const;
    // Share of the part's pixels within `tolerance` of the colour in each component.
    double Share(Part part, Rgb colour, int tolerance) const;
    // Share of the pixels that differ clearly; 1 for pictures of different sizes.
    double Difference(const ScreenPicture& other) const;

private:
    template <typename Visit>
    void ForEach(Part part, Visit visit) const;

    int width_ = 0;
    int height_ = 0;
    std::vector<std::uint32_t> pixels_;
};

} // namespace vistrame::test
