#pragma once

#include <cstdint>
#include <optional>

#include "filters/base/reference_time.h"
#include "filters/pace/clock_follower.h"

namespace vistrame {

// Keeps what is shown of a live stream at the same delay, whatever the sender's clock does: moves the
// programme's times slowly enough for sound to follow by its pitch.
//
// How        The delay of a moment of the stream is measured as its clock reference arrives. Delivery only
//            makes one late, so of a second's references the earliest counts, the one with the largest delay.
//            That of the first second is kept.
// Units      100 ns of stream time.
// Threads    one at a time.
class DelayKeeper {
public:
    // DVB allows senders 30 ppm; cheap clocks stay within this. It is also the change of pitch.
    static constexpr double kMaxRate = 0.001;
    // Slow, because arrivals jitter by milliseconds and every change of speed is one of pitch. A clock that
    // runs off by kMaxRate moves the delay by 15 ms until it is followed.
    static constexpr std::int64_t kPull = 20 * kUnitsPerSecond;
    static constexpr std::int64_t kWindow = kUnitsPerSecond;

    // A clock reference came in at `now` and is shown `delay` later. What to add to the offset.
    std::int64_t Correct(std::int64_t delay, std::int64_t now);
    // The offset was moved otherwise: the delay of now is the one to keep.
    void Moved();
    // Another stream.
    void Restart();
    // How much faster than the graph's clock the sender's runs, as far as is known.
    [[nodiscard]] double Rate() const { return follower_.Rate(); }

private:
    ClockFollower follower_{kPull, kMaxRate};
    std::optional<std::int64_t> kept_;
    std::optional<std::int64_t> windowStart_;
    std::int64_t windowDelay_ = 0; // largest of the window
    std::int64_t last_ = 0;        // reference
    double rest_ = 0;              // of the correction, below one unit
};

} // namespace vistrame
