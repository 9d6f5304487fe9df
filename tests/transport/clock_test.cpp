// Clock arithmetic across its wraps, and the PCR clock: what it takes for a jump, and where it lays the PCRs then.
#include "transport/clock.h"

#include <gtest/gtest.h>

#include "transport/pcr_clock.h"

namespace vistrame {
namespace {

constexpr std::int64_t kMs = kPcrPerSecond / 1000;

TEST(Clock, DifferencesTakeTheShortWayRound) {
    struct Row {
        std::uint64_t later, earlier;
        std::int64_t ticks;
    };
    const std::uint64_t top = (std::uint64_t{1} << 33) - 1;
    const Row rows[] = {
        {5, 3, 2},
        {3, 5, -2},
        {0, top, 1},
        {top, 0, -1},
        {89'999, top, 90'000},
        {std::uint64_t{1} << 32, 0, -(std::int64_t{1} << 32)},
        {top + 6, 4, 1}, // beyond the range: wrapped first
    };
    for (const Row& row : rows) {
        EXPECT_EQ(TickDifference(row.later, row.earlier), row.ticks) << row.later << " after " << row.earlier;
    }
    EXPECT_EQ(PcrDifference(0, static_cast<std::uint64_t>(kPcrWrap) - 1), 1);
}

TEST(Clock, ConversionsKeepSubUnits) {
    EXPECT_EQ(ReferenceFromTicks(90'000), kReferencePerSecond);
    EXPECT_EQ(ReferenceFromTicks(1), 111);
    EXPECT_EQ(ReferenceFromTicks(-9), -1000);
    EXPECT_EQ(ReferenceFromTicks(kTickWrap), 954'437'176'888); // 26.5 hours
    EXPECT_EQ(ReferenceFromPcr(27), 10);
    EXPECT_EQ(ReferenceFromPcr(kPcrWrap), ReferenceFromTicks(kTickWrap));
    EXPECT_EQ(TicksFromReference(kReferencePerSecond * 3), 270'000);
    EXPECT_EQ(PcrFromReference(kReferencePerSecond), kPcrPerSecond);
}

// PCRs 40 ms and 100 packets apart, then one more after `gapPackets`.
TEST(PcrClock, TellsJumpsFromGapsAndLossesAndWraps) {
    struct Row {
        const char* name;
        std::int64_t start;
        std::int64_t step; // of the last PCR
        std::uint64_t packets;
        bool announced;
        bool jump;
        std::int64_t advance; // on the timeline
    };
    constexpr std::int64_t kHour = 3600 * kPcrPerSecond;
    const Row rows[] = {
        {"steady", 0, 40 * kMs, 100, false, false, 40 * kMs},
        {"late PCR without packets", 0, 450 * kMs, 10, false, false, 450 * kMs},
        {"PCRs missing", 0, 2000 * kMs, 5000, false, false, 2000 * kMs},
        {"small step back", 0, -20 * kMs, 100, false, false, -20 * kMs},
        {"packets lost for 3 s", 0, 3000 * kMs, 100, false, true, 40 * kMs},
        {"an hour ahead", 0, kHour, 100, false, true, 40 * kMs},
        {"10 s back", 100 * kPcrPerSecond, -10 * kPcrPerSecond, 100, false, true, 40 * kMs},
        {"wrap", kPcrWrap - 100 * kMs, 40 * kMs, 100, false, false, 40 * kMs},
        {"announced, but going on", 0, 40 * kMs, 100, true, true, 40 * kMs},
        {"announced jump", 0, kHour, 200, true, true, 80 * kMs},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        PcrClock clock;
        PcrClock::Reading last;
        std::int64_t pcr = row.start;
        for (std::uint64_t i = 0; i < 4; ++i, pcr += 40 * kMs) {
            last = clock.OnPcr(static_cast<std::uint64_t>(pcr), i * 100);
            EXPECT_FALSE(last.jump);
            EXPECT_EQ(last.timeline, pcr); // past the wrap, too
        }
        if (row.announced) {
            clock.ExpectDiscontinuity();
        }
        const std::int64_t raw = (pcr - 40 * kMs + row.step + kPcrWrap) % kPcrWrap;
        const PcrClock::Reading next = clock.OnPcr(static_cast<std::uint64_t>(raw), 300 + row.packets);
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

    PcrClock stampsOnly; // a wrap is no jump, an hour is
    stampsOnly.OnStamp((std::uint64_t{1} << 33) - 1000, 0);
    stampsOnly.OnStamp(2600, 10);
    EXPECT_EQ(stampsOnly.Segment(), 0U);
    EXPECT_EQ(stampsOnly.TimelineTicks(2600), kTickWrap + 2600);
    stampsOnly.OnStamp(2600 + 3600 * 90'000, 20);
    EXPECT_EQ(stampsOnly.Segment(), 1U);
    EXPECT_EQ(stampsOnly.TimelineTicks(2600 + 3600 * 90'000), kTickWrap + 2600);
}

} // namespace
} // namespace vistrame
