#include "filters/pictures/made_picture.h"

#include <algorithm>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

namespace vistrame {

int EightBitFormat(int format) {
    constexpr std::uint64_t kOthers =
        AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_BE | AV_PIX_FMT_FLAG_ALPHA | AV_PIX_FMT_FLAG_FLOAT;
    const AVPixFmtDescriptor* const described = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    if (described == nullptr || described->nb_components != 3 || (described->flags & kOthers) != 0 ||
        (described->flags & AV_PIX_FMT_FLAG_PLANAR) == 0 || described->comp[2].plane != 2 ||
        described->comp[0].depth > 12) {
        return AV_PIX_FMT_NONE;
    }
    if (described->log2_chroma_h == 1) {
        return described->log2_chroma_w == 1 ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_NONE;
    }
    return described->log2_chroma_w == 1   ? AV_PIX_FMT_YUV422P
           : described->log2_chroma_w == 0 ? AV_PIX_FMT_YUV444P
                                           : AV_PIX_FMT_NONE;
}

bool MadePicture::Place(const Picture& like, int format) {
    constexpr int kAlignment = 64;
    const auto pixels = static_cast<AVPixelFormat>(format);
    const int bytes = av_image_get_buffer_size(pixels, like.width, like.height, kAlignment);
    if (pixels == AV_PIX_FMT_NONE || bytes <= 0) {
        return false;
    }
    bytes_.resize(static_cast<std::size_t>(bytes) + kAlignment); // the scaler reads on a little
    picture_ = like;
    picture_.counted = nullptr;
    picture_.format = format;
    std::uint8_t* planes[4]{};
    (void)av_image_fill_arrays(planes, picture_.strides.data(), bytes_.data(), pixels, like.width,
                               like.height,
                               kAlignment); // as its size was found a moment ago
    std::ranges::copy(planes, picture_.planes.begin());
    return true;
}

} // namespace vistrame
