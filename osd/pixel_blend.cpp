#include "osd/pixel_blend.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace vistrame {

namespace {

#ifdef __SSE2__

// Four pixels at a time, their components as sixteen-bit numbers with seven fraction bits: the rule of
// BlendedComponent with the high half of a signed product doing the multiplication and the floor.
//
// A slope of one half or more does not fit a signed number: it goes in less one, and the factor it is short by,
// old - new, is added back; together with + new that makes + old. The alpha component becomes a blend towards 255
// with the slope rounded down: 255 + floor((old - 255) x slope) is floor(old x slope') + A with the decision at whole
// numbers turned round.
template <bool kSlopeOverHalf>
class FourPixelBlend {
public:
    explicit FourPixelBlend(std::uint32_t colour) {
        const auto slope = static_cast<short>(KeepSlope(colour >> 24) - (kSlopeOverHalf ? 65536 : 0));
        const auto alphaSlope = static_cast<short>(slope - 1);
        slopes_ = _mm_set_epi16(alphaSlope, slope, slope, slope, alphaSlope, slope, slope, slope);
        const __m128i bytes = _mm_set1_epi32(static_cast<int>(colour | 0xFF000000));
        added_ = _mm_srli_epi16(_mm_unpacklo_epi8(_mm_setzero_si128(), bytes), 1);
    }

    __m128i operator()(__m128i old) const {
        const __m128i zero = _mm_setzero_si128();
        return _mm_packus_epi16(Half(_mm_unpacklo_epi8(zero, old)), Half(_mm_unpackhi_epi8(zero, old)));
    }

private:
    // Two pixels, each component in the high byte of its sixteen bits.
    __m128i Half(__m128i oldInHighBytes) const {
        const __m128i old = _mm_srli_epi16(oldInHighBytes, 1);
        const __m128i product = _mm_mulhi_epi16(_mm_sub_epi16(old, added_), slopes_);
        return _mm_srli_epi16(_mm_add_epi16(product, kSlopeOverHalf ? old : added_), 7);
    }

    __m128i slopes_;
    __m128i added_;
};

template <bool kSlopeOverHalf>
void BlendFours(std::uint8_t* pixels, std::size_t stride, int fours, int h, std::uint32_t colour) {
    const FourPixelBlend<kSlopeOverHalf> blend(colour);
    for (int y = 0; y < h; ++y) {
        auto* at = reinterpret_cast<__m128i*>(pixels + static_cast<std::size_t>(y) * stride);
        for (const __m128i* end = at + fours; at != end; ++at) {
            _mm_storeu_si128(at, blend(_mm_loadu_si128(at)));
        }
    }
}

// The columns done, counted from the left.
int BlendWideColumns(std::uint8_t* pixels, std::size_t stride, int w, int h, std::uint32_t colour) {
    const int fours = w / 4;
    if (colour >> 24 < 128) {
        BlendFours<true>(pixels, stride, fours, h, colour);
    } else {
        BlendFours<false>(pixels, stride, fours, h, colour);
    }
    return fours * 4;
}

#else

int BlendWideColumns(std::uint8_t*, std::size_t, int, int, std::uint32_t) {
    return 0;
}

#endif

} // namespace

void BlendColourOver(std::uint8_t* pixels, std::size_t stride, int w, int h, std::uint32_t colour) {
    const int done = BlendWideColumns(pixels, stride, w, h, colour);
    for (int y = 0; y < h; ++y) {
        std::uint8_t* row = pixels + static_cast<std::size_t>(y) * stride;
        for (int x = done; x < w; ++x) {
            std::uint8_t* at = row + static_cast<std::size_t>(x) * 4;
            StorePixel(at, BlendedPixel(LoadPixel(at), colour));
        }
    }
}

void FillWithColour(std::uint8_t* pixels, std::size_t stride, int w, int h, std::uint32_t colour) {
    for (int x = 0; x < w; ++x) {
        StorePixel(pixels + static_cast<std::size_t>(x) * 4, colour);
    }
    for (int y = 1; y < h; ++y) {
        std::memcpy(pixels + static_cast<std::size_t>(y) * stride, pixels, static_cast<std::size_t>(w) * 4);
    }
}

} // namespace vistrame
