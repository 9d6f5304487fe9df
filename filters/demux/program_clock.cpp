#include "filters/demux/program_clock.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vistrame {

ProgramClock::ProgramClock(TimeSource systemTime)
    : systemTime_(systemTime), lineSystem_(systemTime()), lineTime_(lineSystem_) {}

REFERENCE_TIME ProgramClock::NowLocked() {
    const auto elapsed = static_cast<double>(systemTime_() - lineSystem_);
    return lineTime_ + std::llround(elapsed * rate_);
}

REFERENCE_TIME ProgramClock::Now() {
    const std::lock_guard lock(lock_);
    return NowLocked();
}

double ProgramClock::Rate() const {
    const std::lock_guard lock(lock_);
    return rate_;
}

void ProgramClock::SetRate(double rate, REFERENCE_TIME now) {
    lineSystem_ = systemTime_();
    lineTime_ = now; // the new line begins where the old one stands, so time is continuous
    rate_ = rate;
}

void ProgramClock::Restart() {
    const std::lock_guard lock(lock_);
    pcrStart_.reset();
    windowStart_.reset();
}

void ProgramClock::PcrArrived(REFERENCE_TIME pcr) {
    const std::lock_guard lock(lock_);
    const REFERENCE_TIME now = NowLocked();
    const REFERENCE_TIME ahead = pcrStart_ ? (pcr - *pcrStart_) - (now - timeStart_) : 0;
    if (!pcrStart_ || std::llabs(ahead) > kJump) {
        pcrStart_ = pcr;
        timeStart_ = now;
        windowStart_.reset();
        return;
    }
    if (!windowStart_) {
        windowStart_ = now;
        windowAhead_ = ahead;
    }
    windowAhead_ = std::max(windowAhead_, ahead);
    if (now - *windowStart_ >= kWindow) {
        const double pull = static_cast<double>(windowAhead_) / static_cast<double>(kPull);
        SetRate(1 + std::clamp(pull, -kMaxRate, kMaxRate), now);
        windowStart_.reset();
    }
}

} // namespace vistrame
