#include "filters/pace/delay_keeper.h"

#include <algorithm>
#include <cmath>

namespace vistrame {

std::int64_t DelayKeeper::Correct(std::int64_t delay, std::int64_t now) {
    constexpr std::int64_t kGap = 2 * kWindow; // references that far apart say nothing about a rate
    if (!windowStart_ || now - last_ > kGap || now < last_) {
        windowStart_ = last_ = now;
        windowDelay_ = delay;
        return 0;
    }
    windowDelay_ = std::max(windowDelay_, delay);
    rest_ -= follower_.Rate() * static_cast<double>(now - last_);
    last_ = now;
    if (now - *windowStart_ >= kWindow) {
        if (kept_) {
            (void)follower_.Update(windowDelay_ - *kept_, now - *windowStart_);
        } else {
            kept_ = windowDelay_;
        }
        windowStart_ = now;
        windowDelay_ = delay;
    }
    const double whole = std::trunc(rest_);
    rest_ -= whole;
    return static_cast<std::int64_t>(whole);
}

void DelayKeeper::Moved() {
    kept_.reset();
    windowStart_.reset();
}

void DelayKeeper::Restart() {
    Moved();
    follower_.Restart();
    rest_ = 0;
}

} // namespace vistrame
