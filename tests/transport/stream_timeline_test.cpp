// Time stamps through jumps and losses: whatever the stream's clocks do, the timeline goes on and the
// segment says where the time base changed. Wraps are in the demultiplexer filter's tests.
#include <gtest/gtest.h>

#include "tests/transport/unit_recorder.h"
#include "transport/clock.h"

namespace vistrame {
namespace {

constexpr std::int64_t kHour = 3600 * kTicksPerSecond;

struct Playing : UnitRecorder {
    Playing(const Bytes& first, const Bytes& second, bool announced, std::size_t packetsLost = 0) {
        demultiplexer.Feed(first);
        if (announced) {
            demultiplexer.AnnounceDiscontinuity();
        }
        demultiplexer.Feed(ByteSpan(second).subspan(packetsLost * kPacketSize));
        demultiplexer.Flush();
    }
};

// The continuation of a programme, its clock moved by `jump`.
ProgrammeRecipe Continued(ProgrammeRecipe recipe, std::int64_t jump) {
    recipe.firstPicture += std::exchange(recipe.pictures, 20);
    recipe.start += jump;
    return recipe;
}

// Steps of the decoding time from unit to unit: smallest and largest.
std::pair<std::int64_t, std::int64_t> Steps(std::vector<UnitRecorder::Unit> units) {
    std::erase_if(units, [](const auto& unit) { return !unit.dts; });
    std::pair range(100 * kHour, -100 * kHour);
    for (std::size_t i = 1; i < units.size(); ++i) {
        const std::int64_t step = units[i].dts->timeline - units[i - 1].dts->timeline;
        range = {std::min(range.first, step), std::max(range.second, step)};
    }
    return range;
}

// The stream is cut at every packet of the first pictures behind a jump, so that units of the new time base
// come before its first PCR in some, behind it in others. Stamps of both sides are never mixed.
TEST(StreamTimeline, GoesOnAtAJumpWhereverItIsCut) {
    struct Row {
        const char* name;
        std::int64_t jump;
        std::optional<Pid> pcrPid;
        bool announced, segment;
    };
    const Row rows[] = {
        {"an hour ahead", kHour, {}, false, true},
        {"an hour back", -kHour, {}, false, true},
        {"3 s ahead", 3 * kTicksPerSecond, {}, false, true},
        {"an hour ahead, PCR on its own PID", kHour, 0x1F0, false, true},
        {"10 s back, announced", -10 * kTicksPerSecond, {}, true, true},
        {"no jump, announced", 0, 0x1F0, true, true},
        {"no jump", 0, {}, false, false},
    };
    for (const Row& row : rows) {
        const ProgrammeRecipe recipe{.pcrPid = row.pcrPid, .start = kHour * 2, .pictures = 20};
        const Bytes first = Programme(recipe);
        const Bytes second = Programme(Continued(recipe, row.jump));
        for (std::size_t lost = 0; lost < 40; ++lost) {
            SCOPED_TRACE(testing::Message() << row.name << ", packets lost: " << lost);
            const Playing run(first, second, row.announced, lost);
            EXPECT_EQ(run.Jumps(), row.segment ? 1 : 0);
            for (const Pid pid : {kVideo, kAudio}) {
                const auto units = run.Of(pid);
                const auto [least, most] = Steps(units);
                // Up to two pictures and five frames are gone, and how long that was cannot be known.
                EXPECT_GT(least, -kPictureTicks);
                EXPECT_LE(most, 4 * kPictureTicks);
                EXPECT_TRUE(std::ranges::is_sorted(units, {}, &UnitRecorder::Unit::segment));
                EXPECT_EQ(units.front().segment, 0U);
                EXPECT_EQ(units.back().segment, row.segment ? 1U : 0U);
                for (const UnitRecorder::Unit& unit : units) {
                    if (unit.dts && std::abs(row.jump) == kHour) {
                        const auto moved = static_cast<std::int64_t>(unit.dts->raw) - recipe.start;
                        EXPECT_EQ(unit.segment, std::abs(moved) > kHour / 2 ? 1U : 0U);
                    }
                }
            }
        }
    }
}

TEST(StreamTimeline, DiscontinuityIndicatorStartsASegment) {
    const ProgrammeRecipe recipe{.pcrPid = 0x1F0, .pictures = 10};
    const std::int64_t seam = (recipe.start + 10 * kPictureTicks) * kPcrPerTick;
    for (const std::optional<std::int64_t> pcr : {std::optional(seam), std::optional<std::int64_t>()}) {
        TsBuilder builder;
        AddProgramme(builder, recipe);
        builder.AddPacket(0x1F0, false, {}, 0x80, pcr);
        AddProgramme(builder, Continued(recipe, 0));
        const Playing run({}, Render(builder.packets), false);
        EXPECT_EQ(Steps(run.Of(kVideo)), std::pair(kPictureTicks, kPictureTicks));
        EXPECT_EQ(run.units.back().segment, 1U);
        EXPECT_EQ(run.Jumps(), 1);
    }
}

} // namespace
} // namespace vistrame
