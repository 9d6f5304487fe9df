#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "filters/pictures/picture.h"

namespace vistrame {

// How the pixels of a picture lie in memory.
struct PixelLayout {
    int format;       // AVPixelFormat
    int bits;         // per pixel on average
    bool bottomUp;    // unless stated otherwise
    bool swapsChroma; // V before U
};

// Where the planes of a picture begin, as FFmpeg's scaler takes them. Unused ones are null.
struct PicturePlanes {
    std::array<std::uint8_t*, 4> data{};
    std::array<int, 4> strides{}; // bytes; negative where the lines run upwards
};

// A picture's place in a buffer of a renderer's, and what it looks like there.
//
// Units      pixels, where nothing else is said. Lines of RGB are padded to four bytes; planes and pairs of
//            pixels that share their chroma are rounded up to whole ones.
struct PictureBuffer {
    PixelLayout pixels{};
    int stride = 0; // from line to line: the renderer may ask for more than the width
    int lines = 0;  // of the whole buffer
    int width = 0;  // of the picture in it, which begins at the upper left corner
    int height = 0;
    bool topDown = true;
    Aspect aspect;
    Colours colours; // of YUV; unspecified: what is usual for the size

    int Planes() const;
    int PlaneLines(int plane, int pictureLines) const;
    // Bytes of one line's first `pixelsAcross` pixels, padding not counted.
    int LineBytes(int plane, int pixelsAcross) const;
    // Bytes from line to line.
    int LineStride(int plane) const;
    long Bytes() const;

    // The planes of a picture whose upper left corner lies at x, y (even numbers) in the `buffer` of Bytes().
    PicturePlanes PlanesIn(std::uint8_t* buffer, int x = 0, int y = 0) const;
};

} // namespace vistrame
