#include "filters/pace/clock_follower.h"

#include <algorithm>

namespace vistrame {

double ClockFollower::Update(std::int64_t distance, std::int64_t elapsed) {
    const double proportional = static_cast<double>(distance) / pull_;
    const double gained = proportional * static_cast<double>(elapsed) / (4 * pull_);
    learned_ = std::clamp(learned_ + gained, -limit_, limit_);
    rate_ = std::clamp(proportional + learned_, -limit_, limit_);
    return rate_;
}

} // namespace vistrame
