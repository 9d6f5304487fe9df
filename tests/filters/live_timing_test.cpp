// Where the streams of a programme are laid on stream time; what a viewer is told about them.
#include <algorithm>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "filters/demux/live_timing.h"
#include "filters/demux/status_text.h"

namespace vistrame::test {

namespace {

constexpr std::int64_t kMs = LiveTiming::kMillisecond;
constexpr unsigned kVideo = LiveTiming::kVideo;
constexpr unsigned kAudio = LiveTiming::kAudio;

// A live programme.
struct Live {
    LiveTiming timing;
    std::int64_t now = 0;  // stream time
    std::int64_t sent = 0; // sender's time
    // How long before its decode time, in the sender's time, a unit arrives; nothing: the stream does not come.
    std::optional<std::int64_t> video = 600 * kMs, audio = 200 * kMs;
    bool jump = false; // the next PCR is the first behind a jump

    Live() {
        timing.Expect(kVideo, true);
        timing.Expect(kAudio, true);
        timing.Start();
    }
    // Sends this much of the programme within this much time.
    void Send(std::int64_t length, std::int64_t within) {
        constexpr std::int64_t kStep = 40 * kMs;
        for (std::int64_t done = 0; done < length; done += kStep) {
            sent += kStep;
            now += within * kStep / length;
            timing.ClockArrived(sent, now, std::exchange(jump, false));
            for (const auto& [stream, ahead] : {std::pair(kVideo, video), std::pair(kAudio, audio)}) {
                if (ahead) {
                    timing.Arrive(stream, sent + *ahead, now);
                }
            }
        }
    }
    void Send(std::int64_t length) { Send(length, length); }

    // How long before its decode time the latest unit of the later stream came in, as laid.
    std::int64_t Lead() {
        const auto offset = timing.Offset(now);
        EXPECT_TRUE(offset.has_value());
        const std::int64_t ahead =
            video && audio ? std::min(*video, *audio) : video.value_or(audio.value_or(0));
        return sent + ahead + offset.value_or(0) - now;
    }
};

} // namespace

// Gaps, backlogs and pauses are in the demultiplexer's tests.
TEST(LiveTiming, SettlesOnTheStreamThatArrivesLatestAndComesBackToIt) {
    struct Row {
        const char* name;
        std::optional<std::int64_t> video = 600 * kMs, audio = 200 * kMs;
        std::int64_t ahead = 0;  // so much is sent at once
        std::int64_t guess = 0;  // where the parser lays a jump: the first PCR's arrival says better
        std::int64_t damage = 0; // of a stamp
    };
    const Row rows[] = {
        {"sound close to the clock", 800 * kMs, 150 * kMs},
        {"picture close to the clock", 100 * kMs, 700 * kMs},
        {"no sound comes", 600 * kMs, {}},
        {"no picture comes", {}, 600 * kMs},
        {.name = "a source that ran ahead", .ahead = 5000 * kMs},
        {.name = "a jump guessed far back", .guess = -300 * kMs},
        {.name = "a jump guessed ahead", .guess = 70 * kMs},
        {.name = "a stamp an hour back", .damage = -3'600'000 * kMs},
        {.name = "a stamp an hour ahead", .damage = 3'600'000 * kMs},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Live live;
        live.video = row.video;
        live.audio = row.audio;
        EXPECT_FALSE(live.timing.Offset(0).has_value());
        live.Send(LiveTiming::kSettleLimit + 40 * kMs);
        EXPECT_EQ(live.Lead(), LiveTiming::kLatency);
        live.Send(60'000 * kMs);
        EXPECT_EQ(live.timing.Rebases(), 1u) << "a steady stream moves nothing";
        if (row.ahead != 0) {
            live.Send(row.ahead, 50 * kMs);
            live.Send(2 * LiveTiming::kWindow); // the one it began in is over, and a whole one too
        }
        live.sent += row.guess;
        live.jump = row.guess != 0;
        if (row.damage != 0) {
            live.timing.Arrive(kVideo, live.sent + row.damage, live.now);
        }
        live.Send(200 * kMs);
        EXPECT_EQ(live.Lead(), LiveTiming::kLatency);
        EXPECT_TRUE(row.damage == 0 || live.timing.Rebases() == 1u);
    }
}

TEST(LiveTiming, SmallDelaysMoveItAtOnceAndItComesBackSlowly) {
    Live live;
    live.Send(2000 * kMs);
    live.now += 150 * kMs; // less than the least lead is left
    live.Send(40 * kMs);
    EXPECT_EQ(live.Lead(), LiveTiming::kLatency);
    live.now -= 400 * kMs; // the line is quick again: everything now comes too early
    live.Send(40 * kMs);
    const std::int64_t early = live.Lead();
    EXPECT_GT(early, LiveTiming::kLatency + LiveTiming::kComfort);
    live.Send(2000 * kMs);
    EXPECT_LT(live.Lead(), early);
    EXPECT_GE(live.Lead(), early - 3 * LiveTiming::kSlew) << "not faster than anyone would notice";
    live.Send(60'000 * kMs);
    EXPECT_NEAR(static_cast<double>(live.Lead()), LiveTiming::kLatency + LiveTiming::kComfort,
                LiveTiming::kSlew);
}

TEST(StatusText, NamesWhyNothingMoves) {
    DemuxStatus before;
    before.time = 0;
    before.packets = 1000;
    before.video = {
        .pid = 0x100, .counters = {.packets = 100, .units = 10}, .stall = 0, .awaitsRandomAccess = false};
    DemuxStatus moved = before;
    moved.time = 5'000'000;
    moved.running = true;
    moved.packets = 2000;
    moved.video.counters.packets = 600;
    moved.video.counters.units = 20;
    struct Row {
        const char* expected;
        void (*change)(DemuxStatus&);
    };
    const Row rows[] = {
        {"Video: PID 0100  1.504 Mbit/s\r\n", [](DemuxStatus&) {}},
        {"Stream: 3.008 Mbit/s\r\n", [](DemuxStatus&) {}},
        {"Audio: no PID selected\r\n", [](DemuxStatus&) {}},
        {"Video: stall count 17\r\n", [](DemuxStatus& now) { now.video.stall = 17; }},
        {"Video: not running\r\n", [](DemuxStatus& now) { now.running = false; }},
        {"Video: no data\r\n", [](DemuxStatus& now) { now.packets = 1000; }},
        {"Video: no such PID in the stream\r\n", [](DemuxStatus& now) { now.video.counters = {}; }},
        {"Video: no more packets of this PID\r\n",
         [](DemuxStatus& now) { now.video.counters.packets = 100; }},
        {"Video: scrambled\r\n",
         [](DemuxStatus& now) { now.video.counters = {.packets = 600, .scrambled = 500, .units = 10}; }},
        {"Video: no random-access picture yet\r\n",
         [](DemuxStatus& now) { now.video.awaitsRandomAccess = true; }},
        {"Video: PID 0100  3 continuity errors, 1 transport errors\r\n",
         [](DemuxStatus& now) {
             now.video.counters.continuityErrors = 3;
             now.video.counters.transportErrors = 1;
         }},
        {"Delay against the clock: 215 ms\r\n", [](DemuxStatus& now) { now.delay = 215 * kMs; }},
        {"Clock: PID 0100\r\n", [](DemuxStatus& now) { now.clockPid = 0x100; }},
    };
    for (const Row& row : rows) {
        DemuxStatus now = moved;
        row.change(now);
        EXPECT_THAT(StatusText(now, before), testing::HasSubstr(row.expected));
    }
    EXPECT_THAT(StatusText(moved, before), testing::Not(testing::HasSubstr("Video: n")))
        << "no reason is needed";
}

} // namespace vistrame::test
