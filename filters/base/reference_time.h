#pragma once

#include <cstdint>

#include "transport/clock.h"

namespace vistrame {

// DirectShow's unit of time (REFERENCE_TIME), 100 ns, and the way to it from the clocks of a transport
// stream.
inline constexpr std::int64_t kUnitsPerMillisecond = 10'000;
inline constexpr std::int64_t kUnitsPerSecond = 1000 * kUnitsPerMillisecond;

constexpr std::int64_t ReferenceFromMilliseconds(std::int64_t milliseconds) {
    return milliseconds * kUnitsPerMillisecond;
}

// Truncated.
constexpr std::int64_t MillisecondsFromReference(std::int64_t reference) {
    return reference / kUnitsPerMillisecond;
}

// Truncated; exact to below one unit over the whole range of a 33-bit timeline and for 800 years beyond it.
constexpr std::int64_t ReferenceFromTicks(std::int64_t ticks) {
    return ticks / 9 * 1000 + ticks % 9 * 1000 / 9;
}

constexpr std::int64_t ReferenceFromPcr(std::int64_t pcr) {
    return pcr / 27 * 10 + pcr % 27 * 10 / 27;
}

static_assert(ReferenceFromTicks(kTicksPerSecond) == kUnitsPerSecond);
static_assert(ReferenceFromPcr(kPcrPerSecond) == kUnitsPerSecond);

} // namespace vistrame
