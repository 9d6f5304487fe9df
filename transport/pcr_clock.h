#pragma once

#include <cstdint>
#include <optional>

#include "transport/clock.h"

namespace vistrame {

// Lays the PCRs of one programme on a timeline that neither wraps nor jumps.
//
// A PCR is expected where the packets since the last one put it at the rate of the interval before. One that
// differs from that by more than kJump, or is announced, starts a new segment: it is laid where the old clock
// was expected to be, so that the timeline goes on at the seam and whoever plays by it does not stop there.
//
// Units      27 MHz; packets of any one constant size; segments count up from 0.
// Threads    none of its own, not thread-safe.
// Errors     none; the clock is unknown until the first PCR or anchor.
class PcrClock {
public:
    // Longer than any regular distance of two PCRs (0.1 s), shorter than what anyone would call a gap.
    static constexpr std::int64_t kJump = kPcrPerSecond / 2;

    struct Reading {
        std::uint64_t raw = 0; // as transmitted
        std::int64_t timeline = 0;
        std::uint32_t segment = 0;
        bool jump = false; // first of a new segment; never on the first PCR of all
    };

    // `packet` is the number of packets of the whole stream before this one.
    Reading OnPcr(std::uint64_t pcr, std::uint64_t packet);
    // The next PCR starts a new segment wherever it lies (discontinuity indicator).
    void ExpectDiscontinuity() { announced_ = true; }
    // A new segment starts now and its time base is not known: the next PCR or anchor, whichever is first,
    // sets it.
    void StartSegment();
    // Lays a time stamp (90 kHz, raw) where the clock is expected when no PCR has told yet in this segment.
    void Anchor(std::uint64_t rawTicks);
    void Reset() { *this = PcrClock(); }

    // Whether this segment has a time base, and whether that came from a PCR.
    bool Known() const { return anchored_; }
    bool Running() const { return running_; }
    std::uint32_t Segment() const { return segment_; }
    // Where a raw 90 kHz value lies on the timeline (90 kHz), seen from the last PCR or anchor. Needs
    // Known().
    std::int64_t TimelineTicks(std::uint64_t rawTicks) const;
    // Where the clock is expected at this packet, on the timeline, 27 MHz.
    std::int64_t ExpectedAt(std::uint64_t packet) const;

private:
    std::uint64_t raw_ = 0;     // 27 MHz, last PCR or anchor
    std::int64_t timeline_ = 0; // where raw_ lies
    std::uint64_t packet_ = 0;  // of the last PCR
    std::int64_t interval_ = 0; // between the last two PCRs of one segment, 0: not known
    std::uint64_t intervalPackets_ = 0;
    std::uint32_t segment_ = 0;
    bool everKnown_ = false;
    bool anchored_ = false;
    bool running_ = false;
    bool announced_ = false;
};

} // namespace vistrame
