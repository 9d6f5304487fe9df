#pragma once

#include <optional>

#include "filters/base/lock.h"
#include "filters/base/reference_clock.h"
#include "filters/base/reference_time.h"

namespace vistrame {

// A clock that follows the PCR of a live stream: smooth, never backwards, without jumps.
//
// How        It starts as the system's time and runs at its rate times (1 + e), |e| <= kMaxRate. Once a
//            second e is set so that the distance to the PCR would vanish within kPull; of a second's PCRs
//            the earliest counts, because delivery only ever delays one. A PCR that lies more than kJump off
//            says that the delivery stalled, was paused or caught up: the clock then goes on and measures
//            from there.
// Units      100 ns.
// Threads    any; one leaf lock.
class ProgramClock final : public ClockEngine {
public:
    static constexpr double kMaxRate = 0.001; // DVB's clocks are within 30 ppm; the rest catches up jitter
    static constexpr REFERENCE_TIME kPull = 10 * kUnitsPerSecond;
    static constexpr REFERENCE_TIME kWindow = kUnitsPerSecond;
    static constexpr REFERENCE_TIME kJump = ReferenceFromMilliseconds(300);

    using TimeSource = REFERENCE_TIME (*)();

    explicit ProgramClock(TimeSource systemTime = SystemTime);
    ~ProgramClock() override { Shutdown(); }

    REFERENCE_TIME Now() override;

    // `pcr` on the stream's timeline; it has just come in.
    void PcrArrived(REFERENCE_TIME pcr);
    // The next PCR has no relation to the last one.
    void Restart();

private:
    REFERENCE_TIME NowLocked();
    void SetRate(double rate, REFERENCE_TIME now);

    const TimeSource systemTime_;
    mutable Lock lock_; // guards what follows
    // The line the clock runs on.
    REFERENCE_TIME lineSystem_;
    REFERENCE_TIME lineTime_;
    double rate_ = 1;
    // Where PCR and clock stood when measuring began.
    std::optional<REFERENCE_TIME> pcrStart_;
    REFERENCE_TIME timeStart_ = 0;
    std::optional<REFERENCE_TIME> windowStart_;
    REFERENCE_TIME windowAhead_ = 0; // most that a PCR of the window was ahead of the clock
};

} // namespace vistrame
