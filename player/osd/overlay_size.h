// The overlay's picture: full high definition, whatever the video's own size; the renderer scales it.
#pragma once

#include <cstddef>

namespace vistrame {

inline constexpr int kOverlayWidth = 1920; // pixels
inline constexpr int kOverlayHeight = 1080;
inline constexpr std::size_t kOverlayStride = std::size_t{kOverlayWidth} * 4; // bytes of a row, A8R8G8B8

} // namespace vistrame
