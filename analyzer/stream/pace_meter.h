#pragma once

#include <cstdint>
#include <optional>

#include "transport/clock.h"

namespace vistrame {

// How long the packets of a stream take, by the PCRs among them.
//
// A PCR that lies 0 to kLongestInterval after the one before says so itself, also over its wrap. One that
// jumps, is announced as a discontinuity, or has none before it tells nothing: its packets go by the rate
// last seen.
//
// Units      27 MHz; packets.
// Threads    none of its own, not thread-safe.
class PaceMeter {
public:
    // PCRs are at most 0.1 s apart (MPEG-2 systems); ten times that is still taken for a sparse clock or a
    // gap that was really transmitted.
    static constexpr std::int64_t kLongestInterval = kPcrPerSecond;

    // The rate before any PCR interval is known.
    explicit PaceMeter(double ticksPerPacket) : ticksPerPacket_(ticksPerPacket) {}

    // Duration of the `packets` before this PCR, counted from the one before it or from the last Break.
    std::int64_t OnPcr(std::uint64_t pcr, std::uint64_t packets, bool discontinuity);
    // Duration of packets that no PCR ends.
    std::int64_t Estimate(std::uint64_t packets) const;
    // What follows does not belong to what came before.
    void Break() { last_.reset(); }

    // Over all intervals of known length; 0: there was none.
    double MeanTicksPerPacket() const;

private:
    std::optional<std::uint64_t> last_;
    double ticksPerPacket_;
    std::int64_t measuredTicks_ = 0;
    std::uint64_t measuredPackets_ = 0;
};

} // namespace vistrame
