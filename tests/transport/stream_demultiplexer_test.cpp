// Selection, clock PID, delivery times and call-backs of the demultiplexer on intact streams.
#include "transport/stream_demultiplexer.h"

#include <gtest/gtest.h>

#include "tests/transport/unit_recorder.h"
#include "transport/clock.h"

namespace vistrame {
namespace {

constexpr Pid kVideo = 0x101;
constexpr Pid kAudio = 0x102;

Bytes Programme(int pictures = 13) {
    TsBuilder builder;
    AddProgramme(builder, {.pictures = pictures});
    return Render(builder.packets);
}

TEST(StreamDemultiplexer, DeliversWhatIsSelectedAsAsked) {
    UnitRecorder recorder;
    StreamDemultiplexer demultiplexer(recorder);
    demultiplexer.AddStream(kVideo, StreamKind::kElementary);
    demultiplexer.AddStream(kAudio, StreamKind::kPes);
    demultiplexer.AddStream(0x777, StreamKind::kElementary);
    demultiplexer.Feed(Programme());
    demultiplexer.Flush();

    const auto video = recorder.Of(kVideo);
    ASSERT_EQ(video.size(), 13U);
    for (std::size_t i = 0; i < video.size(); ++i) {
        EXPECT_EQ(video[i].data, PicturePayload(static_cast<int>(i)));
        EXPECT_EQ(video[i].unit.randomAccess, i % 12 == 0);
        EXPECT_EQ(video[i].unit.coding, Coding::kMpeg2Video);
        EXPECT_EQ(video[i].unit.pts->raw - video[i].unit.dts->raw, static_cast<std::uint64_t>(kPictureTicks));
    }
    const auto audio = recorder.Of(kAudio);
    const Bytes pes =
        MakePes({.streamId = 0xC0, .pts = 1'000'000 + kSendAhead, .bounded = true}, AudioPayload(0));
    EXPECT_EQ(audio.at(0).data, pes);
    EXPECT_EQ(audio.at(0).unit.coding, Coding::kMpegAudio);
    EXPECT_TRUE(audio.at(0).unit.randomAccess);

    EXPECT_EQ(demultiplexer.Counters(kVideo).units, 13U);
    EXPECT_EQ(demultiplexer.Counters(kVideo).randomAccessPoints, 2U);
    EXPECT_EQ(demultiplexer.Counters(kAudio).bytes, audio.size() * pes.size());
    EXPECT_EQ(demultiplexer.Counters(0x777).packets, 0U);
    EXPECT_EQ(demultiplexer.Programmes().FindStream(0x777), nullptr);
    EXPECT_EQ(demultiplexer.SelectedPids(), (std::vector<Pid>{kVideo, kAudio, 0x777}));

    // From the beginning once more, selection kept.
    recorder.units.clear();
    demultiplexer.Reset();
    EXPECT_EQ(demultiplexer.Counters(kVideo).units, 0U);
    EXPECT_FALSE(demultiplexer.Programmes().PatSeen());
    demultiplexer.RemoveStream(kAudio);
    demultiplexer.Feed(Programme());
    demultiplexer.Flush();
    EXPECT_EQ(recorder.units.size(), 13U);
    EXPECT_EQ(recorder.units.front().unit.segment, 0U);
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
        {"none that anyone knows of", {0x102}, {}, false, kNullPid, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        TsBuilder builder;
        builder.AddPat({{1, 0x100}, {2, 0x200}});
        for (int i = 0; i < 10; ++i) {
            AddProgramme(builder, {.pcrPid = 0x1F0, .pictures = 1, .firstPicture = i});
            AddProgramme(builder, {.number = 2,
                                   .pmtPid = 0x200,
                                   .videoPid = 0x201,
                                   .audioPid = 0x202,
                                   .pcrPid = std::nullopt,
                                   .start = 77'000'000,
                                   .pictures = 1,
                                   .firstPicture = i});
        }
        // One table for both instead of one each in turn.
        bool first = true;
        std::erase_if(builder.packets, [&](const TsBuilder::Packet& packet) {
            const Pid pid = PacketView(packet).PacketId();
            const bool pat = pid == kPatPid && !std::exchange(first, false);
            return pat || (!row.tables && (pid == kPatPid || pid == 0x100 || pid == 0x200));
        });
        UnitRecorder recorder;
        StreamDemultiplexer demultiplexer(recorder);
        demultiplexer.SetClockPid(row.wanted);
        for (const Pid pid : row.selected) {
            demultiplexer.AddStream(pid, StreamKind::kElementary);
        }
        demultiplexer.Feed(Render(builder.packets));
        EXPECT_EQ(demultiplexer.ClockPid(), row.clock);
        EXPECT_EQ(recorder.clocks.empty(), row.clock == kNullPid);
        EXPECT_EQ(std::ranges::count_if(recorder.clocks, &ClockReference::jump), row.jumps);
    }
}

// Changing to the other programme while running: its clock is taken over at its next PCR, as a jump, and its first units
// are laid by that.
TEST(StreamDemultiplexer, ChangesProgrammeWhileRunning) {
    TsBuilder builder;
    std::size_t change = 0;
    for (int i = 0; i < 30; ++i) {
        builder.AddPat({{1, 0x100}, {2, 0x200}});
        builder.AddPmt(0x100, 1, 0x101, {{0x101, 0x02, {}}});
        builder.AddPmt(0x200, 2, 0x2F0, {{0x201, 0x1B, {}}});
        const std::int64_t now = 90'000 + i * kPictureTicks;
        builder.AddPes(0x101, {.pts = now + kSendAhead, .pcr = now * kPcrPerTick}, PicturePayload(i));
        change = i == 15 ? builder.packets.size() * kPacketSize : change;
        // 3 s on, and the PCR behind the picture: what is there before it could belong to the other clock.
        const std::int64_t other = now + 3 * kTicksPerSecond;
        builder.AddPes(0x201, {.pts = other + kSendAhead}, PicturePayload(i));
        builder.AddPcr(0x2F0, other * kPcrPerTick);
    }
    const Bytes bytes = Render(builder.packets);
    UnitRecorder recorder;
    StreamDemultiplexer demultiplexer(recorder);
    demultiplexer.AddStream(0x101, StreamKind::kElementary);
    demultiplexer.Feed(ByteSpan(bytes).first(change));
    demultiplexer.RemoveStream(0x101);
    demultiplexer.AddStream(0x201, StreamKind::kElementary);
    demultiplexer.Feed(ByteSpan(bytes).subspan(change));
    EXPECT_EQ(demultiplexer.ClockPid(), 0x2F0);
    EXPECT_EQ(std::ranges::count_if(recorder.clocks, &ClockReference::jump), 1);
    const auto before = recorder.Of(0x101);
    const auto after = recorder.Of(0x201);
    ASSERT_GT(after.size(), 10U);
    EXPECT_EQ(after.front().unit.coding, Coding::kH264);
    EXPECT_GT(after.front().unit.segment, before.back().unit.segment);
    const std::int64_t step = after.front().unit.dts->timeline - before.back().unit.dts->timeline;
    EXPECT_GE(step, 0);
    EXPECT_LE(step, 3 * kPictureTicks);
}

// The PMT moves a stream to another PID: the table says so, and the clock follows.
TEST(StreamDemultiplexer, FollowsAChangedPmt) {
    TsBuilder builder;
    AddProgramme(builder, {.pictures = 6});
    AddProgramme(builder, {.videoPid = 0x111, .pictures = 6, .firstPicture = 6});
    UnitRecorder recorder;
    StreamDemultiplexer demultiplexer(recorder);
    demultiplexer.AddStream(kAudio, StreamKind::kElementary);
    demultiplexer.Feed(Render(builder.packets));
    EXPECT_EQ(demultiplexer.ClockPid(), 0x111);
    EXPECT_EQ(recorder.programmeChanges, 3); // PAT, PMT, PMT
    EXPECT_NE(demultiplexer.Programmes().FindStream(0x111), nullptr);
    EXPECT_EQ(recorder.clocks.size(), 12U);
    const auto audio = recorder.Of(kAudio);
    for (std::size_t i = 1; i < audio.size(); ++i) {
        EXPECT_EQ(audio[i].unit.dts->timeline - audio[i - 1].unit.dts->timeline, 2160);
    }
}

// When units come out, by packet: a bounded one with its last, an unbounded one with its padded last, or else with the
// next start.
TEST(StreamDemultiplexer, DeliversAsSoonAsAUnitIsCertain) {
    struct Row {
        const char* name;
        bool bounded;
        bool early;
        std::size_t payload;                       // 170 fill a packet behind the header of 14
        std::vector<std::size_t> unitsAfterPacket; // two units, then flush
    };
    const Row rows[] = {
        {"bounded", true, true, 300, {0, 1, 1, 2, 2}},
        {"bounded, exactly full", true, true, 170, {1, 2, 2}},
        {"unbounded, padded", false, true, 300, {0, 1, 1, 2, 2}},
        {"unbounded, padded, not early", false, false, 300, {0, 0, 1, 1, 2}},
        {"unbounded, exactly full", false, true, 170 + 184, {0, 0, 1, 1, 2}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        TsBuilder builder;
        for (int i = 0; i < 2; ++i) {
            builder.AddPes(kVideo, {.pts = 90'000 + i * kPictureTicks, .bounded = row.bounded},
                           Bytes(row.payload, 0x55));
        }
        UnitRecorder recorder;
        StreamDemultiplexer demultiplexer(recorder);
        demultiplexer.EarlyUnits(row.early);
        demultiplexer.AddStream(kVideo, StreamKind::kElementary);
        TsBuilder null;
        null.AddPacket(kNullPid, false, Bytes(184));
        for (std::size_t i = 0; i < PacketCutter::kSyncsToLock; ++i) {
            demultiplexer.Feed(null.packets[0]);
        }
        std::vector<std::size_t> units;
        for (const TsBuilder::Packet& packet : builder.packets) {
            demultiplexer.Feed(packet);
            units.push_back(recorder.units.size());
        }
        demultiplexer.Flush();
        units.push_back(recorder.units.size());
        EXPECT_EQ(units, row.unitsAfterPacket);
        for (const UnitRecorder::Unit& u : recorder.units) {
            EXPECT_EQ(u.data.size(), row.payload);
        }
    }
}

// A multiplexer that pads in the middle: the first unit comes in two parts, from then on whole.
TEST(StreamDemultiplexer, GivesUpEarlyDeliveryWhereItProvesWrong) {
    TsBuilder builder;
    for (int i = 0; i < 3; ++i) {
        const Bytes pes = MakePes({.pts = 90'000 + i * kPictureTicks}, PicturePayload(1));
        std::size_t at = builder.AddPacket(kVideo, true, ByteSpan(pes).first(100)); // padded
        while (at < pes.size()) {
            at += builder.AddPacket(kVideo, false, ByteSpan(pes).subspan(at));
        }
    }
    UnitRecorder recorder;
    StreamDemultiplexer demultiplexer(recorder);
    demultiplexer.AddStream(kVideo, StreamKind::kElementary);
    demultiplexer.Feed(Render(builder.packets));
    demultiplexer.Flush();
    ASSERT_EQ(recorder.units.size(), 4U);
    Bytes both = recorder.units[0].data;
    both.insert(both.end(), recorder.units[1].data.begin(), recorder.units[1].data.end());
    EXPECT_EQ(both, PicturePayload(1));
    EXPECT_TRUE(recorder.units[1].unit.continued);
    EXPECT_FALSE(recorder.units[1].unit.discontinuity);
    EXPECT_EQ(recorder.units[2].data, PicturePayload(1));
    EXPECT_EQ(recorder.units[3].data, PicturePayload(1));
}

TEST(StreamDemultiplexer, AnnouncedDiscontinuityMarksWhatItTouches) {
    TsBuilder builder;
    AddProgramme(builder, {.pictures = 13});
    const Bytes bytes = Render(builder.packets);
    // In the middle of the last picture, an I picture of 22 packets; audio stands behind it.
    const std::size_t seam = bytes.size() - 20 * kPacketSize;
    UnitRecorder recorder;
    StreamDemultiplexer demultiplexer(recorder);
    demultiplexer.AddStream(kVideo, StreamKind::kElementary);
    demultiplexer.AddStream(kAudio, StreamKind::kElementary);
    demultiplexer.Feed(ByteSpan(bytes).first(seam));
    demultiplexer.AnnounceDiscontinuity();
    const std::size_t before = recorder.units.size();
    EXPECT_EQ(recorder.units.back().unit.pid, kVideo); // what was under way came out
    EXPECT_LT(recorder.units.back().data.size(), PicturePayload(12).size());
    demultiplexer.Feed(bytes); // the file from its beginning
    EXPECT_EQ(demultiplexer.Counters(kVideo).continuityErrors, 0U);
    for (const Pid pid : {kVideo, kAudio}) {
        std::vector<bool> flags;
        for (std::size_t i = before; i < recorder.units.size() && flags.size() < 2; ++i) {
            if (recorder.units[i].unit.pid == pid) {
                flags.push_back(recorder.units[i].unit.discontinuity);
            }
        }
        EXPECT_EQ(flags, (std::vector{true, false})) << pid;
    }
}

// Wherever the break falls, an audio frame that lost its end to it says so.
TEST(StreamDemultiplexer, AnnouncedDiscontinuityMarksCutFrames) {
    const Bytes bytes = Programme(3);
    std::size_t cut = 0;
    for (std::size_t seam = PacketCutter::kSyncsToLock * kPacketSize; seam < bytes.size();
         seam += kPacketSize) {
        UnitRecorder recorder;
        StreamDemultiplexer demultiplexer(recorder);
        demultiplexer.AddStream(kAudio, StreamKind::kElementary);
        demultiplexer.Feed(ByteSpan(bytes).first(seam));
        demultiplexer.AnnounceDiscontinuity();
        for (const UnitRecorder::Unit& u : recorder.units) {
            EXPECT_EQ(u.unit.discontinuity, u.data.size() < AudioPayload(0).size()) << seam;
            cut += u.unit.discontinuity ? 1 : 0;
        }
    }
    EXPECT_GT(cut, 0U);
}

// What a handler asks for happens when it has returned, and nothing delivered is taken from under it.
TEST(StreamDemultiplexer, HandlersMayChangeEverything) {
    struct Row {
        const char* name;
        std::function<void(StreamDemultiplexer&)> change; // from inside the third unit of video
        std::size_t video, audio;                         // units of the whole stream then
    };
    const Row rows[] = {
        {"nothing", [](StreamDemultiplexer&) {}, 13, 22},
        {"deselect itself", [](StreamDemultiplexer& d) { d.RemoveStream(kVideo); }, 3, 22},
        {"deselect all", [](StreamDemultiplexer& d) { d.RemoveAllStreams(); }, 3, 3},
        {"select again", [](StreamDemultiplexer& d) { d.AddStream(kVideo, StreamKind::kPes); }, 13, 22},
        {"reset", [](StreamDemultiplexer& d) { d.Reset(); }, 13, 22},
        {"flush", [](StreamDemultiplexer& d) { d.Flush(); }, 13, 22},
        {"announce", [](StreamDemultiplexer& d) { d.AnnounceDiscontinuity(); }, 13, 22},
        {"other clock", [](StreamDemultiplexer& d) { d.SetClockPid(0x55); }, 13, 22},
    };
    for (const Row& row : rows) {
        for (const bool early : {true, false}) {
            SCOPED_TRACE(std::string(row.name) + (early ? ", early" : ""));
            UnitRecorder recorder;
            StreamDemultiplexer demultiplexer(recorder);
            demultiplexer.EarlyUnits(early);
            demultiplexer.AddStream(kVideo, StreamKind::kElementary);
            demultiplexer.AddStream(kAudio, StreamKind::kElementary);
            int seen = 0;
            recorder.onUnit = [&](const StreamUnit& unit) {
                if (unit.pid == kVideo && ++seen == 3) {
                    const Bytes before(unit.data.begin(), unit.data.end());
                    row.change(demultiplexer);
                    EXPECT_TRUE(std::ranges::equal(before, unit.data));
                    EXPECT_TRUE(demultiplexer.Selected(kVideo)); // not yet
                }
            };
            demultiplexer.Feed(Programme());
            demultiplexer.Flush();
            // Selected again by a unit that came out with the next one's start, that next one is missed.
            const bool missed = !early && std::string_view(row.name) == "select again";
            EXPECT_EQ(recorder.Of(kVideo).size(), row.video - (missed ? 1 : 0));
            // Which frames stand before the third picture's end depends on when it came out.
            EXPECT_NEAR(static_cast<double>(recorder.Of(kAudio).size()), static_cast<double>(row.audio), 2);
        }
    }
}

} // namespace
} // namespace vistrame
