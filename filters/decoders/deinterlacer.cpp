#include "filters/decoders/deinterlacer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <emmintrin.h>

#include "filters/decoders/av_handles.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace vistrame {

namespace {

// The five lines that one interpolated line depends on, and where it goes.
struct Lines {
    const std::uint8_t* above;
    const std::uint8_t* own;
    const std::uint8_t* below;
    const std::uint8_t* previousAbove;
    const std::uint8_t* previousOwn;
    const std::uint8_t* previousBelow;
    std::uint8_t* result;
};

template <class Sample>
void InterpolateRest(const Lines& lines, std::size_t from, std::size_t count) {
    const auto at = [](const std::uint8_t* line, std::size_t i) {
        return static_cast<int>(reinterpret_cast<const Sample*>(line)[i]);
    };
    for (std::size_t i = from; i < count; ++i) {
        const int above = at(lines.above, i);
        const int own = at(lines.own, i);
        const int below = at(lines.below, i);
        const int moved =
            std::max({std::abs(above - at(lines.previousAbove, i)), std::abs(own - at(lines.previousOwn, i)),
                      std::abs(below - at(lines.previousBelow, i))});
        const int between = (above + below + 1) / 2;
        reinterpret_cast<Sample*>(lines.result)[i] =
            static_cast<Sample>(std::clamp(between, own - moved, own + moved));
    }
}

__m128i Load(const std::uint8_t* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}
__m128i Distance8(__m128i a, __m128i b) {
    return _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a));
}
__m128i Distance16(__m128i a, __m128i b) {
    return _mm_or_si128(_mm_subs_epu16(a, b), _mm_subs_epu16(b, a));
}

void Interpolate8(const Lines& lines, std::size_t count) {
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m128i above = Load(lines.above + i);
        const __m128i own = Load(lines.own + i);
        const __m128i below = Load(lines.below + i);
        const __m128i moved = _mm_max_epu8(_mm_max_epu8(Distance8(above, Load(lines.previousAbove + i)),
                                                        Distance8(below, Load(lines.previousBelow + i))),
                                           Distance8(own, Load(lines.previousOwn + i)));
        const __m128i between = _mm_avg_epu8(above, below);
        const __m128i clamped =
            _mm_max_epu8(_mm_min_epu8(between, _mm_adds_epu8(own, moved)), _mm_subs_epu8(own, moved));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(lines.result + i), clamped);
    }
    InterpolateRest<std::uint8_t>(lines, i, count);
}

// Samples of up to 15 bits, so that the signed minimum and maximum are right.
void Interpolate16(const Lines& lines, std::size_t count) {
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const std::size_t byte = i * 2;
        const __m128i above = Load(lines.above + byte);
        const __m128i own = Load(lines.own + byte);
        const __m128i below = Load(lines.below + byte);
        const __m128i moved =
            _mm_max_epi16(_mm_max_epi16(Distance16(above, Load(lines.previousAbove + byte)),
                                        Distance16(below, Load(lines.previousBelow + byte))),
                          Distance16(own, Load(lines.previousOwn + byte)));
        const __m128i between = _mm_avg_epu16(above, below);
        const __m128i clamped =
            _mm_max_epi16(_mm_min_epi16(between, _mm_adds_epi16(own, moved)), _mm_subs_epi16(own, moved));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(lines.result + byte), clamped);
    }
    InterpolateRest<std::uint16_t>(lines, i, count);
}

} // namespace

// Lays the planes out one after the other; none when the format is not one this works on.
void Deinterlacer::Describe(const Picture& picture) {
    if (picture.format == shape_.format && picture.width == shape_.width && picture.height == shape_.height) {
        return;
    }
    // Without memory for the buffers nothing is laid out, and the next picture asks again.
    shape_ = {};
    previousValid_ = false;
    layout_.clear();
    std::vector<Plane> layout;
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
    constexpr std::uint64_t kUnfit = AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_BE | AV_PIX_FMT_FLAG_PAL;
    if (format == nullptr || (format->flags & AV_PIX_FMT_FLAG_PLANAR) == 0 || (format->flags & kUnfit) != 0 ||
        format->nb_components != 3 || format->comp[2].plane != 2 || format->comp[0].depth > 15) {
        shape_ = picture;
        return;
    }
    sampleBytes_ = format->comp[0].depth > 8 ? 2 : 1;
    std::size_t size = 0;
    for (int i = 0; i < 3; ++i) {
        const int across = i == 0 ? 0 : format->log2_chroma_w;
        const int down = i == 0 ? 0 : format->log2_chroma_h;
        const int width = -(-picture.width >> across);
        const int height = -(-picture.height >> down);
        layout.push_back({width * sampleBytes_, height, size});
        size += static_cast<std::size_t>(width) * sampleBytes_ * height;
    }
    constexpr std::size_t kReadAhead = 64; // what scalers read at once may end behind the last line
    previous_.resize(size);
    result_.resize(size + kReadAhead);
    layout_ = std::move(layout);
    shape_ = picture;
}

Picture Deinterlacer::Process(const Picture& picture) {
    if (picture.interlaced) {
        Describe(picture);
    }
    if (!picture.interlaced || layout_.empty() || picture.height < 4) {
        previousValid_ = false;
        return picture;
    }
    Picture result = picture;
    result.interlaced = false;
    const int keptParity = picture.topFieldFirst ? 0 : 1;
    for (std::size_t i = 0; i < layout_.size(); ++i) {
        const Plane& plane = layout_[i];
        const auto width = static_cast<std::size_t>(plane.bytesPerLine);
        const auto source = [&](int y) { return picture.planes[i] + std::ptrdiff_t{y} * picture.strides[i]; };
        const auto before = [&](int y) { return previous_.data() + plane.offset + width * y; };
        for (int y = 0; y < plane.lines; ++y) {
            std::uint8_t* line = result_.data() + plane.offset + width * y;
            if (y % 2 == keptParity) {
                std::memcpy(line, source(y), width);
                continue;
            }
            const int above = y > 0 ? y - 1 : 1;
            const int below = y + 1 < plane.lines ? y + 1 : y - 1;
            // Without a picture before, everything has moved: the same sum with the neighbours against each
            // other comes out as their mean.
            const Lines lines = previousValid_
                                    ? Lines{source(above), source(y),     source(below), before(above),
                                            before(y),     before(below), line}
                                    : Lines{source(above), source(above), source(below), source(below),
                                            source(below), source(above), line};
            if (sampleBytes_ == 1) {
                Interpolate8(lines, width);
            } else {
                Interpolate16(lines, width / 2);
            }
        }
        result.planes[i] = result_.data() + plane.offset;
        result.strides[i] = plane.bytesPerLine;
    }
    Keep(picture);
    return result;
}

void Deinterlacer::Keep(const Picture& picture) {
    for (std::size_t i = 0; i < layout_.size(); ++i) {
        const auto width = static_cast<std::size_t>(layout_[i].bytesPerLine);
        std::uint8_t* target = previous_.data() + layout_[i].offset;
        for (int y = 0; y < layout_[i].lines; ++y, target += width) {
            std::memcpy(target, picture.planes[i] + std::ptrdiff_t{y} * picture.strides[i], width);
        }
    }
    previousValid_ = true;
}

} // namespace vistrame
