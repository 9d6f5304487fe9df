#include "filters/pictures/picture_writer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace vistrame {

namespace {

// The scaler's inner loops write this many bytes at once and end with a whole step; where the lines leave no
// room for that, some end a step early instead, with columns left out.
constexpr int kScalerStep = 64;

void CopyLines(const std::uint8_t* from, int fromStride, std::uint8_t* to, int toStride, int bytes,
               int lines) {
    for (int line = 0; line < lines; ++line, from += fromStride, to += toStride) {
        std::memcpy(to, from, static_cast<std::size_t>(bytes));
    }
}

// Where chroma lies between the pixels of luma, in the scaler's 256ths of one.
struct ChromaPlace {
    int x, y;
};
ChromaPlace ChromaPlaceOf(int location) {
    const bool centre = location == AVCHROMA_LOC_CENTER || location == AVCHROMA_LOC_TOP;
    const bool top = location == AVCHROMA_LOC_TOPLEFT || location == AVCHROMA_LOC_TOP;
    return {centre ? 128 : 0, top ? 0 : 128};
}

} // namespace

PictureWriter::PictureWriter() = default;

PictureWriter::~PictureWriter() {
    sws_freeContext(scaler_);
    sws_freeContext(ditherer_);
}

int PictureWriter::UsualMatrix(int width, int height) {
    return width >= 1280 || height > 576 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
}

bool PictureWriter::FillBlack(const PictureBuffer& target, std::uint8_t* buffer, long bytes) {
    const auto used = static_cast<std::size_t>(target.Bytes());
    const auto luma = static_cast<std::size_t>(target.LineStride(0)) * target.lines;
    if (bytes < target.Bytes()) {
        return false;
    }
    switch (target.pixels.format) {
        case AV_PIX_FMT_NV12:
        case AV_PIX_FMT_YUV420P:
            std::memset(buffer, 16, luma);
            std::memset(buffer + luma, 128, used - luma);
            break;
        case AV_PIX_FMT_YUYV422:
            for (std::size_t i = 0; i + 1 < used; i += 2) {
                buffer[i] = 16;
                buffer[i + 1] = 128;
            }
            break;
        default:
            std::memset(buffer, 0, used);
            break;
    }
    return true;
}

PictureWriter::Area PictureWriter::FitInto(const PictureBuffer& target, Aspect aspect) {
    // How much of the target's width the picture takes when it has all its height: above 1 it is the wider
    // one.
    const double wide =
        static_cast<double>(aspect.x) * target.aspect.y / (static_cast<double>(aspect.y) * target.aspect.x);
    Area area{0, 0, target.width, target.height};
    if (std::abs(wide - 1.0) < 0.03) {
        return area; // 16:9 is written in more than one way
    }
    if (wide > 1.0) {
        area.height = std::max(2, static_cast<int>(target.height / wide) & ~1);
    } else {
        area.width = std::max(2, static_cast<int>(target.width * wide) & ~1);
    }
    area.x = (target.width - area.width) / 2 & ~1;
    area.y = (target.height - area.height) / 2 & ~1;
    return area;
}

bool PictureWriter::Prepare(const Job& job) {
    if (scaler_ != nullptr && job == prepared_) {
        return true;
    }
    sws_freeContext(scaler_);
    scaler_ = sws_alloc_context();
    if (scaler_ == nullptr) {
        return false;
    }
    const ChromaPlace chroma = ChromaPlaceOf(job.chromaPlace);
    const std::pair<const char*, int> options[] = {
        {"srcw", job.width},          {"srch", job.height},        {"src_format", job.format},
        {"dstw", job.targetWidth},    {"dsth", job.targetHeight},  {"dst_format", job.targetFormat},
        {"src_range", job.fullRange}, {"src_h_chr_pos", chroma.x}, {"src_v_chr_pos", chroma.y},
        {"dst_h_chr_pos", 0},         {"sws_flags", SWS_BILINEAR}};
    for (const auto& [name, value] : options) {
        (void)av_opt_set_int(scaler_, name, value, 0); // a wrong one is refused below
    }
    const bool rgb = job.targetFormat == AV_PIX_FMT_BGR0 || job.targetFormat == AV_PIX_FMT_BGR24;
    const int* from = sws_getCoefficients(job.matrix); // counted as the stream does
    const int* to = rgb ? from : sws_getCoefficients(job.targetMatrix);
    if (sws_init_context(scaler_, nullptr, nullptr) < 0) {
        sws_freeContext(scaler_);
        scaler_ = nullptr;
        return false;
    }
    prepared_ = job;
    // Refused where nothing needs converting, which is as well.
    (void)sws_setColorspaceDetails(scaler_, from, job.fullRange, to, rgb ? 1 : 0, 0, 1 << 16, 1 << 16);
    return true;
}

// On its way to planes the scaler dithers; to pixels of RGB or of pairs it cuts the last bits off.
const Picture& PictureWriter::Dithered(const Picture& picture, const PictureBuffer& target) {
    const AVPixFmtDescriptor* const deep = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
    if (deep == nullptr || deep->comp[0].depth <= 8 || target.Planes() > 1 ||
        !dithered_.Place(picture, EightBitFormat(picture.format))) {
        return picture;
    }
    Picture& made = dithered_.Get();
    ditherer_ = sws_getCachedContext(
        ditherer_, picture.width, picture.height, static_cast<AVPixelFormat>(picture.format), picture.width,
        picture.height, static_cast<AVPixelFormat>(made.format), SWS_BILINEAR, nullptr, nullptr, nullptr);
    if (ditherer_ == nullptr) {
        return picture;
    }
    const int range = picture.colours.fullRange ? 1 : 0;
    const int* const same = sws_getCoefficients(SWS_CS_DEFAULT);
    // It stores the ranges and refuses the rest, as nothing needs converting.
    (void)sws_setColorspaceDetails(ditherer_, same, range, same, range, 0, 1 << 16, 1 << 16);
    const PicturePlanes planes{{dithered_.Line(0, 0), dithered_.Line(1, 0), dithered_.Line(2, 0)},
                               made.strides};
    return sws_scale(ditherer_, picture.planes.data(), picture.strides.data(), 0, picture.height,
                     planes.data.data(), planes.strides.data()) > 0
               ? made
               : picture;
}

bool PictureWriter::Write(const Picture& picture, const PictureBuffer& target, Fit fit, std::uint8_t* buffer,
                          long bytes) {
    if (bytes < target.Bytes()) {
        return false;
    }
    const Picture& from = Dithered(picture, target);
    Area area{0, 0, target.width, target.height};
    if (fit == Fit::kLetterbox && picture.aspect != target.aspect) {
        area = FitInto(target, picture.aspect);
    }
    const auto matrix = [](const Colours& colours, int width, int height) {
        return colours.matrix != AVCOL_SPC_UNSPECIFIED ? colours.matrix : UsualMatrix(width, height);
    };
    if (!Prepare({picture.width, picture.height, from.format,
                  matrix(picture.colours, picture.width, picture.height), picture.colours.fullRange ? 1 : 0,
                  picture.chromaPlace, area.width, area.height, target.pixels.format,
                  matrix(target.colours, target.width, target.height)})) {
        return false;
    }
    if (area.width != target.width || area.height != target.height) {
        (void)FillBlack(target, buffer, bytes); // it fits, see above
    }
    return WriteArea(from, target, area, target.PlanesIn(buffer, area.x, area.y));
}

bool PictureWriter::FitsScalerSteps(const PictureBuffer& target, int width) {
    for (int plane = 0; plane < target.Planes(); ++plane) {
        if (target.LineBytes(plane, width) % kScalerStep != 0) {
            return false;
        }
    }
    return true;
}

// Straight into the buffer where the scaler's steps end with the picture's lines, which they do for what
// broadcasts are made in; else by way of a buffer with room behind its lines and below them.
bool PictureWriter::WriteArea(const Picture& picture, const PictureBuffer& target, const Area& area,
                              const PicturePlanes& planes) {
    const auto scale = [&](const PicturePlanes& into) {
        return sws_scale(scaler_, picture.planes.data(), picture.strides.data(), 0, picture.height,
                         into.data.data(), into.strides.data()) > 0;
    };
    if (FitsScalerSteps(target, area.width)) {
        return scale(planes);
    }
    PictureBuffer room;
    room.pixels = target.pixels;
    room.stride = (area.width / kScalerStep + 2) * kScalerStep;
    room.lines = area.height + 2;
    roomy_.resize(static_cast<std::size_t>(room.Bytes()));
    const PicturePlanes between = room.PlanesIn(roomy_.data());
    if (!scale(between)) {
        return false;
    }
    for (int plane = 0; plane < target.Planes(); ++plane) {
        const auto at = static_cast<std::size_t>(plane);
        CopyLines(between.data[at], between.strides[at], planes.data[at], planes.strides[at],
                  target.LineBytes(plane, area.width), target.PlaneLines(plane, area.height));
    }
    return true;
}

} // namespace vistrame
