#include "filters/demux/program_clock.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "filters/base/trace.h"

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
        Trace("clock: measures from here, PCR ", MillisecondsFromReference(ahead), " ms off, rate ",
              std::llround((rate_ - 1) * 1e6), " ppm");
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
