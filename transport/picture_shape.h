#pragma once

#include <optional>

#include "transport/coding.h"

namespace vistrame {

// The size of a video's pictures and the shape they are shown in.
//
// Units      pixels; the aspect is width by height of the whole picture as shown.
struct PictureShape {
    unsigned width = 0;
    unsigned height = 0;
    double aspect = 0;

    bool operator==(const PictureShape&) const = default;
};

// From the first sequence header (MPEG-1 and MPEG-2), or sequence parameter set (H.264 and HEVC), that
// `stream` holds whole. Nothing when there is none, or what it says makes no sense.
std::optional<PictureShape> FindPictureShape(Coding coding, ByteSpan stream);

} // namespace vistrame
