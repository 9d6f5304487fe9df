#include "analyzer/measure/pcr_watch.h"

namespace vistrame {

namespace {

// Beyond this the clock has jumped: the longest that is still taken for a late PCR.
constexpr std::int64_t kJump = kPcrPerSecond;
constexpr double kShare = 1.0 / 32; // of a new interval in the mean: 32 PCRs are a second or so

} // namespace

void PcrWatch::Break() {
    last_.reset();
    ticksPerPacket_ = 0;
}

void PcrWatch::OnPcr(std::uint64_t pcr, std::uint64_t packet, bool discontinuity) {
    const bool continues = last_ && !discontinuity;
    const std::int64_t interval = continues ? PcrDifference(pcr, *last_) : 0;
    const std::uint64_t packets = packet - lastPacket_;
    last_ = pcr;
    lastPacket_ = packet;
    if (!continues || packets == 0) {
        return;
    }
    if (interval <= 0 || interval > kJump) {
        ++discontinuityErrors_;
        ticksPerPacket_ = 0;
        return;
    }
    repetitionErrors_ += interval > kLongest ? 1 : 0;
    const auto ticks = static_cast<double>(interval);
    const double rate = ticks / static_cast<double>(packets);
    const double expected = ticksPerPacket_ > 0 ? ticksPerPacket_ * static_cast<double>(packets) : ticks;
    readings_.push_back({.intervalMsec = static_cast<float>(ticks * 1e3 / kPcrPerSecond),
                         .jitterMicroseconds = static_cast<float>((ticks - expected) * 1e6 / kPcrPerSecond)});
    if (readings_.size() > kKept) {
        readings_.pop_front();
    }
    ticksPerPacket_ = ticksPerPacket_ > 0 ? ticksPerPacket_ + (rate - ticksPerPacket_) * kShare : rate;
}

} // namespace vistrame
