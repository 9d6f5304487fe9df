// The PCR clock: what it takes for a jump, and where it lays the PCRs then.
#include "transport/pcr_clock.h"

#include <gtest/gtest.h>

#include "transport/clock.h"

namespace vistrame {
namespace {

constexpr std::int64_t kMs = kPcrPerSecond / 1000;

// PCRs 40 ms and 100 packets apart, then one more after so many.
TEST(PcrClock, TellsJumpsFromGapsAndLosses) {
    struct Row {
        const char* name;
        std::int64_t step; // of the last PCR
        std::uint64_t packets;
        bool announced, jump;
        std::int64_t advance; // on the timeline
    };
    constexpr std::int64_t kHour = 3600 * kPcrPerSecond;
    const Row rows[] = {
        {"late PCR without packets", 450 * kMs, 10, false, false, 450 * kMs},
        {"PCRs missing", 2000 * kMs, 5000, false, false, 2000 * kMs},
        {"small step back", -20 * kMs, 100, false, false, -20 * kMs},
        {"packets lost for 3 s", 3000 * kMs, 100, false, true, 40 * kMs},
        {"announced jump", kHour, 200, true, true, 80 * kMs},
        {"announced jump of little", -400 * kMs, 200, true, true, 80 * kMs},
        {"announced and no jump", 85 * kMs, 200, true, true, 85 * kMs},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        PcrClock clock;
        PcrClock::Reading last;
        std::int64_t pcr = kPcrPerSecond;
        for (std::uint64_t i = 0; i < 4; ++i, pcr += 40 * kMs) {
            last = clock.OnPcr(static_cast<std::uint64_t>(pcr), i * 100);
            EXPECT_FALSE(last.jump);
        }
        if (row.announced) {
            clock.ExpectDiscontinuity();
        }
        const auto raw = static_cast<std::uint64_t>(pcr - 40 * kMs + row.step);
        const PcrClock::Reading next = clock.OnPcr(raw, 300 + row.packets);
        EXPECT_EQ(next.jump, row.jump);
        EXPECT_EQ(next.segment, row.jump ? 1U : 0U);
        EXPECT_NEAR(static_cast<double>(next.timeline - last.timeline), static_cast<double>(row.advance),
                    300);
    }
}

} // namespace
} // namespace vistrame
