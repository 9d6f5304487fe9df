#include "filters/decoders/stored_picture.h"

#include <algorithm>
#include <iterator>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace vistrame {

void StoredPicture::Store(const Picture& picture) {
    constexpr int kAlignment = 32; // of lines, for the scaler's and the deinterlacer's vectors
    constexpr int kReadAhead = 64; // what they read at once may end behind the last line
    const auto format = static_cast<AVPixelFormat>(picture.format);
    picture_.reset();
    const int bytes = av_image_get_buffer_size(format, picture.width, picture.height, kAlignment);
    if (bytes <= 0) {
        return;
    }
    bytes_.resize(static_cast<std::size_t>(bytes) + kReadAhead);
    if (av_image_copy_to_buffer(bytes_.data(), bytes, picture.planes.data(), picture.strides.data(), format,
                                picture.width, picture.height, kAlignment) < 0) {
        return;
    }
    std::uint8_t* planes[4]{};
    Picture stored = picture;
    stored.counted = nullptr;
    (void)av_image_fill_arrays(planes, stored.strides.data(), bytes_.data(), format, picture.width,
                               picture.height, kAlignment); // the same as a moment ago
    std::copy(std::begin(planes), std::end(planes), stored.planes.begin());
    picture_ = stored;
}

} // namespace vistrame
