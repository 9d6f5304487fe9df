// Blending of 32-bit pixels, exact in integers.
//
// The rule, per component: keep = (255 - A) x 0.003921569 in single precision, take = 1 - keep, result =
// floor(old x keep + new x take); for the alpha component floor(old x keep + A). Double precision holds all
// of it exactly, so the result is a property of the numbers and integers can have it too:
//
//   result = new + floor((old - new) x keep)
//
// keep lies above (255 - A) / 255 by less than 4e-8, which matters only where old - new makes a whole number
// of it: falling short of `new` such a product goes one down, otherwise it stays. Any slope above (255 - A) /
// 255 by less than 1/65536 decides the same way, since all other products keep 1/255 away from a whole number
// and |old - new| is at most 255. So the slope is (255 - A) / 255 rounded up to 16 bits.
//
// Threads    any; no state.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vistrame {

// Sixteen-bit slope of the colour components for alpha 1 to 254.
constexpr std::int32_t KeepSlope(std::uint32_t alpha) {
    return static_cast<std::int32_t>(((255 - alpha) * 65536 + 254) / 255);
}

constexpr std::uint32_t BlendedComponent(std::int32_t old, std::int32_t added, std::int32_t slope) {
    return static_cast<std::uint32_t>(added + (((old - added) * slope) >> 16));
}

// What blending `colour` leaves of `old`. Alpha 0 leaves it alone; alpha 255 replaces it and leaves alpha
// byte 0.
constexpr std::uint32_t BlendedPixel(std::uint32_t old, std::uint32_t colour) {
    const std::uint32_t alpha = colour >> 24;
    if (alpha == 0) {
        return old;
    }
    if (alpha == 255) {
        return colour & 0x00FFFFFF;
    }
    const std::int32_t slope = KeepSlope(alpha);
    const auto component = [&](int shift) {
        return BlendedComponent(static_cast<std::int32_t>(old >> shift & 255),
                                static_cast<std::int32_t>(colour >> shift & 255), slope)
               << shift;
    };
    const std::uint32_t kept = (old >> 24) * static_cast<std::uint32_t>(slope) >> 16;
    return component(0) | component(8) | component(16) | (kept + alpha) << 24;
}

inline std::uint32_t LoadPixel(const std::uint8_t* at) {
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, at, sizeof pixel); // little-endian, as everything this runs on
    return pixel;
}

inline void StorePixel(std::uint8_t* at, std::uint32_t pixel) {
    std::memcpy(at, &pixel, sizeof pixel);
}

// Pixels that are blended in one step; the results do not depend on it.
enum class BlendWidth { kOne = 1, kFour = 4, kEight = 8 };

// The widest this processor has.
BlendWidth WidestBlend();

// Blends one colour, its alpha 1 to 254, over a rectangle of w x h pixels whose rows are `stride` bytes
// apart.
void BlendColourOver(std::uint8_t* pixels, std::size_t stride, int w, int h, std::uint32_t colour,
                     BlendWidth width = WidestBlend());

// Writes one colour to a rectangle of w x h pixels whose rows are `stride` bytes apart.
void FillWithColour(std::uint8_t* pixels, std::size_t stride, int w, int h, std::uint32_t colour);

} // namespace vistrame
