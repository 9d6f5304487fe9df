#pragma once

#include <cstdint>

namespace vistrame {

// The clocks of a transport stream and the arithmetic on them.
//
// Units      PTS and DTS count 90 kHz in 33 bits; a PCR counts 27 MHz, its 33-bit 90 kHz base times 300 plus
// a
//            9-bit extension (MPEG-2 systems). DirectShow counts 100 ns. A "raw" value is as transmitted; a
//            "timeline" value is signed 64-bit and does not wrap (26.5 hours is what 33 bits hold).
// Errors     raw values out of range are taken modulo their wrap.
inline constexpr std::int64_t kTicksPerSecond = 90'000;
inline constexpr std::int64_t kPcrPerTick = 300;
inline constexpr std::int64_t kPcrPerSecond = kTicksPerSecond * kPcrPerTick;
inline constexpr std::int64_t kReferencePerSecond = 10'000'000; // 100 ns, DirectShow's REFERENCE_TIME
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

// Truncating conversions; exact to below one unit of the result over the whole range of a 33-bit timeline and
// for 800 years beyond it.
constexpr std::int64_t ReferenceFromTicks(std::int64_t ticks) {
    return ticks / 9 * 1000 + ticks % 9 * 1000 / 9;
}

constexpr std::int64_t ReferenceFromPcr(std::int64_t pcr) {
    return pcr / 27 * 10 + pcr % 27 * 10 / 27;
}

constexpr std::int64_t TicksFromReference(std::int64_t reference) {
    return reference / 1000 * 9 + reference % 1000 * 9 / 1000;
}

constexpr std::int64_t PcrFromReference(std::int64_t reference) {
    return reference / 10 * 27 + reference % 10 * 27 / 10;
}

} // namespace vistrame
