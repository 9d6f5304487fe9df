#pragma once

#include <optional>
#include <vector>

#include <windows.h>

#include "filters/pictures/picture_types.h"
#include "filters/pictures/picture_writer.h"

namespace vistrame {

// Paints pictures over the whole of a window, which may be another thread's: scaled once, from the decoder's
// own layout to the window's size.
//
// Units      pixels.
// Threads    one at a time.
// Ownership  borrows the window, which may be gone at any time, and the pixels for the call; keeps one
//            picture of the window's size.
// Errors     what cannot be written is not painted.
class WindowPainter {
public:
    // Makes a picture ready for the window as it is now. The pixels are a whole buffer as `type` lays it out.
    void Prepare(HWND window, const PictureType& type, const std::uint8_t* pixels, long bytes);
    // Puts what is ready on the screen.
    void Show();

private:
    HWND window_ = nullptr;
    std::optional<PictureBuffer> ready_; // how `pixels_` lie
    std::vector<std::uint8_t> pixels_;
    PictureWriter writer_;
};

} // namespace vistrame
