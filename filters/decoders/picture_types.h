#pragma once

#include <optional>
#include <span>

#include <windows.h>
#include <dshow.h>
#include <dvdmedia.h>

#include "filters/base/media_type.h"
#include "filters/decoders/picture.h"

namespace vistrame {

// A way to lay out pixels in a sample that renderers take.
struct PixelLayout {
    const GUID* subtype;
    DWORD compression; // of the bitmap header: FourCC, or BI_RGB
    WORD bits;         // per pixel on average
    int format;        // AVPixelFormat
    bool bottomUp;     // with a positive height in the bitmap header
    bool swapsChroma;  // V before U
};

// Best first: what every renderer shows whole, then what costs least from decoder to screen.
std::span<const PixelLayout> PixelLayouts();
const PixelLayout* FindPixelLayout(const GUID& subtype,
                                   std::span<const PixelLayout> layouts = PixelLayouts());

// What a media type of uncompressed video says.
struct PictureType {
    const PixelLayout* layout = nullptr;
    int stride = 0; // pixels from line to line: the renderer may ask for more than the width
    int lines = 0;  // of the whole buffer
    int width = 0;  // of the picture in it, which begins at the buffer's corner
    int height = 0;
    bool topDown = true;
    Aspect aspect;

    long Bytes() const;
};

// Either header (VIDEOINFOHEADER, VIDEOINFOHEADER2); nullopt for what is not one of the layouts.
std::optional<PictureType> ReadPictureType(const MediaType& type,
                                           std::span<const PixelLayout> layouts = PixelLayouts());

// Units: pixels; duration 100 ns. `formatType` is FORMAT_VideoInfo or FORMAT_VideoInfo2; only the second holds the
// aspect.
MediaType MakePictureType(const PixelLayout& layout, int width, int height, Aspect aspect,
                          std::int64_t duration, const GUID& formatType);

} // namespace vistrame
