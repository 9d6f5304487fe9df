#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include <windows.h>

#include "filters/base/lock.h"
#include "filters/pictures/picture_types.h"
#include "filters/pictures/picture_writer.h"

namespace vistrame {

// Paints pictures over the whole of a window, which may be another thread's: scaled once, from the decoder's
// own layout to the window's size.
//
// Nobody asks for a picture again when the window has been erased, uncovered or given another size: that is
// the window's own thread's matter, which knows nothing of them. So whoever has no new picture for it
// repaints the last one from time to time.
//
// Units      pixels.
// Threads    any; Prepare and Show from one at a time.
// Ownership  borrows the window, which may be gone at any time, and the pixels for the call; keeps two
//            pictures of the window's size.
// Errors     what cannot be written is not painted.
class WindowPainter {
public:
    // What was painted in another window is not painted any more.
    void Begin(HWND window);
    // Makes a picture ready for the window as it is now. The pixels are a whole buffer as `type` lays it out.
    void Prepare(const PictureType& type, const std::uint8_t* pixels, long bytes);
    // Puts what is ready on the screen.
    void Show();
    // The last one again, when it was painted `age` ago or earlier.
    void Repaint(std::chrono::milliseconds age);

private:
    struct Ready {
        std::optional<PictureBuffer> picture; // how the pixels lie
        std::vector<std::uint8_t> pixels;
    };
    // Of the window's inside, empty when there is none.
    SIZE WindowSize();
    // Into a window of this size.
    void Paint(SIZE size);

    Lock lock_; // guards what follows
    HWND window_ = nullptr;
    Ready next_;
    Ready shown_;
    std::chrono::steady_clock::time_point painted_;
    SIZE size_{}; // of the window when it was asked last
    RECT clip_{}; // what of it could be painted then
    std::chrono::steady_clock::time_point asked_;
    PictureWriter writer_;
};

} // namespace vistrame
