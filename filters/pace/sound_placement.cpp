#include "filters/pace/sound_placement.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace vistrame {

namespace {

std::int64_t Frames(std::int64_t time, int rate) {
    return (time * rate + kUnitsPerSecond / 2) / kUnitsPerSecond;
}

// As many as it takes.
std::int64_t FramesOver(std::int64_t time, int rate) {
    return (time * rate + kUnitsPerSecond - 1) / kUnitsPerSecond;
}

std::int64_t Time(std::int64_t frames, int rate) {
    return frames * kUnitsPerSecond / rate;
}

// From when on a renderer that has no sound can play some; `now`: the stream time, while it runs.
std::int64_t EarliestOfEmpty(std::optional<std::int64_t> now) {
    return now ? std::max(*now + SoundPlacement::kLead, SoundPlacement::kBeginning) : 0;
}

} // namespace

void SoundPlacement::Restart() {
    base_.reset();
    rendered_.reset();
    stale_ = false;
}

void SoundPlacement::Resume() {
    stale_ = stale_ || rendered_;
    rendered_.reset();
}

std::int64_t SoundPlacement::Expected(int rate) const {
    return base_.value_or(0) + Time(counted_, rate);
}

SoundPlacement::Placement SoundPlacement::Place(std::int64_t count, int rate,
                                                std::optional<std::int64_t> time,
                                                std::optional<std::int64_t> now) {
    std::int64_t off = time && base_ ? *time - Expected(rate) : 0;
    if (time && (!base_ || std::abs(off) > kTolerance)) {
        base_ = time;
        counted_ = 0;
        off = 0;
    }
    if (!base_) {
        return {.skipped = count}; // nothing tells its time, so it cannot be kept with the picture
    }
    Placement placement{.start = Expected(rate), .off = off};
    counted_ += count;
    const bool longGap = rendered_ && placement.start - *rendered_ > kFilled;
    const bool waits = rendered_ && now && *rendered_ - placement.start > kFarBefore &&
                       placement.start >= EarliestOfEmpty(now);
    if (rendered_ && ((now && *rendered_ < *now) || longGap || waits)) {
        rendered_.reset();
        stale_ = true;
    }
    const std::int64_t earliest = rendered_.value_or(EarliestOfEmpty(now));
    const std::int64_t ahead = placement.start - earliest;
    const std::int64_t exact = rendered_ ? kTolerance : 0;
    if (ahead < -exact) {
        placement.skipped = std::min(FramesOver(-ahead, rate), count);
        placement.start += Time(placement.skipped, rate);
        if (placement.skipped == count) {
            return placement;
        }
    }
    if (!rendered_) {
        placement.discontinuity = true;
        placement.flush = std::exchange(stale_, false);
    } else if (ahead > exact) {
        placement.silence = Frames(ahead, rate);
        placement.start -= ahead;
    }
    rendered_ = Expected(rate);
    return placement;
}

} // namespace vistrame
