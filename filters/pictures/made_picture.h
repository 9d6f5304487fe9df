#pragma once

#include <vector>

#include "filters/pictures/picture.h"

namespace vistrame {

// AVPixelFormat of 8 bits with luma and chroma in the same places as in a planar YUV format of up to 12;
// AV_PIX_FMT_NONE for any other format.
int EightBitFormat(int format);

// A picture in memory of our own.
//
// Threads    one at a time.
// Ownership  the picture's planes last as long as this and until the next Place.
// Errors     std::bad_alloc.
class MadePicture {
public:
    // Room for a picture like this one in another format. False: there is no such format.
    bool Place(const Picture& like, int format);

    Picture& Get() { return picture_; }
    std::uint8_t* Line(std::size_t plane, int line) const {
        return const_cast<std::uint8_t*>(picture_.planes[plane]) + // of bytes_
               std::ptrdiff_t{line} * picture_.strides[plane];
    }

private:
    std::vector<std::uint8_t> bytes_;
    Picture picture_;
};

} // namespace vistrame
