#include "transport/pcr_clock.h"

#include <algorithm>
#include <cstdlib>

namespace vistrame {

PcrClock::Reading PcrClock::OnPcr(std::uint64_t pcr, std::uint64_t packet) {
    pcr %= static_cast<std::uint64_t>(kPcrWrap);
    auto timeline = static_cast<std::int64_t>(pcr);
    if (everPlaced_) {
        const std::int64_t advance = PcrDifference(pcr, raw_);
        const std::int64_t expected = ExpectedAdvance(packet);
        const bool near = (advance >= 0 && advance <= kJump) || std::abs(advance - expected) <= kJump;
        const bool announced = announced_ || !known_;
        const bool continues = announced ? std::abs(advance - expected) <= kAnnouncedJump : near;
        // When only a time stamp gave the base, the PCR may lie as far before it as pictures are sent ahead.
        const bool fits = known_ && !running_ ? LeadFits(-advance) : continues;
        timeline = fits ? timeline_ + advance : ExpectedAt(packet);
        if (running_) {
            Learn(advance, packet);
        }
        if (known_ && (announced_ || !fits)) {
            StartSegment();
        }
    }
    Place(pcr, timeline, packet);
    const bool jump = everRan_ && segment_ != lastPcrSegment_;
    announced_ = false;
    running_ = true;
    everRan_ = true;
    lastPcrSegment_ = segment_;
    return {.raw = pcr, .timeline = timeline_, .segment = segment_, .jump = jump};
}

void PcrClock::StartSegment() {
    ++segment_;
    known_ = false;
    running_ = false;
    announced_ = false;
}

void PcrClock::OnStamp(std::uint64_t ticks, std::uint64_t packet) {
    if (running_) {
        return;
    }
    const std::uint64_t raw = ticks % static_cast<std::uint64_t>(kTickWrap) * kPcrPerTick;
    if (known_) {
        const std::int64_t advance = PcrDifference(raw, raw_);
        if (LeadFits(advance)) {
            Place(raw, timeline_ + advance, packet);
            return;
        }
        StartSegment();
    }
    Place(raw, everPlaced_ ? ExpectedAt(packet) : static_cast<std::int64_t>(raw), packet);
}

std::int64_t PcrClock::TimelineTicks(std::uint64_t ticks) const {
    const std::uint64_t raw = ticks % static_cast<std::uint64_t>(kTickWrap) * kPcrPerTick;
    return (timeline_ + PcrDifference(raw, raw_)) / kPcrPerTick;
}

std::int64_t PcrClock::ExpectedAt(std::uint64_t packet) const {
    return timeline_ + std::min(ExpectedAdvance(packet), kJump);
}

// Along the last rate. A rate seen across a loss is far too high, so nothing beyond kAhead is expected of it.
std::int64_t PcrClock::ExpectedAdvance(std::uint64_t packet) const {
    if (ratePackets_ == 0 || packet < packet_) {
        return 0;
    }
    const double share = static_cast<double>(packet - packet_) / static_cast<double>(ratePackets_);
    return static_cast<std::int64_t>(
        std::min(share * static_cast<double>(rateAdvance_), static_cast<double>(kAhead)));
}

void PcrClock::Learn(std::int64_t advance, std::uint64_t packet) {
    if (advance > 0 && advance <= kAhead && packet > packet_) {
        rateAdvance_ = advance;
        ratePackets_ = packet - packet_;
    }
}

void PcrClock::Place(std::uint64_t raw, std::int64_t timeline, std::uint64_t packet) {
    raw_ = raw;
    timeline_ = timeline;
    packet_ = packet;
    known_ = true;
    everPlaced_ = true;
}

} // namespace vistrame
