// Clock arithmetic across its wraps, and the PCR clock: what it takes for a jump, and where it lays the PCRs then.
#include "transport/clock.h"

#include <gtest/gtest.h>

#include "transport/pcr_clock.h"

namespace vistrame {
namespace {

constexpr std::int64_t kMs = kPcrPerSecond / 1000;

TEST(Clock, DifferencesTakeTheShortWayRoundAndConversionsKeepSubUnits) {
    const std::uint64_t top = (std::uint64_t{1} << 33) - 1;
    EXPECT_EQ(TickDifference(0, top), 1);
    EXPECT_EQ(TickDifference(top, 0), -1);
    EXPECT_EQ(TickDifference(std::uint64_t{1} << 32, 0), -(std::int64_t{1} << 32));
    EXPECT_EQ(TickDifference(top + 6, 4), 1); // beyond the range: wrapped first
    EXPECT_EQ(PcrDifference(0, static_cast<std::uint64_t>(kPcrWrap) - 1), 1);
    EXPECT_EQ(ReferenceFromTicks(kTickWrap), 954'437'176'888); // 26.5 hours
    EXPECT_EQ(ReferenceFromPcr(kPcrWrap), ReferenceFromTicks(kTickWrap));
    EXPECT_EQ(TicksFromReference(kReferencePerSecond * 3), 270'000);
}

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
        std::int64_t pcr = 0;
        for (std::uint64_t i = 0; i < 4; ++i, pcr += 40 * kMs) {
            last = clock.OnPcr(static_cast<std::uint64_t>(pcr), i * 100);
            EXPECT_FALSE(last.jump);
            EXPECT_EQ(last.timeline, pcr);
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

// A stream with a PCR only every 0.7 s is taken for jumping once at most.
TEST(PcrClock, LearnsASlowRate) {
    PcrClock clock;
    std::uint32_t segments = 0;
    for (std::uint64_t i = 0; i < 10; ++i) {
        segments = clock.OnPcr(i * 700 * kMs, i * 1000).segment;
    }
    EXPECT_LE(segments, 1U);
}

TEST(PcrClock, GoesByStampsUntilAPcrTells) {
    PcrClock clock;
    clock.OnStamp(90'000, 0);
    EXPECT_EQ(clock.TimelineTicks(90'000 + 3600), 93'600);
    clock.OnStamp(93'600, 50);
    const PcrClock::Reading first = clock.OnPcr(static_cast<std::uint64_t>(45'000 * kPcrPerTick), 60);
    EXPECT_FALSE(first.jump);
    EXPECT_EQ(first.timeline, 45'000 * kPcrPerTick);
    EXPECT_EQ(clock.TimelineTicks(97'200), 97'200);
}

} // namespace
} // namespace vistrame
