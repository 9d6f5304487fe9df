// Positions the analyzer last commanded for its overlay elements. Recorded and not drawn.
#pragma once

#include <array>
#include <cstdint>

namespace vistrame {

struct OsdElement {
    std::int32_t x; // pixels of the overlay; kHiddenElementX: hidden
    std::int32_t y;
    std::int32_t unused[3];
};

inline constexpr std::int32_t kHiddenElementX = -500;

// Main thread only; indexed by the command's 8-bit element number.
extern std::array<OsdElement, 256> OsdElements;

} // namespace vistrame
