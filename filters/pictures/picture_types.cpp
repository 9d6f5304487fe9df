#include "filters/pictures/picture_types.h"

#include <algorithm>
#include <cstdlib>

#include "filters/base/reference_time.h"
#include "filters/base/subtypes.h"
#include "filters/base/wine.h"

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace vistrame {

namespace {

const SampleLayout kRgb32{&MEDIASUBTYPE_RGB32, BI_RGB, {AV_PIX_FMT_BGR0, 32, true, false}};
const SampleLayout kNv12{&MEDIASUBTYPE_NV12, FourCc("NV12"), {AV_PIX_FMT_NV12, 12, false, false}};
const SampleLayout kYv12{&MEDIASUBTYPE_YV12, FourCc("YV12"), {AV_PIX_FMT_YUV420P, 12, false, true}};
const SampleLayout kYuy2{&MEDIASUBTYPE_YUY2, FourCc("YUY2"), {AV_PIX_FMT_YUYV422, 16, false, false}};
const SampleLayout kRgb24{&MEDIASUBTYPE_RGB24, BI_RGB, {AV_PIX_FMT_BGR24, 24, true, false}};

// A quarter to a half of RGB32's bytes, no conversion of colours by us: the renderer's hardware does that.
const SampleLayout kOnWindows[] = {kNv12, kYv12, kYuy2, kRgb32, kRgb24};
// Wine's VMR9 accepts the YUV layouts, but converts them through a viewport of the window's size instead of
// its own surface's, so that a window smaller than the surface shows a corner of the picture.
const SampleLayout kOnWine[] = {kRgb32, kYv12, kNv12, kYuy2, kRgb24};

DWORD BufferBytes(const SampleLayout& layout, int width, int height) {
    PictureBuffer buffer;
    buffer.pixels = layout.pixels;
    buffer.stride = width;
    buffer.lines = height;
    return static_cast<DWORD>(buffer.Bytes());
}

// The colours' place in a header's control flags: bit numbers and values of DXVA_ExtendedFormat.
constexpr int kRangeBit = 12;
constexpr int kMatrixBit = 15;
constexpr int kPrimariesBit = 22;
constexpr DWORD kThreeBits = 7;
constexpr DWORD kFiveBits = 31;
constexpr DWORD kFullRange = 1; // 0 to 255
constexpr DWORD kVideoRange = 2;
struct ValueRow {
    DWORD value;
    int code; // the stream's; the first of a value is what is read from it
};
constexpr ValueRow kMatrices[] = {
    {1, AVCOL_SPC_BT709},     {2, AVCOL_SPC_SMPTE170M},  {2, AVCOL_SPC_BT470BG},  {2, AVCOL_SPC_FCC},
    {3, AVCOL_SPC_SMPTE240M}, {4, AVCOL_SPC_BT2020_NCL}, {4, AVCOL_SPC_BT2020_CL}};
constexpr ValueRow kPrimaries[] = {
    {2, AVCOL_PRI_BT709}, {4, AVCOL_PRI_BT470BG}, {5, AVCOL_PRI_SMPTE170M}, {6, AVCOL_PRI_SMPTE240M}};

DWORD ValueOf(std::span<const ValueRow> rows, int code) {
    const auto row = std::ranges::find(rows, code, &ValueRow::code);
    return row != rows.end() ? row->value : 0;
}

int CodeOf(std::span<const ValueRow> rows, DWORD value, int unspecified) {
    const auto row = std::ranges::find(rows, value, &ValueRow::value);
    return row != rows.end() ? row->code : unspecified;
}

DWORD ControlFlagsOf(const Colours& colours) {
    const DWORD matrix = ValueOf(kMatrices, colours.matrix);
    const DWORD primaries = ValueOf(kPrimaries, colours.primaries);
    return matrix == 0 && primaries == 0 && !colours.fullRange
               ? 0
               : AMCONTROL_USED | AMCONTROL_COLORINFO_PRESENT | matrix << kMatrixBit |
                     primaries << kPrimariesBit | (colours.fullRange ? kFullRange : kVideoRange) << kRangeBit;
}

Colours ColoursIn(DWORD controlFlags) {
    Colours colours;
    if ((controlFlags & AMCONTROL_USED) != 0 && (controlFlags & AMCONTROL_COLORINFO_PRESENT) != 0) {
        colours.matrix = CodeOf(kMatrices, controlFlags >> kMatrixBit & kThreeBits, colours.matrix);
        colours.primaries = CodeOf(kPrimaries, controlFlags >> kPrimariesBit & kFiveBits, colours.primaries);
        colours.fullRange = (controlFlags >> kRangeBit & kThreeBits) == kFullRange;
    }
    return colours;
}

template <class Header>
Header FilledHeader(const SampleLayout& layout, int width, int height, std::int64_t duration) {
    Header header{};
    header.rcSource = header.rcTarget = {0, 0, width, height};
    header.AvgTimePerFrame = duration;
    header.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    header.bmiHeader.biWidth = width;
    header.bmiHeader.biHeight = height;
    header.bmiHeader.biPlanes = 1;
    header.bmiHeader.biBitCount = static_cast<WORD>(layout.pixels.bits);
    header.bmiHeader.biCompression = layout.compression;
    header.bmiHeader.biSizeImage = BufferBytes(layout, width, height);
    if (duration > 0) {
        header.dwBitRate = static_cast<DWORD>(std::min<std::int64_t>(
            std::int64_t{header.bmiHeader.biSizeImage} * 8 * kUnitsPerSecond / duration, MAXDWORD));
    }
    return header;
}

template <class Header>
void ReadHeader(const Header& header, PictureType* type) {
    type->stride = header.bmiHeader.biWidth;
    type->lines = std::abs(header.bmiHeader.biHeight);
    const RECT& target = header.rcTarget;
    const bool rectangle = target.left == 0 && target.top == 0 && target.right > 0 && target.bottom > 0;
    type->width = rectangle ? std::min<int>(target.right, type->stride) : type->stride;
    type->height = rectangle ? std::min<int>(target.bottom, type->lines) : type->lines;
    type->topDown = !type->pixels.bottomUp || header.bmiHeader.biHeight < 0;
    type->aspect = Aspect::Reduced(type->width, type->height);
}

} // namespace

std::span<const SampleLayout> PixelLayouts() {
    static const bool wine = IsWine();
    return wine ? std::span(kOnWine) : std::span(kOnWindows);
}

const SampleLayout* FindPixelLayout(const GUID& subtype, std::span<const SampleLayout> layouts) {
    const auto found =
        std::ranges::find_if(layouts, [&](const SampleLayout& row) { return *row.subtype == subtype; });
    return found != layouts.end() ? &*found : nullptr;
}

std::optional<PictureType> ReadPictureType(const MediaType& type, std::span<const SampleLayout> layouts) {
    PictureType read;
    read.layout = FindPixelLayout(type->subtype, layouts);
    if (type->majortype != MEDIATYPE_Video || read.layout == nullptr) {
        return std::nullopt;
    }
    read.pixels = read.layout->pixels;
    if (const auto* first = type.FormatAs<VIDEOINFOHEADER>(FORMAT_VideoInfo)) {
        ReadHeader(*first, &read);
    } else if (const auto* second = type.FormatAs<VIDEOINFOHEADER2>(FORMAT_VideoInfo2)) {
        ReadHeader(*second, &read);
        if (second->dwPictAspectRatioX != 0 && second->dwPictAspectRatioY != 0) {
            read.aspect = Aspect::Reduced(second->dwPictAspectRatioX, second->dwPictAspectRatioY);
        }
        read.colours = ColoursIn(second->dwControlFlags);
    }
    constexpr int kLargest = 16384; // far above any level; keeps sizes in bytes within a long
    const bool sensible =
        read.width > 0 && read.height > 0 && read.stride <= kLargest && read.lines <= kLargest;
    return sensible ? std::optional(read) : std::nullopt;
}

MediaType MakePictureType(const SampleLayout& layout, int width, int height, Aspect aspect,
                          std::int64_t duration, const GUID& formatType, Colours colours) {
    MediaType type(MEDIATYPE_Video, *layout.subtype);
    type.Fields().bFixedSizeSamples = TRUE;
    type.Fields().bTemporalCompression = FALSE;
    type.Fields().lSampleSize = BufferBytes(layout, width, height);
    if (formatType == FORMAT_VideoInfo2) {
        auto header = FilledHeader<VIDEOINFOHEADER2>(layout, width, height, duration);
        header.dwPictAspectRatioX = static_cast<DWORD>(aspect.x);
        header.dwPictAspectRatioY = static_cast<DWORD>(aspect.y);
        header.dwControlFlags = layout.compression != BI_RGB ? ControlFlagsOf(colours) : 0;
        type.SetFormat(formatType, header);
    } else {
        type.SetFormat(formatType, FilledHeader<VIDEOINFOHEADER>(layout, width, height, duration));
    }
    return type;
}

} // namespace vistrame
