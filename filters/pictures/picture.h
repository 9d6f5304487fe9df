#pragma once

#include <array>
#include <cstdint>
#include <numeric>
#include <optional>

#include "filters/base/reference_time.h"

struct AVFrame;

namespace vistrame {

// Width to height of the whole picture on the screen.
struct Aspect {
    int x = 16;
    int y = 9;

    bool operator==(const Aspect&) const = default;

    // In lowest terms; 16:9 when a term is not positive.
    static Aspect Reduced(std::int64_t x, std::int64_t y) {
        if (x <= 0 || y <= 0) {
            return {};
        }
        const std::int64_t common = std::gcd(x, y);
        return {static_cast<int>(x / common), static_cast<int>(y / common)};
    }
};

// How a picture's numbers stand for colours.
struct Colours {
    int matrix = 2; // AVColorSpace; 2: unspecified, here and below
    bool fullRange = false;
    int primaries = 2; // AVColorPrimaries
    int transfer = 2;  // AVColorTransferCharacteristic
    int peak = 0;      // cd/m2 of the brightest that its maker saw; 0: unspecified

    bool operator==(const Colours&) const = default;
};

// One decoded picture, borrowed from whoever made it until the call it is passed to returns.
//
// Units      pixels; strides in bytes, possibly negative; times 100 ns.
struct Picture {
    std::array<const std::uint8_t*, 4> planes{};
    std::array<int, 4> strides{};
    const AVFrame* counted = nullptr; // what the planes belong to, for whoever keeps them; may be null
    int format = -1;                  // AVPixelFormat: what the scaler behind PictureWriter knows
    int width = 0;
    int height = 0;
    Aspect aspect;

    // Two fields one after the other in alternate lines, the top one first or second.
    bool interlaced = false;
    bool topFieldFirst = true;

    Colours colours;
    int chromaPlace = 0; // AVChromaLocation; 0: unspecified, which means left

    // Empty: to be shown at once, its time comes with the same picture again.
    std::optional<std::int64_t> start;
    std::int64_t duration = ReferenceFromMilliseconds(40);
};

// Where a decoder puts its pictures, in the order of display.
class PictureSink {
public:
    PictureSink() = default;
    PictureSink(const PictureSink&) = delete;
    PictureSink& operator=(const PictureSink&) = delete;
    virtual ~PictureSink() = default;

    virtual void OnPicture(const Picture& picture) = 0;
};

} // namespace vistrame
