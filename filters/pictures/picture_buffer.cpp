#include "filters/pictures/picture_buffer.h"

#include <utility>

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace vistrame {

namespace {

int RoundedUp(int value, int step) {
    return (value + step - 1) / step * step;
}

} // namespace

int PictureBuffer::Planes() const {
    switch (pixels.format) {
        case AV_PIX_FMT_NV12:
            return 2;
        case AV_PIX_FMT_YUV420P:
            return 3;
        default:
            return 1;
    }
}

int PictureBuffer::PlaneLines(int plane, int pictureLines) const {
    return plane == 0 ? pictureLines : RoundedUp(pictureLines, 2) / 2;
}

int PictureBuffer::LineBytes(int plane, int pixelsAcross) const {
    switch (pixels.format) {
        case AV_PIX_FMT_NV12:
            return plane == 0 ? pixelsAcross : RoundedUp(pixelsAcross, 2);
        case AV_PIX_FMT_YUV420P:
            return plane == 0 ? pixelsAcross : RoundedUp(pixelsAcross, 2) / 2;
        case AV_PIX_FMT_YUYV422:
            return RoundedUp(pixelsAcross, 2) * 2;
        default:
            return pixelsAcross * pixels.bits / 8;
    }
}

int PictureBuffer::LineStride(int plane) const {
    const int bytes = LineBytes(plane, stride);
    return Planes() == 1 ? RoundedUp(bytes, 4) : bytes;
}

long PictureBuffer::Bytes() const {
    long bytes = 0;
    for (int plane = 0; plane < Planes(); ++plane) {
        bytes += static_cast<long>(LineStride(plane)) * PlaneLines(plane, lines);
    }
    return bytes;
}

PicturePlanes PictureBuffer::PlanesIn(std::uint8_t* buffer, int x, int y) const {
    PicturePlanes planes;
    for (int plane = 0; plane < Planes(); ++plane) {
        const auto at = static_cast<std::size_t>(plane);
        const int own = PlaneLines(plane, lines);
        const int bytes = LineStride(plane);
        const int line = PlaneLines(plane, y);
        // What runs upwards has its first line at the end.
        planes.data[at] =
            buffer + std::ptrdiff_t{bytes} * (topDown ? line : own - 1 - line) + LineBytes(plane, x);
        planes.strides[at] = topDown ? bytes : -bytes;
        buffer += std::ptrdiff_t{bytes} * own;
    }
    if (pixels.swapsChroma) {
        std::swap(planes.data[1], planes.data[2]);
    }
    return planes;
}

} // namespace vistrame
