#pragma once

#include <cstdint>

namespace vistrame {

// DirectShow's unit of time: 100 ns.
inline constexpr std::int64_t kUnitsPerMillisecond = 10'000;
inline constexpr std::int64_t kUnitsPerSecond = 10'000'000;

} // namespace vistrame
