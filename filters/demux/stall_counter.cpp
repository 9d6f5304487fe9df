#include "filters/demux/stall_counter.h"

#include <algorithm>

namespace vistrame {

void StallCounter::Select(bool selected, std::int64_t now) {
    const std::lock_guard lock(lock_);
    selected_ = selected;
    stalled_ = 0;
    if (countingSince_) {
        countingSince_ = now;
    }
}

void StallCounter::Run(std::int64_t now) {
    const std::lock_guard lock(lock_);
    countingSince_ = now;
}

void StallCounter::Halt(std::int64_t now) {
    const std::lock_guard lock(lock_);
    if (countingSince_) {
        stalled_ += now - *countingSince_;
        countingSince_.reset();
    }
}

void StallCounter::Delivered(std::int64_t now) {
    const std::lock_guard lock(lock_);
    stalled_ = 0;
    if (countingSince_) {
        countingSince_ = now;
    }
}

std::uint32_t StallCounter::Count(std::int64_t now) const {
    const std::lock_guard lock(lock_);
    if (!selected_ || !countingSince_) {
        return kNone;
    }
    const std::int64_t ticks = (stalled_ + now - *countingSince_) / kTick;
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(ticks, 0, kNone - 1));
}

} // namespace vistrame
