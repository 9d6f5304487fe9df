// Selection, clock PID and delivery times of the demultiplexer on intact streams. That handlers may change
// everything is for the fuzzer.
#include "transport/stream_demultiplexer.h"

#include <gtest/gtest.h>

#include "tests/transport/unit_recorder.h"
#include "transport/clock.h"

namespace vistrame {
namespace {

TEST(StreamDemultiplexer, DeliversWhatIsSelectedAsAsked) {
    UnitRecorder recorder({kVideo, 0x777});
    StreamDemultiplexer& demultiplexer = recorder.demultiplexer;
    demultiplexer.AddStream(kAudio, StreamKind::kPes);
    demultiplexer.Feed(Programme({.pictures = 13}));
    demultiplexer.Flush();

    const auto video = recorder.Of(kVideo);
    ASSERT_EQ(video.size(), 13U);
    for (std::size_t i = 0; i < video.size(); ++i) {
        EXPECT_EQ(video[i].bytes, PicturePayload(static_cast<int>(i)));
        EXPECT_EQ(video[i].randomAccess, i % 12 == 0);
        EXPECT_EQ(video[i].pts->raw - video[i].dts->raw, static_cast<std::uint64_t>(kPictureTicks));
    }
    const auto audio = recorder.Of(kAudio);
    const Bytes pes =
        MakePes({.streamId = 0xC0, .pts = 1'000'000 + kSendAhead, .bounded = true}, AudioPayload(0));
    EXPECT_EQ(audio.at(0).bytes, pes);
    EXPECT_EQ(audio.at(0).coding, Coding::kMpegAudio);

    demultiplexer.Reset(); // the selection stays
    EXPECT_EQ(demultiplexer.Counters(kVideo).units, 0U);
    EXPECT_FALSE(demultiplexer.Programmes().PatSeen());
    EXPECT_EQ(demultiplexer.SelectedPids(), (std::vector<Pid>{kVideo, 0x777, kAudio}));
}

TEST(StreamDemultiplexer, FindsTheClock) {
    struct Row {
        const char* name;
        std::vector<Pid> selected;
        std::optional<Pid> wanted;
        bool tables;
        Pid clock;
        int jumps;
    };
    const Row rows[] = {
        {"by PMT", {0x101}, {}, true, 0x1F0, 0},
        {"by PMT of the first selected, which comes second", {0x202, 0x101}, {}, true, 0x201, 1},
        {"by what carries PCRs, without tables", {0x102, 0x201}, {}, false, 0x201, 0},
        {"asked for", {0x101}, 0x201, true, 0x201, 0},
        {"none without selection", {}, {}, true, kNullPid, 0},
    };
    for (const Row& row : rows) {
        TsBuilder builder;
        for (int i = 0; i < 10; ++i) {
            if (i == 0 && row.tables) {
                builder.AddPat({{1, 0x100}, {2, 0x200}});
                builder.AddPmt(0x100, 1, 0x1F0, {{0x101, 0x02, {}}, {0x102, 0x03, {}}});
            } else if (i == 1 && row.tables) {
                builder.AddPmt(0x200, 2, 0x201, {{0x201, 0x02, {}}, {0x202, 0x03, {}}});
            }
            builder.AddPcr(0x1F0, i * kPictureTicks * kPcrPerTick);
            builder.AddPcr(0x201, (i * kPictureTicks + 77'000'000) * kPcrPerTick);
        }
        UnitRecorder recorder(row.selected);
        recorder.demultiplexer.SetClockPid(row.wanted);
        recorder.demultiplexer.Feed(Render(builder.packets));
        EXPECT_EQ(recorder.demultiplexer.ClockPid(), row.clock) << row.name;
        EXPECT_EQ(recorder.clocks.empty(), row.clock == kNullPid) << row.name;
        EXPECT_EQ(recorder.Jumps(), row.jumps) << row.name;
    }
}

// The PMT moves a stream to another PID: the table says so, the clock follows, and the timeline goes on.
TEST(StreamDemultiplexer, FollowsAChangedPmt) {
    UnitRecorder recorder({kAudio});
    TsBuilder builder;
    AddProgramme(builder, {.pictures = 6});
    AddProgramme(builder, {.videoPid = 0x111, .pictures = 6, .firstPicture = 6});
    recorder.demultiplexer.Feed(Render(builder.packets));
    EXPECT_EQ(recorder.demultiplexer.ClockPid(), 0x111);
    EXPECT_EQ(recorder.programmeChanges, 3); // PAT, PMT, PMT
    EXPECT_EQ(recorder.clocks.size(), 12U);
    const auto audio = recorder.Of(kAudio);
    EXPECT_EQ(audio.back().dts->timeline - audio.front().dts->timeline,
              static_cast<std::int64_t>(audio.size() - 1) * kFrameTicks);
}

// When units come out, by packet: a bounded one with its last, an unbounded one with its padded last, or else
// with the next start.
TEST(StreamDemultiplexer, DeliversAsSoonAsAUnitIsCertain) {
    struct Row {
        const char* name;
        bool bounded, early;
        std::size_t payload;                       // 170 fill a packet behind the header of 14
        std::vector<std::size_t> unitsAfterPacket; // two units, then flush
    };
    const Row rows[] = {
        {"bounded", true, true, 300, {0, 1, 1, 2, 2}},
        {"unbounded, padded", false, true, 300, {0, 1, 1, 2, 2}},
        {"unbounded, padded, not early", false, false, 300, {0, 0, 1, 1, 2}},
        {"unbounded, exactly full", false, true, 170 + 184, {0, 0, 1, 1, 2}},
    };
    for (const Row& row : rows) {
        UnitRecorder recorder({kVideo});
        recorder.demultiplexer.EarlyUnits(row.early);
        TsBuilder builder;
        for (std::size_t i = 0; i < PacketCutter::kSyncsToLock; ++i) {
            builder.AddPacket(kNullPid, false, Bytes(184));
        }
        recorder.demultiplexer.Feed(Render(std::exchange(builder.packets, {})));
        for (const std::int64_t pts : {90'000, 93'600}) {
            builder.AddPes(kVideo, {.pts = pts, .bounded = row.bounded}, Bytes(row.payload, 0x55));
        }
        std::vector<std::size_t> units;
        for (const TsBuilder::Packet& packet : builder.packets) {
            recorder.demultiplexer.Feed(packet);
            units.push_back(recorder.units.size());
        }
        recorder.demultiplexer.Flush();
        units.push_back(recorder.units.size());
        EXPECT_EQ(units, row.unitsAfterPacket) << row.name;
    }
}

// Wherever the break falls: what was under way comes out, marked when it lost its end to it; the first unit
// of each PID behind it is marked, the next is not, and no counter is compared across.
TEST(StreamDemultiplexer, AnnouncedDiscontinuityMarksWhatItTouches) {
    const Bytes bytes = Programme({.pictures = 3});
    std::size_t cut = 0;
    for (std::size_t seam = PacketCutter::kSyncsToLock * kPacketSize; seam < bytes.size();
         seam += kPacketSize) {
        SCOPED_TRACE(seam);
        UnitRecorder recorder;
        recorder.demultiplexer.Feed(ByteSpan(bytes).first(seam));
        recorder.demultiplexer.AnnounceDiscontinuity();
        for (const UnitRecorder::Unit& u : recorder.Of(kAudio)) {
            EXPECT_EQ(u.discontinuity, u.bytes.size() < AudioPayload(0).size());
            cut += u.discontinuity ? 1 : 0;
        }
        recorder.units.clear();
        recorder.demultiplexer.Feed(bytes); // the file from its beginning
        for (const Pid pid : {kVideo, kAudio}) {
            EXPECT_TRUE(recorder.Of(pid).at(0).discontinuity);
            EXPECT_FALSE(recorder.Of(pid).at(1).discontinuity);
            EXPECT_EQ(recorder.demultiplexer.Counters(pid).continuityErrors, 0U);
        }
    }
    EXPECT_GT(cut, 0U);
}

} // namespace
} // namespace vistrame
