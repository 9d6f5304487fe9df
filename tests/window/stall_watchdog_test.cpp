// Ticks of the stall watchdog on a real window with real timers, over a graph that records.
#include "window/stall_watchdog.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/process_state.h"
#include "app/settings.h"
#include "graph/audio_volume.h"
#include "graph/player_graph.h"
#include "tests/support/child_process.h"
#include "tests/support/files.h"
#include "tests/support/messages.h"
#include "tests/support/player_fakes.h"
#include "tests/support/settings_key.h"
#include "window/player_window.h"

namespace vistrame {
namespace {

using Calls = std::vector<std::string>;

class StallWatchdog : public testing::Test {
protected:
    StallWatchdog() {
        InstanceHandle = GetModuleHandleA(nullptr);
        if (ThePlayerWindow().Handle() == nullptr) {
            ThePlayerWindow().CreateAndAnnounce();
        }
        control.during = [this](const std::string&) { timerWhileRestarting |= TimerRuns(); };
        ThePlayerGraph().control = &control;
        ThePlayerGraph().korvixDemux = &demux;
        volume.AddRef();
        SetAudioVolume(&volume);
        TargetVolume = -5000; // the fade ends at once
    }

    ~StallWatchdog() override {
        KillTimer(Window(), TIMER_STALL_WATCH);
        test::PumpFor(100); // for the last fade-in thread
        ThePlayerGraph().control.Reset();
        ThePlayerGraph().korvixDemux.Reset();
        SetAudioVolume(nullptr);
        TerminateOnVideoStall = 0;
    }

    static HWND Window() { return ThePlayerWindow().Handle(); }

    // Also stops it.
    static bool TimerRuns() { return KillTimer(Window(), TIMER_STALL_WATCH) != FALSE; }

    LRESULT Tick(ULONG video, ULONG audio) {
        demux.counts[0] = video;
        demux.counts[1] = audio;
        demux.asked = 0;
        SetTimer(Window(), TIMER_STALL_WATCH, 60000, nullptr);
        return SendMessageA(Window(), WM_TIMER, TIMER_STALL_WATCH, 0);
    }

    test::Journal journal;
    test::Journal levels;
    test::FakeControl control{journal};
    test::FakeKorvixDemux demux{journal};
    test::FakeVolume volume{levels};
    bool timerWhileRestarting = false;
};

TEST_F(StallWatchdog, RestartsTheGraphAboveThirtyAndOnlyThen) {
    const struct {
        ULONG video, audio;
        bool restarts;
    } rows[] = {
        {0, 0, false},   {30, 30, false},  {30, 0xFFFFFFFF, false}, {0xFFFFFFFF, 0xFFFFFFFF, false},
        {31, 0, true},   {0, 31, true},    {0xFFFFFFFF, 31, true},  {31, 0xFFFFFFFF, true},
        {30, 100, true}, {100, 100, true},
    };
    const test::SettingsKey settings; // no AudioUnmuteMsec: the fade-in starts at once
    TerminateOnVideoStall = 1;        // says nothing either way
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.video << ' ' << row.audio);
        EXPECT_EQ(Tick(row.video, row.audio), 0);
        EXPECT_EQ(demux.asked, 2);
        EXPECT_EQ(journal.Take(), row.restarts ? (Calls{"Stop", "Run"}) : Calls{});
        EXPECT_FALSE(timerWhileRestarting) << "the timer ran while the graph was restarted";
        EXPECT_TRUE(TimerRuns());
        if (row.restarts) {
            EXPECT_EQ(levels.TakeWhen(2), (Calls{"-10000", "-5000"}));
        } else {
            test::PumpFor(50);
            EXPECT_EQ(levels.Take(), Calls{});
        }
    }
}

TEST_F(StallWatchdog, KeepsTickingEverySecondAfterARestart) {
    Tick(31, 0);
    demux.asked = 0;
    EXPECT_TRUE(test::PumpUntil([this] { return demux.asked == 2; }, 5000))
        << "the restarted timer never ticked";
    EXPECT_EQ(journal.Take(), (Calls{"Stop", "Run", "Stop", "Run"}))
        << "each tick above the threshold restarts";
}

TEST_F(StallWatchdog, IsInertWithoutTheMakersDemultiplexer) {
    ThePlayerGraph().korvixDemux.Reset();
    ThePlayerGraph().control.Reset();
    EXPECT_EQ(Tick(500, 500), 0);
    EXPECT_EQ(demux.asked, 0);
    EXPECT_TRUE(TimerRuns());
}

TEST_F(StallWatchdog, TheSilenceBeforeTheFadeInIsReadAtEachRestart) {
    const test::SettingsKey settings;
    settings.Set("AudioUnmuteMsec", 600);
    Tick(31, 0);
    EXPECT_EQ(levels.TakeWhen(1), Calls{"-10000"});
    test::PumpFor(200);
    EXPECT_EQ(levels.Take(), Calls{});
    EXPECT_EQ(levels.TakeWhen(1), Calls{"-5000"});
}

// A tick that also ends the process, in a process of its own; what it did before is in the file it leaves.
std::string JournalPath() {
    return "C:\\stall-journal.txt";
}

class DISABLED_StallChild : public StallWatchdog {
protected:
    void TickAndDie(ULONG video, ULONG audio) {
        control.during = [](const std::string& call) {
            std::ofstream(JournalPath(), std::ios::app) << call << ' ' << TimerRuns() << '\n';
        };
        Tick(video, audio);
        std::ofstream(JournalPath(), std::ios::app) << "survived";
    }
};

TEST_F(DISABLED_StallChild, Video101) {
    TickAndDie(101, 0);
}
TEST_F(DISABLED_StallChild, AudioOnly500) {
    TickAndDie(0xFFFFFFFF, 500);
}
TEST_F(DISABLED_StallChild, Both100) {
    TickAndDie(100, 100);
}

TEST(StallEnd, RestartsAndThenEndsTheProcessInTheSameTick) {
    const struct {
        const char* test;
        DWORD exitCode;
        std::string journal;
    } rows[] = {
        {"DISABLED_StallChild.Video101", 0xFFFFFFFF, "Stop 0\nRun 0\n"},
        {"DISABLED_StallChild.AudioOnly500", 0xFFFFFFFF, "Stop 0\nRun 0\n"},
        {"DISABLED_StallChild.Both100", 0, "Stop 0\nRun 0\nsurvived"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.test);
        DeleteFileA(JournalPath().c_str());
        EXPECT_EQ(test::RunDisabledTest(row.test), row.exitCode);
        std::string journal = test::FileContents(JournalPath());
        journal.erase(std::remove(journal.begin(), journal.end(), '\r'), journal.end());
        EXPECT_EQ(journal, row.journal);
    }
}

} // namespace
} // namespace vistrame
