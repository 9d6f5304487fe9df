// Time stamps through wraps, jumps, losses and missing PCRs: whatever the stream's clocks do, the timeline goes on and the
// segment says where the time base changed.
#include <gtest/gtest.h>

#include "tests/transport/unit_recorder.h"
#include "transport/clock.h"

namespace vistrame {
namespace {

constexpr Pid kVideo = 0x101;
constexpr Pid kAudio = 0x102;
constexpr std::int64_t kHour = 3600 * kTicksPerSecond;

struct Play {
    explicit Play(const Bytes& bytes, bool announceAt = false, std::size_t seam = 0) {
        StreamDemultiplexer demultiplexer(recorder);
        demultiplexer.AddStream(kVideo, StreamKind::kElementary);
        demultiplexer.AddStream(kAudio, StreamKind::kElementary);
        demultiplexer.Feed(ByteSpan(bytes).first(seam));
        if (announceAt) {
            demultiplexer.AnnounceDiscontinuity();
        }
        demultiplexer.Feed(ByteSpan(bytes).subspan(seam));
        beforeFlush = recorder.units.size();
        demultiplexer.Flush();
    }
    UnitRecorder recorder;
    std::size_t beforeFlush = 0;
};

Bytes Programme(const ProgrammeRecipe& recipe) {
    TsBuilder builder;
    AddProgramme(builder, recipe);
    return Render(builder.packets);
}

Bytes Join(Bytes first, const Bytes& second, std::size_t packetsLost) {
    first.insert(first.end(), second.begin() + static_cast<std::ptrdiff_t>(packetsLost * kPacketSize),
                 second.end());
    return first;
}

// Steps of the decoding time from unit to unit on one PID: smallest and largest.
std::pair<std::int64_t, std::int64_t> Steps(const std::vector<UnitRecorder::Unit>& units) {
    std::pair<std::int64_t, std::int64_t> range{kHour * 100, -kHour * 100};
    std::optional<std::int64_t> last;
    for (const UnitRecorder::Unit& u : units) {
        if (u.unit.dts) {
            if (last) {
                range.first = std::min(range.first, u.unit.dts->timeline - *last);
                range.second = std::max(range.second, u.unit.dts->timeline - *last);
            }
            last = u.unit.dts->timeline;
        }
    }
    return range;
}

TEST(StreamTimeline, RunsThroughTheWraps) {
    // PTS wraps after 10 pictures, the PCR half a second later.
    const Play run(Programme({.start = kTickWrap - kSendAhead - 10 * kPictureTicks, .pictures = 50}));
    EXPECT_EQ(Steps(run.recorder.Of(kVideo)), std::pair(kPictureTicks, kPictureTicks));
    EXPECT_EQ(Steps(run.recorder.Of(kAudio)), std::pair(std::int64_t{2160}, std::int64_t{2160}));
    ASSERT_EQ(run.recorder.clocks.size(), 50U);
    for (std::size_t i = 0; i < 50; ++i) {
        EXPECT_EQ(run.recorder.clocks[i].segment, 0U);
        // The pictures keep their lead over the clock on the common timeline.
        EXPECT_EQ(
            run.recorder.Of(kVideo)[i].unit.dts->timeline - run.recorder.clocks[i].timeline / kPcrPerTick,
            kSendAhead);
    }
}

// The stream is cut at every packet of the first pictures behind a jump, so that units of the new time base come before
// its first PCR in some, behind it in others.
TEST(StreamTimeline, GoesOnAtAJumpWhereverItIsCut) {
    struct Row {
        const char* name;
        std::int64_t jump;
        bool ownPcrPid;
        bool announced;
        bool segment;
    };
    const Row rows[] = {
        {"an hour ahead", kHour, false, false, true},
        {"an hour back", -kHour, false, false, true},
        {"10 s back", -10 * kTicksPerSecond, false, false, true},
        {"3 s ahead", 3 * kTicksPerSecond, false, false, true},
        {"1 s back", -kTicksPerSecond, false, false, true},
        {"an hour ahead, PCR on its own PID", kHour, true, false, true},
        {"10 s back, announced", -10 * kTicksPerSecond, false, true, true},
        {"no jump, announced", 0, true, true, true},
        {"no jump", 0, false, false, false},
    };
    for (const Row& row : rows) {
        ProgrammeRecipe recipe{.start = kHour * 2, .pictures = 20};
        recipe.pcrPid = row.ownPcrPid ? std::optional<Pid>(0x1F0) : std::nullopt;
        const Bytes first = Programme(recipe);
        recipe.firstPicture = 20;
        recipe.start += row.jump;
        const Bytes second = Programme(recipe);
        for (std::size_t lost = 0; lost < 40; ++lost) {
            SCOPED_TRACE(std::string(row.name) + ", " + std::to_string(lost) + " packets lost");
            const Play run(Join(first, second, lost), row.announced, first.size());
            for (const Pid pid : {kVideo, kAudio}) {
                const auto units = run.recorder.Of(pid);
                const auto [least, most] = Steps(units);
                // Up to two pictures and five frames are gone, and how long that was cannot be told.
                EXPECT_GT(least, -kPictureTicks);
                EXPECT_LE(most, 4 * kPictureTicks);
                EXPECT_TRUE(std::ranges::is_sorted(units, {}, [](const auto& u) { return u.unit.segment; }));
                EXPECT_EQ(units.back().unit.segment != 0, row.segment);
                EXPECT_EQ(units.front().unit.segment, 0U);
            }
            const auto jumps = std::ranges::count_if(run.recorder.clocks, &ClockReference::jump);
            EXPECT_EQ(jumps, row.segment ? 1 : 0);
        }
    }
}

// Each unit's segment is that of the clock it was made by: stamps of both sides are never mixed.
TEST(StreamTimeline, UnitsBeforeThePcrOfAJumpBelongBehindIt) {
    ProgrammeRecipe recipe{.start = kHour * 2, .pictures = 20};
    const Bytes first = Programme(recipe);
    recipe.firstPicture = 20;
    recipe.start += kHour;
    const Bytes second = Programme(recipe);
    std::size_t early = 0;
    for (std::size_t lost = 0; lost < 40; ++lost) {
        const Play run(Join(first, second, lost));
        for (const UnitRecorder::Unit& u : run.recorder.units) {
            if (u.unit.dts) {
                const bool behind = static_cast<std::int64_t>(u.unit.dts->raw) > kHour * 2 + kHour / 2;
                EXPECT_EQ(u.unit.segment, behind ? 1U : 0U) << lost;
                early += behind && u.unit.pid == kAudio ? 1 : 0;
            }
        }
    }
    EXPECT_GT(early, 0U);
}

TEST(StreamTimeline, DiscontinuityIndicatorStartsASegment) {
    TsBuilder builder;
    ProgrammeRecipe recipe{.pictures = 10};
    recipe.pcrPid = 0x1F0;
    AddProgramme(builder, recipe);
    builder.AddPcr(0x1F0, (recipe.start + 10 * kPictureTicks) * kPcrPerTick, true);
    recipe.firstPicture = 10;
    AddProgramme(builder, recipe);
    const Play run(Render(builder.packets));
    EXPECT_EQ(Steps(run.recorder.Of(kVideo)), std::pair(kPictureTicks, kPictureTicks));
    EXPECT_EQ(run.recorder.units.back().unit.segment, 1U);
    EXPECT_EQ(std::ranges::count_if(run.recorder.clocks, &ClockReference::jump), 1);
}

// Without any PCR the stamps themselves make the timeline.
TEST(StreamTimeline, DoesWithoutPcrs) {
    ProgrammeRecipe recipe{.start = kTickWrap - kSendAhead - kPictureTicks, .pictures = 20};
    recipe.pcrPid = kNullPid;
    const Bytes first = Programme(recipe);
    recipe.firstPicture = 20;
    recipe.start += kHour;
    Bytes bytes = Join(first, Programme(recipe), 0);
    const Play run(bytes);
    const auto video = run.recorder.Of(kVideo);
    EXPECT_EQ(video.size(), 40U);
    EXPECT_EQ(video.front().unit.segment, 0U);
    EXPECT_EQ(video.back().unit.segment, 1U);
    const auto [least, most] = Steps(video);
    EXPECT_GE(least, 0);
    EXPECT_LE(most, 2 * kPictureTicks);
}

// A unit that waits for the PCR of a jump is not overtaken by one without stamps behind it.
TEST(StreamTimeline, KeepsTheOrderOfAPid) {
    TsBuilder builder;
    const ProgrammeRecipe recipe{.pictures = 10};
    AddProgramme(builder, recipe);
    const std::int64_t behind = recipe.start + kHour;
    for (int i = 0; i < 4; ++i) {
        TsBuilder::Pes pes{.streamId = 0xC0, .bounded = true};
        if (i % 2 == 0) {
            pes.pts = behind + kSendAhead + std::int64_t{i} * 2160;
        }
        builder.AddPes(kAudio, pes, Bytes(50, static_cast<std::uint8_t>(0x80 + i)));
    }
    builder.AddPcr(kVideo, behind * kPcrPerTick);
    const Play run(Render(builder.packets));
    const auto audio = run.recorder.Of(kAudio);
    ASSERT_GE(audio.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(audio[audio.size() - 4 + i].data.at(0), 0x80 + i);
    }
    EXPECT_EQ(run.beforeFlush, run.recorder.units.size());
}

// Stamps half a wrap off the clock, DTS on one side and PTS on the other: they keep their distance.
TEST(StreamTimeline, KeepsPtsAndDtsTogether) {
    TsBuilder builder;
    for (int i = 0; i < 3; ++i) {
        const std::int64_t now = i * kPictureTicks;
        const std::int64_t dts = now + kTickWrap / 2 - 1000;
        builder.AddPes(kVideo, {.pts = dts + kPictureTicks, .dts = dts, .pcr = now * kPcrPerTick},
                       PicturePayload(i));
    }
    const Play run(Render(builder.packets));
    ASSERT_EQ(run.recorder.units.size(), 3U);
    for (const UnitRecorder::Unit& u : run.recorder.units) {
        EXPECT_EQ(u.unit.pts->timeline - u.unit.dts->timeline, kPictureTicks);
    }
}

// PCRs end, and then the stream jumps: units are held only so long, then go by their own stamps.
TEST(StreamTimeline, WaitsForAPcrOnlySoLong) {
    ProgrammeRecipe recipe{.pictures = 20};
    recipe.pcrPid = 0x1F0;
    const Bytes first = Programme(recipe);
    TsBuilder builder;
    recipe.firstPicture = 20;
    recipe.start += kHour;
    recipe.pictures = 200;
    AddProgramme(builder, recipe);
    std::erase_if(builder.packets, [](const auto& packet) { return PacketView(packet).PacketId() == 0x1F0; });
    const Play run(Join(first, Render(builder.packets), 0));
    EXPECT_EQ(run.recorder.units.size(), run.beforeFlush); // all but the wait for the first
    EXPECT_EQ(run.recorder.Of(kVideo).size(), 220U);
    const auto [least, most] = Steps(run.recorder.Of(kVideo));
    EXPECT_GT(least, -5 * kTicksPerSecond);
    EXPECT_LT(most, kTicksPerSecond);
    EXPECT_EQ(run.recorder.units.back().unit.segment, 1U);
}

} // namespace
} // namespace vistrame
