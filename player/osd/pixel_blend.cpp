#include "player/osd/pixel_blend.h"

#ifdef __SSE2__
#include <immintrin.h>
#endif

namespace vistrame {

namespace {

#ifdef __SSE2__

// Components as sixteen-bit numbers with seven fraction bits; the high half of a signed product does the
// multiplication and the floor of the rule. Two pixels' components lie in one register.
//
// A slope of one half or more does not fit a signed number: it goes in less one, and the factor it is short
// by, old - new, is added back; together with + new that makes + old. The alpha component becomes a blend
// towards 255 with the slope rounded down: 255 + floor((old - 255) x slope) decides at whole numbers as
// floor(old x keep) + A does.
struct BlendFactors {
    explicit BlendFactors(std::uint32_t colour) : slopeOverHalf(colour >> 24 < 128) {
        const auto slope = static_cast<short>(KeepSlope(colour >> 24) - (slopeOverHalf ? 65536 : 0));
        const auto alphaSlope = static_cast<short>(slope - 1);
        slopes = _mm_set_epi16(alphaSlope, slope, slope, slope, alphaSlope, slope, slope, slope);
        const __m128i bytes = _mm_set1_epi32(static_cast<int>(colour | 0xFF000000));
        added = _mm_srli_epi16(_mm_unpacklo_epi8(_mm_setzero_si128(), bytes), 1);
    }

    bool slopeOverHalf; // of all components: none comes near one half
    __m128i slopes;
    __m128i added;
};

template <bool kSlopeOverHalf>
void BlendFours(std::uint8_t* pixels, int count, const BlendFactors& factors) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i slopes = factors.slopes, added = factors.added;
    for (auto *at = reinterpret_cast<__m128i*>(pixels), *end = at + count; at != end; ++at) {
        const __m128i four = _mm_loadu_si128(at);
        const __m128i low = _mm_srli_epi16(_mm_unpacklo_epi8(zero, four), 1);
        const __m128i high = _mm_srli_epi16(_mm_unpackhi_epi8(zero, four), 1);
        const __m128i lowProduct = _mm_mulhi_epi16(_mm_sub_epi16(low, added), slopes);
        const __m128i highProduct = _mm_mulhi_epi16(_mm_sub_epi16(high, added), slopes);
        const __m128i lowSum = _mm_add_epi16(lowProduct, kSlopeOverHalf ? low : added);
        const __m128i highSum = _mm_add_epi16(highProduct, kSlopeOverHalf ? high : added);
        _mm_storeu_si128(at, _mm_packus_epi16(_mm_srli_epi16(lowSum, 7), _mm_srli_epi16(highSum, 7)));
    }
}

// The same, twice as wide: unpacking and packing stay within each half of a register, so the order comes
// back.
template <bool kSlopeOverHalf>
[[gnu::target("avx2")]] void BlendEights(std::uint8_t* pixels, int count, const BlendFactors& factors) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i slopes = _mm256_broadcastsi128_si256(factors.slopes);
    const __m256i added = _mm256_broadcastsi128_si256(factors.added);
    for (auto *at = reinterpret_cast<__m256i*>(pixels), *end = at + count; at != end; ++at) {
        const __m256i eight = _mm256_loadu_si256(at);
        const __m256i low = _mm256_srli_epi16(_mm256_unpacklo_epi8(zero, eight), 1);
        const __m256i high = _mm256_srli_epi16(_mm256_unpackhi_epi8(zero, eight), 1);
        const __m256i lowProduct = _mm256_mulhi_epi16(_mm256_sub_epi16(low, added), slopes);
        const __m256i highProduct = _mm256_mulhi_epi16(_mm256_sub_epi16(high, added), slopes);
        const __m256i lowSum = _mm256_add_epi16(lowProduct, kSlopeOverHalf ? low : added);
        const __m256i highSum = _mm256_add_epi16(highProduct, kSlopeOverHalf ? high : added);
        _mm256_storeu_si256(at,
                            _mm256_packus_epi16(_mm256_srli_epi16(lowSum, 7), _mm256_srli_epi16(highSum, 7)));
    }
}

using BlendRun = void (*)(std::uint8_t* pixels, int count, const BlendFactors& factors);

// Blends the columns from the left that fill whole registers of this width; the columns done.
int BlendWideColumns(std::uint8_t* pixels, std::size_t stride, int w, int h, std::uint32_t colour,
                     BlendWidth width) {
    const BlendFactors factors(colour);
    const bool eights = width == BlendWidth::kEight;
    const BlendRun over = eights ? BlendEights<true> : BlendFours<true>;
    const BlendRun under = eights ? BlendEights<false> : BlendFours<false>;
    const BlendRun run = factors.slopeOverHalf ? over : under;
    const int atOnce = static_cast<int>(width);
    for (int y = 0; y < h; ++y) {
        run(pixels + static_cast<std::size_t>(y) * stride, w / atOnce, factors);
    }
    return w / atOnce * atOnce;
}

#endif

} // namespace

BlendWidth WidestBlend() {
#ifdef __SSE2__
    return __builtin_cpu_supports("avx2") ? BlendWidth::kEight : BlendWidth::kFour;
#else
    return BlendWidth::kOne;
#endif
}

void BlendColourOver(std::uint8_t* pixels, std::size_t stride, int w, int h, std::uint32_t colour,
                     BlendWidth width) {
    int done = 0;
#ifdef __SSE2__
    if (width != BlendWidth::kOne) {
        done = BlendWideColumns(pixels, stride, w, h, colour, width);
    }
#endif
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
