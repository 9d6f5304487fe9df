#pragma once

#include <optional>
#include <span>

#include <windows.h>
#include <dshow.h>
#include <dvdmedia.h>

#include "filters/base/media_type.h"
#include "filters/pictures/picture_buffer.h"

namespace vistrame {

// A way to lay out pixels in a sample that renderers take.
struct SampleLayout {
    const GUID* subtype;
    DWORD compression; // of the bitmap header: FourCC, or BI_RGB
    PixelLayout pixels;
};

// Best first: what every renderer shows whole, then what costs least from decoder to screen.
std::span<const SampleLayout> PixelLayouts();
const SampleLayout* FindPixelLayout(const GUID& subtype,
                                    std::span<const SampleLayout> layouts = PixelLayouts());

// What a media type of uncompressed video says.
struct PictureType : PictureBuffer {
    const SampleLayout* layout = nullptr;
};

// Either header (VIDEOINFOHEADER, VIDEOINFOHEADER2); nullopt for what is not one of the layouts.
std::optional<PictureType> ReadPictureType(const MediaType& type,
                                           std::span<const SampleLayout> layouts = PixelLayouts());

// Units: pixels; duration 100 ns. `formatType` is FORMAT_VideoInfo or FORMAT_VideoInfo2; only the second
// holds the aspect and, where the layout is YUV and they are specified, the colours.
MediaType MakePictureType(const SampleLayout& layout, int width, int height, Aspect aspect,
                          std::int64_t duration, const GUID& formatType, Colours colours = {});

} // namespace vistrame
