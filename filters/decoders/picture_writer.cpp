#include "filters/decoders/picture_writer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

namespace vistrame {

namespace {

// The planes of a buffer as the scaler takes them.
struct Planes {
    std::uint8_t* data[4] = {};
    int strides[4] = {};
};

Planes PlanesOf(const PictureType& target, std::uint8_t* buffer) {
    Planes planes;
    const PixelLayout& layout = *target.layout;
    const std::ptrdiff_t pixels = std::ptrdiff_t{target.stride} * target.lines;
    planes.data[0] = buffer;
    switch (layout.format) {
        case AV_PIX_FMT_NV12:
            planes.strides[0] = planes.strides[1] = target.stride;
            planes.data[1] = buffer + pixels;
            break;
        case AV_PIX_FMT_YUV420P:
            planes.strides[0] = target.stride;
            planes.strides[1] = planes.strides[2] = target.stride / 2;
            planes.data[1] = buffer + pixels;
            planes.data[2] = buffer + pixels + pixels / 4;
            break;
        default: // one plane; RGB lines are padded to four bytes
            planes.strides[0] = (target.stride * layout.bits / 8 + 3) & ~3;
            break;
    }
    if (layout.swapsChroma) {
        std::swap(planes.data[1], planes.data[2]);
    }
    if (!target.topDown) {
        planes.data[0] += std::ptrdiff_t{planes.strides[0]} * (target.height - 1);
        planes.strides[0] = -planes.strides[0];
    }
    return planes;
}

// Moves the planes' origin to a pixel with even coordinates.
void MoveOrigin(const PixelLayout& layout, int x, int y, Planes* planes) {
    const int bytesPerPixel =
        layout.format == AV_PIX_FMT_NV12 || layout.format == AV_PIX_FMT_YUV420P ? 1 : layout.bits / 8;
    planes->data[0] += std::ptrdiff_t{planes->strides[0]} * y + std::ptrdiff_t{x} * bytesPerPixel;
    for (int i = 1; i < 3 && planes->data[i] != nullptr; ++i) {
        planes->data[i] +=
            std::ptrdiff_t{planes->strides[i]} * (y / 2) + (layout.format == AV_PIX_FMT_NV12 ? x : x / 2);
    }
}

// Which matrix the picture was made with; standard and high definition differ when it does not say.
int MatrixOf(const Picture& picture) {
    if (picture.colourSpace == AVCOL_SPC_UNSPECIFIED) {
        return picture.height >= 720 ? SWS_CS_ITU709 : SWS_CS_ITU601;
    }
    return picture.colourSpace; // swscale counts as the stream does
}

} // namespace

PictureWriter::PictureWriter() = default;

PictureWriter::~PictureWriter() {
    sws_freeContext(scaler_);
}

bool PictureWriter::FillBlack(const PictureType& target, std::uint8_t* buffer, long bytes) {
    const auto used = static_cast<std::size_t>(target.Bytes());
    const auto pixels = static_cast<std::size_t>(target.stride) * target.lines;
    if (bytes < target.Bytes()) {
        return false;
    }
    switch (target.layout->format) {
        case AV_PIX_FMT_NV12:
        case AV_PIX_FMT_YUV420P:
            std::memset(buffer, 16, pixels);
            std::memset(buffer + pixels, 128, used - pixels);
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

PictureWriter::Area PictureWriter::FitInto(const PictureType& target, Aspect aspect) {
    // How much of the target's width the picture takes when it has all its height: above 1 it is the wider one.
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
    scaler_ = sws_getContext(job.width, job.height, static_cast<AVPixelFormat>(job.format), job.targetWidth,
                             job.targetHeight, static_cast<AVPixelFormat>(job.targetFormat), SWS_BILINEAR,
                             nullptr, nullptr, nullptr);
    if (scaler_ == nullptr) {
        return false;
    }
    prepared_ = job;
    const bool rgb = job.targetFormat == AV_PIX_FMT_BGR0 || job.targetFormat == AV_PIX_FMT_BGR24;
    const int* matrix = sws_getCoefficients(job.matrix);
    // Refused where nothing needs converting, which is as well.
    (void)sws_setColorspaceDetails(scaler_, matrix, job.fullRange, matrix, rgb ? 1 : 0, 0, 1 << 16, 1 << 16);
    return true;
}

bool PictureWriter::Write(const Picture& picture, const PictureType& target, Fit fit, std::uint8_t* buffer,
                          long bytes) {
    if (bytes < target.Bytes()) {
        return false;
    }
    Area area{0, 0, target.width, target.height};
    if (fit == Fit::kLetterbox && picture.aspect != target.aspect) {
        area = FitInto(target, picture.aspect);
    }
    if (!Prepare({picture.width, picture.height, picture.format, MatrixOf(picture), picture.fullRange ? 1 : 0,
                  area.width, area.height, target.layout->format})) {
        return false;
    }
    Planes planes = PlanesOf(target, buffer);
    if (area.width != target.width || area.height != target.height) {
        (void)FillBlack(target, buffer, bytes); // it fits, see above
        MoveOrigin(*target.layout, area.x, area.y, &planes);
    }
    return sws_scale(scaler_, picture.planes.data(), picture.strides.data(), 0, picture.height, planes.data,
                     planes.strides) > 0;
}

} // namespace vistrame
