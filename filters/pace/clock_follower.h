#pragma once

#include <cstdint>

namespace vistrame {

// How much faster or slower than nominal something has to run so that it stays with another clock, from
// measured distances to it: proportional and integral, critically damped, so that a clock that runs off
// evenly leaves no lasting distance. Such a clock is followed within a few times `pull`; meanwhile the
// distance grows to what it runs off in 0.74 times `pull`.
//
// Units      100 ns; rates relative to nominal, 0.001 being 0.1 % faster.
// Threads    one at a time.
class ClockFollower {
public:
    // `pull`: in which a distance would be made up if nothing were learned from it. `limit`: of the rate.
    ClockFollower(std::int64_t pull, double limit) : pull_(static_cast<double>(pull)), limit_(limit) {}

    // `distance`: how far it is behind, which a faster rate makes up; measured `elapsed` after the one
    // before.
    double Update(std::int64_t distance, std::int64_t elapsed);
    [[nodiscard]] double Rate() const { return rate_; }
    // Another clock, of which nothing is known.
    void Restart() { learned_ = rate_ = 0; }

private:
    const double pull_;
    const double limit_;
    double learned_ = 0; // the rate that remains when there is no distance
    double rate_ = 0;
};

} // namespace vistrame
