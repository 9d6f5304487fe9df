// Where the streams of a programme are laid on stream time.
#include <gtest/gtest.h>

#include <utility>

#include "filters/demux/live_timing.h"
#include "filters/demux/stall_counter.h"
#include "filters/demux/status_text.h"

namespace vistrame::test {

namespace {

constexpr std::int64_t kMs = LiveTiming::kMillisecond;
constexpr unsigned kVideo = LiveTiming::kVideo;
constexpr unsigned kAudio = LiveTiming::kAudio;

// A live programme: each unit arrives `ahead` before its decode time in the sender's time.
class Sender {
public:
    explicit Sender(LiveTiming& timing) : timing_(timing) {}

    std::int64_t now = 0;  // stream time
    std::int64_t sent = 0; // sender's time
    std::int64_t videoAhead = 600 * kMs;
    std::int64_t audioAhead = 200 * kMs;
    bool video = true;
    bool audio = true;
    bool jump = false; // the next PCR is the first behind a jump

    // Sends this much of the programme within this much time.
    void Send(std::int64_t length, std::int64_t within) {
        constexpr std::int64_t kStep = 40 * kMs;
        for (std::int64_t done = 0; done < length; done += kStep) {
            sent += kStep;
            now += within * kStep / length;
            timing_.ClockArrived(sent, now, std::exchange(jump, false));
            if (video) {
                timing_.Arrive(kVideo, sent + videoAhead, now);
            }
            if (audio) {
                timing_.Arrive(kAudio, sent + audioAhead, now);
            }
        }
    }
    void Send(std::int64_t length) { Send(length, length); }

    // How long before its decode time the latest unit of the later stream came in, as laid.
    std::int64_t Lead() {
        const auto offset = timing_.Offset(now);
        EXPECT_TRUE(offset.has_value());
        const std::int64_t ahead = audio && video ? std::min(audioAhead, videoAhead)
                                   : audio        ? audioAhead
                                                  : videoAhead;
        return sent + ahead + offset.value_or(0) - now;
    }

private:
    LiveTiming& timing_;
};

struct Live {
    LiveTiming timing;
    Sender sender{timing};

    Live() {
        timing.Expect(kVideo, true);
        timing.Expect(kAudio, true);
        timing.Start();
    }
};

} // namespace

TEST(LiveTiming, SettlesOnTheStreamThatArrivesLatest) {
    struct Row {
        std::int64_t videoAhead, audioAhead;
        const char* name;
        bool video, audio;
    };
    const Row rows[] = {
        {800 * kMs, 150 * kMs, "sound close to the clock", true, true},
        {1400 * kMs, 1400 * kMs, "both alike, far ahead", true, true},
        {100 * kMs, 700 * kMs, "picture close to the clock", true, true},
        {600 * kMs, 0, "no sound comes", true, false},
        {0, 600 * kMs, "no picture comes", false, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Live live;
        live.sender.videoAhead = row.videoAhead;
        live.sender.audioAhead = row.audioAhead;
        live.sender.video = row.video;
        live.sender.audio = row.audio;
        EXPECT_FALSE(live.timing.Offset(0).has_value());
        live.sender.Send(LiveTiming::kSettleLimit + 40 * kMs);
        EXPECT_EQ(live.sender.Lead(), LiveTiming::kLatency);
        live.sender.Send(60'000 * kMs);
        EXPECT_EQ(live.sender.Lead(), LiveTiming::kLatency) << "a steady stream moves nothing";
        EXPECT_EQ(live.timing.Rebases(), 1u);
    }
}

TEST(LiveTiming, AGapEndsAtTheLiveEdge) {
    Live live;
    live.sender.Send(2000 * kMs);
    live.sender.now += 3000 * kMs;
    live.sender.Send(3000 * kMs, 10 * kMs); // the backlog at once
    live.sender.Send(200 * kMs);
    EXPECT_NEAR(static_cast<double>(live.sender.Lead()), LiveTiming::kLatency, 10 * kMs);
}

TEST(LiveTiming, ASourceThatStoodStillGoesOnWhereItWas) {
    Live live;
    live.sender.Send(2000 * kMs);
    live.sender.now += 3000 * kMs;
    const std::int64_t back = live.sender.now;
    while (live.sender.now < back + 300 * kMs && !live.timing.Offset(live.sender.now + 1)) {
        live.sender.Send(40 * kMs);
    }
    live.sender.Send(200 * kMs);
    EXPECT_EQ(live.sender.Lead(), LiveTiming::kLatency);
    EXPECT_LE(live.sender.now - back, 300 * kMs);
}

TEST(LiveTiming, APauseEndsAtTheLiveEdge) {
    Live live;
    live.sender.Send(2000 * kMs);
    live.timing.Stop();
    live.sender.Send(10'000 * kMs, 0); // stream time stands while the stream goes on
    live.timing.Start();
    live.sender.Send(200 * kMs);
    EXPECT_EQ(live.sender.Lead(), LiveTiming::kLatency);
    ASSERT_TRUE(live.timing.Delay().has_value());
    EXPECT_LE(*live.timing.Delay(), LiveTiming::kLatency);
}

TEST(LiveTiming, SmallDelaysMoveItAtOnceAndItComesBackSlowly) {
    Live live;
    live.sender.Send(2000 * kMs);
    live.sender.now += 150 * kMs; // less than the least lead is left
    live.sender.Send(40 * kMs);
    EXPECT_EQ(live.sender.Lead(), LiveTiming::kLatency);
    live.sender.now -= 400 * kMs; // the line is quick again: everything now comes too early
    live.sender.Send(40 * kMs);
    const std::int64_t early = live.sender.Lead();
    EXPECT_GT(early, LiveTiming::kLatency + LiveTiming::kComfort);
    live.sender.Send(2000 * kMs);
    EXPECT_LT(live.sender.Lead(), early);
    EXPECT_GE(live.sender.Lead(), early - 3 * LiveTiming::kSlew) << "not faster than anyone would notice";
    live.sender.Send(60'000 * kMs);
    EXPECT_NEAR(static_cast<double>(live.sender.Lead()), LiveTiming::kLatency + LiveTiming::kComfort,
                LiveTiming::kSlew);
}

TEST(LiveTiming, ASourceThatRanAheadIsFollowed) {
    Live live;
    live.sender.Send(2000 * kMs);
    live.sender.Send(5000 * kMs, 50 * kMs);
    live.sender.Send(LiveTiming::kWindow + 400 * kMs);
    EXPECT_EQ(live.sender.Lead(), LiveTiming::kLatency);
}

// The parser guesses where the timeline goes on; the arrival says better, unless a gap came with the jump.
TEST(LiveTiming, AWrongGuessAtAJumpIsTakenBack) {
    for (const std::int64_t guess : {-300 * kMs, -70 * kMs, 0 * kMs, 70 * kMs, 300 * kMs}) {
        SCOPED_TRACE(guess / kMs);
        Live live;
        live.sender.Send(2000 * kMs);
        live.sender.sent += guess;
        live.sender.jump = true;
        live.sender.Send(200 * kMs);
        EXPECT_EQ(live.sender.Lead(), LiveTiming::kLatency);
    }
}

TEST(LiveTiming, ADamagedStampIsNotBelieved) {
    for (const std::int64_t off : {-3'600'000 * kMs, 3'600'000 * kMs}) {
        Live live;
        live.sender.Send(2000 * kMs);
        live.timing.Arrive(kVideo, live.sender.sent + off, live.sender.now);
        live.sender.Send(200 * kMs);
        EXPECT_EQ(live.sender.Lead(), LiveTiming::kLatency);
        EXPECT_EQ(live.timing.Rebases(), 1u);
    }
}

TEST(StallCounter, CountsRunningTimeOnlyAndSurvivesARestart) {
    constexpr std::int64_t kTick = StallCounter::kTick;
    StallCounter counter;
    EXPECT_EQ(counter.Count(0), StallCounter::kNone) << "nothing selected";
    counter.Select(true, 0);
    EXPECT_EQ(counter.Count(5 * kTick), StallCounter::kNone) << "not running";
    counter.Run(10 * kTick);
    EXPECT_EQ(counter.Count(41 * kTick), 31u) << "a stream that never came stalls too";
    counter.Halt(41 * kTick);
    EXPECT_EQ(counter.Count(50 * kTick), StallCounter::kNone);
    counter.Run(50 * kTick);
    EXPECT_EQ(counter.Count(50 * kTick), 31u) << "a watchdog's restart does not hide the stall";
    EXPECT_EQ(counter.Count(60 * kTick), 41u);
    counter.Delivered(60 * kTick);
    EXPECT_EQ(counter.Count(60 * kTick + kTick - 1), 0u);
    counter.Select(false, 60 * kTick);
    EXPECT_EQ(counter.Count(60 * kTick), StallCounter::kNone);
}

TEST(StatusText, NamesWhyNothingMoves) {
    DemuxStatus before;
    before.time = 0;
    before.packets = 1000;
    before.video = {
        .pid = 0x100, .counters = {.packets = 100, .units = 10}, .stall = 0, .awaitsRandomAccess = false};
    const auto moved = [&] {
        DemuxStatus now = before;
        now.time = 5'000'000;
        now.running = true;
        now.packets = 2000;
        now.video.counters.packets = 600;
        now.video.counters.units = 20;
        return now;
    };
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
         [](DemuxStatus& now) {
             now.video.counters.scrambled = 500;
             now.video.counters.units = 10;
         }},
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
        DemuxStatus now = moved();
        row.change(now);
        const std::string text = StatusText(now, before);
        EXPECT_NE(text.find(row.expected), std::string::npos) << row.expected << "is not in\n" << text;
    }
    const std::string text = StatusText(moved(), before);
    EXPECT_EQ(text.find("Video: n"), std::string::npos) << "a stream that moves needs no reason:\n" << text;
}

} // namespace vistrame::test
