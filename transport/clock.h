#pragma once

#include <cstdint>

namespace vistrame {

// The clocks of a transport stream and the arithmetic on them.
//
// Units      PTS and DTS count 90 kHz in 33 bits; a PCR counts 27 MHz: its 33-bit 90 kHz base times 300 plus
//            a 9-bit extension (MPEG-2 systems). A "raw" value is as transmitted; a "timeline" value is
//            signed 64-bit and does not wrap (33 bits hold 26.5 hours).
// Errors     raw values out of range are taken modulo their wrap.
inline constexpr std::int64_t kTicksPerSecond = 90'000;
inline constexpr std::int64_t kPcrPerTick = 300;
inline constexpr std::int64_t kPcrPerSecond = kTicksPerSecond * kPcrPerTick;
inline constexpr std::int64_t kTickWrap = std::int64_t{1} << 33;
inline constexpr std::int64_t kPcrWrap = kTickWrap * kPcrPerTick;

// How far `later` lies after `earlier` the short way round: in [-wrap/2, wrap/2).
constexpr std::int64_t WrappedDifference(std::uint64_t later, std::uint64_t earlier, std::int64_t wrap) {
    const auto modulus = static_cast<std::uint64_t>(wrap);
    const auto forward = static_cast<std::int64_t>((later % modulus + modulus - earlier % modulus) % modulus);
    return forward < wrap / 2 ? forward : forward - wrap;
}

constexpr std::int64_t TickDifference(std::uint64_t later, std::uint64_t earlier) {
    return WrappedDifference(later, earlier, kTickWrap);
}

constexpr std::int64_t PcrDifference(std::uint64_t later, std::uint64_t earlier) {
    return WrappedDifference(later, earlier, kPcrWrap);
}

} // namespace vistrame
