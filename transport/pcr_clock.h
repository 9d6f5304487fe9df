#pragma once

#include "transport/clock.h"

namespace vistrame {

// Lays the PCRs of one programme on a timeline that neither wraps nor jumps.
//
// A PCR is expected where the packets since the last one put it at the rate of the interval before. One that
// lies more than kJump from that, or is announced, starts a new segment. It is laid where the old clock was
// expected to be (an announced one that is not kAnnouncedJump off keeps its place), so that the timeline goes
// on at the seam and whoever plays by it does not stop there. Within a segment differences on the timeline
// are those of the stream.
//
// Units      27 MHz, time stamps 90 kHz; packets of the whole stream; segments count up from 0.
// Threads    none of its own, not thread-safe.
// Errors     none; before the first PCR or time stamp nothing is known.
class PcrClock {
public:
    // Longer than any regular distance of two PCRs (0.1 s), shorter than what anyone would call a gap.
    static constexpr std::int64_t kJump = kPcrPerSecond / 2;
    // What the pace of a stream may be off from one PCR to the next.
    static constexpr std::int64_t kAnnouncedJump = kPcrPerSecond / 10;
    // A time stamp lies this far around its PCR: multiplexers may send a picture up to 10 s ahead (still
    // pictures), a late one is still taken for the same clock.
    static constexpr std::int64_t kAhead = 10 * kPcrPerSecond;
    static constexpr std::int64_t kBehind = 2 * kPcrPerSecond;

    struct Reading {
        std::uint64_t raw = 0; // as transmitted
        std::int64_t timeline = 0;
        std::uint32_t segment = 0;
        bool jump = false; // first PCR of another segment than the PCR before
    };

    // `packet` is the number of packets of the whole stream before this one.
    Reading OnPcr(std::uint64_t pcr, std::uint64_t packet);
    // The next PCR starts a new segment wherever it lies (discontinuity indicator).
    void ExpectDiscontinuity() { announced_ = true; }
    // A new segment starts now, its time base set by the next PCR or time stamp, whichever is first.
    void StartSegment();
    // For streams and moments without PCR: a time stamp gives the segment its base, or keeps it near; one too
    // far off starts a new segment. Does nothing while PCRs tell.
    void OnStamp(std::uint64_t ticks, std::uint64_t packet);
    void Reset() { *this = PcrClock(); }

    // This segment has a time base.
    bool Known() const { return known_; }
    // It has one from a PCR.
    bool Running() const { return running_; }
    // Any segment so far had one from a PCR, so that this one can be expected to.
    bool EverRan() const { return everRan_; }
    std::uint32_t Segment() const { return segment_; }
    // Where a time stamp lies on the timeline, in 90 kHz. Needs Known().
    std::int64_t TimelineTicks(std::uint64_t ticks) const;
    // Where the clock is expected at this packet, 27 MHz; at most kJump behind the last PCR.
    std::int64_t ExpectedAt(std::uint64_t packet) const;
    // Whether a time stamp that lies `lead` (27 MHz) ahead of the clock can belong to it.
    static bool LeadFits(std::int64_t lead) { return lead >= -kBehind && lead <= kAhead; }

private:
    std::int64_t ExpectedAdvance(std::uint64_t packet) const;
    void Learn(std::int64_t advance, std::uint64_t packet);
    void Place(std::uint64_t raw, std::int64_t timeline, std::uint64_t packet);

    // The last PCR or time stamp, where it lies, and with which packet it came.
    std::uint64_t raw_ = 0;
    std::int64_t timeline_ = 0;
    std::uint64_t packet_ = 0;
    // Rate: how far the clock went over so many packets; 0 packets: not known.
    std::int64_t rateAdvance_ = 0;
    std::uint64_t ratePackets_ = 0;
    std::uint32_t segment_ = 0;
    std::uint32_t lastPcrSegment_ = 0;
    bool everPlaced_ = false;
    bool everRan_ = false;
    bool known_ = false;
    bool running_ = false;
    bool announced_ = false;
};

} // namespace vistrame
