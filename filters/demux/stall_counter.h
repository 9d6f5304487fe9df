#pragma once

#include <cstdint>
#include <optional>

#include "filters/base/lock.h"
#include "filters/base/reference_time.h"

namespace vistrame {

// How long a selected stream has not delivered anything while the graph ran, in ticks of 100 ms.
//
// A watchdog restarts the graph when the count is high and gives up when it gets higher still; so stopping
// and running again does not begin anew, it only does not count the time between.
//
// Units      moments in 100 ns of any one clock.
// Threads    any; one leaf lock.
class StallCounter {
public:
    static constexpr std::uint32_t kNone = 0xFFFFFFFF; // no count: nothing selected, or not running
    static constexpr std::int64_t kTick = ReferenceFromMilliseconds(100);

    // A stream is selected, or none; counting begins anew.
    void Select(bool selected, std::int64_t now);
    void Run(std::int64_t now);
    void Halt(std::int64_t now);
    void Delivered(std::int64_t now);

    std::uint32_t Count(std::int64_t now) const;

private:
    mutable Lock lock_; // guards what follows
    bool selected_ = false;
    std::int64_t stalled_ = 0;                  // before countingSince_
    std::optional<std::int64_t> countingSince_; // while running
};

} // namespace vistrame
