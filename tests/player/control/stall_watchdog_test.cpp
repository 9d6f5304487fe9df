// Ticks of the stall watchdog on a real window with real timers, over a graph that records.
#include "player/control/stall_watchdog.h"

#include <cstdlib>
#include <iostream>

#include "player/app/settings.h"
#include "tests/player/playing_window.h"
#include "tests/support/settings_key.h"

namespace vistrame {
namespace {

using test::Lines;

class StallWatchdog : public test::PlayingWindow {
protected:
    StallWatchdog() : PlayingWindow(-5000) {
        control.during = [](const std::string& call) { EXPECT_FALSE(TimerRuns()) << "during " << call; };
        ThePlayerGraph().control = control.As<IMediaControl>();
        ThePlayerGraph().korvixDemux = demux.As<KorvixDemux>();
    }

    LRESULT Tick(ULONG video, ULONG audio) {
        stallCounts = {video, audio};
        SetTimer(Window(), TIMER_STALL_WATCH, 60000, nullptr);
        return SendMessageA(Window(), WM_TIMER, TIMER_STALL_WATCH, 0);
    }

    const Lines asked = {"demux.GetStallCount(0)", "demux.GetStallCount(1)"};
    const test::SettingsKey settings; // no AudioUnmuteMsec: the fade-in starts at once
};

TEST_F(StallWatchdog, RestartsTheGraphAboveThirtyAndOnlyThen) {
    const struct {
        ULONG video, audio;
        bool restarts;
    } rows[] = {
        {30, 30, false},        {0xFFFFFFFF, 0xFFFFFFFF, false}, {31, 0, true},    {0, 31, true},
        {0xFFFFFFFF, 31, true}, {31, 0xFFFFFFFF, true},          {100, 100, true},
    };
    TerminateOnVideoStall = 1; // says nothing either way
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.video << ' ' << row.audio);
        EXPECT_EQ(Tick(row.video, row.audio), 0);
        const Lines restarted = {asked[0], asked[1], "control.Stop", "control.Run"};
        EXPECT_EQ(journal.Take(), row.restarts ? restarted : asked);
        EXPECT_TRUE(TimerRuns());
        if (row.restarts) {
            EXPECT_EQ(levels.TakeWhen(2), (Lines{"-10000", "-5000"}));
        } else {
            test::PumpFor(50);
            EXPECT_EQ(levels.Take(), Lines{});
        }
    }
    TerminateOnVideoStall = 0;
}

TEST_F(StallWatchdog, IsInertWithoutTheMakersDemultiplexer) {
    ThePlayerGraph().korvixDemux.Reset();
    ThePlayerGraph().control.Reset();
    EXPECT_EQ(Tick(500, 500), 0);
    EXPECT_EQ(journal.Take(), Lines{});
    EXPECT_TRUE(TimerRuns());
}

// In a process of its own, which says what it still does.
TEST_F(StallWatchdog, RestartsAndThenEndsTheProcessInTheSameTick) {
    const auto tick = [this](ULONG video, ULONG audio) {
        control.during = [](const std::string& call) { std::cerr << call << ' ' << std::flush; };
        Tick(video, audio);
        std::cerr << "survived" << std::flush;
        std::exit(0);
    };
    EXPECT_EXIT(tick(101, 0), testing::ExitedWithCode(-1), "control.Stop control.Run $");
    EXPECT_EXIT(tick(0xFFFFFFFF, 500), testing::ExitedWithCode(-1), "control.Stop control.Run $");
    EXPECT_EXIT(tick(100, 100), testing::ExitedWithCode(0), "control.Stop control.Run survived$");
}

} // namespace
} // namespace vistrame
