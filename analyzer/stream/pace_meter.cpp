#include "analyzer/stream/pace_meter.h"

#include <cmath>

namespace vistrame {

std::int64_t PaceMeter::OnPcr(std::uint64_t pcr, std::uint64_t packets, bool discontinuity) {
    const std::int64_t interval = last_ && !discontinuity ? PcrDifference(pcr, *last_) : 0;
    last_ = pcr;
    if (interval <= 0 || interval > kLongestInterval) {
        return Estimate(packets);
    }
    if (packets > 0) {
        ticksPerPacket_ = static_cast<double>(interval) / static_cast<double>(packets);
        measuredTicks_ += interval;
        measuredPackets_ += packets;
    }
    return interval;
}

std::int64_t PaceMeter::Estimate(std::uint64_t packets) const {
    return std::llround(static_cast<double>(packets) * ticksPerPacket_);
}

double PaceMeter::MeanTicksPerPacket() const {
    return measuredPackets_ == 0
               ? 0
               : static_cast<double>(measuredTicks_) / static_cast<double>(measuredPackets_);
}

} // namespace vistrame
