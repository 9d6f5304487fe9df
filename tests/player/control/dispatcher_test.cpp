// The analyzer's commands as messages to a real player window. The graph's construction is replaced, at link
// time, by one that fills PlayerGraph with recording objects; everything else is the player's own code.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "player/app/debug_log.h"
#include "player/control/osd_element.h"
#include "player/graph/overlay_surface.h"
#include "tests/player/playing_window.h"
#include "tests/support/files.h"

namespace vistrame {
namespace {

using test::Lines;

std::function<int(HWND)> buildGraph; // what a build does in the running test

} // namespace

int PlayerGraph::BuildGraph(HWND ownerWindow) {
    return buildGraph(ownerWindow);
}

namespace {

constexpr int kPlatforms = 1;
constexpr int kMakers = 2;

class Dispatcher : public test::PlayingWindow {
protected:
    static void SetUpTestSuite() { OpenDebugLog(); }

    Dispatcher() : PlayingWindow(-6000) {
        Log();
        buildGraph = [this](HWND owner) {
            const PlayerGraph& graph = ThePlayerGraph();
            EXPECT_EQ(owner, Window());
            EXPECT_FALSE(TimerRuns()) << "the watchdog was not stopped first";
            EXPECT_TRUE(graph.built == 0 && !graph.control && graph.feedData == nullptr)
                << "not torn down first";
            journal.Add("build");
            Fill();
            if ((demultiplexers & kPlatforms) == 0) {
                ThePlayerGraph().videoPidMap.Reset();
                ThePlayerGraph().audioPidMap.Reset();
            }
            if ((demultiplexers & kMakers) != 0) {
                ThePlayerGraph().korvixDemux = demux.As<KorvixDemux>();
            }
            return 1;
        };
    }

    static LRESULT Send(WPARAM code, LPARAM argument) {
        return SendMessageA(Window(), ControlMessage, code, argument);
    }
    static LRESULT Send(CommandCode code, std::uint32_t argument) {
        return Send(static_cast<WPARAM>(code), static_cast<LPARAM>(argument));
    }

    int demultiplexers = kPlatforms; // of the next graph

    // The lines since the last call.
    static std::string Log() {
        static std::size_t seen = 0;
        const std::string all = test::FileContents(test::kDebugLogPath);
        return all.substr(std::exchange(seen, all.size()));
    }
};

TEST_F(Dispatcher, EveryCodeWritesItsLineAndReachesItsObject) {
    const struct {
        WPARAM code;
        LPARAM argument;
        std::string log;
        Lines calls; // with a graph
    } rows[] = {
        {0, 0x1FFF1FFF, "", {}},                      // the PIDs at start: no change
        {0, static_cast<LPARAM>(0xFFFFFFFF), "", {}}, // the same but for bits that do not count
        {3, 0, "RUN message: 00000000\r\n", {"control.Run"}},
        {4, 0x1234ABCD, "STOP message: 1234ABCD\r\n", {"control.Stop"}},
        {5, -1, "PAUSE message: FFFFFFFF\r\n", {"control.Pause"}},
        {6, 7, "SendDisc message: 00000007\r\n", {"feed.SendDiscontinuity"}},
        {7, 0x00121234, "SetPids2: 00121234\r\n", {"feed.SetPids2(1184308)"}},
        {9, 1, "", {}},
        {10, 1, "", {}},
        {12, 1, "", {}},
        {14, 1, "", {}},
        {0x10003, 1, "", {}},
        {static_cast<WPARAM>(-1), 1, "", {}},
    };
    for (const bool graph : {false, true}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(row.code);
            EXPECT_EQ(Send(row.code, row.argument), 0);
            EXPECT_EQ(Log(), row.log);
            EXPECT_EQ(journal.Take(), graph ? row.calls : Lines{});
        }
        EXPECT_EQ(std::exchange(PendingPids2, 0), 0x1234) << "kept for the next build";
        Fill();
    }
}

// The maker's demultiplexer gets its PIDs behind the video's mapping and before the audio's.
TEST_F(Dispatcher, SelectionsRebuildMapAndRunOnlyWhenSomethingChanges) {
    const struct {
        std::uint32_t argument;
        int demultiplexers;
        std::string calls;
    } rows[] = {
        // Audio none: built and mapped, but stopped until a Run.
        {0x01001FFF, kPlatforms, "build control.Stop video.UnmapPID(8191) video.MapPID(256) "},
        {0x01001FFF, kPlatforms, ""},
        // Both: the graph runs once both are in place.
        {0x02000201, kPlatforms,
         "control.Stop build control.Stop video.UnmapPID(256) video.MapPID(512) "
         "control.Stop audio.UnmapPID(8191) audio.MapPID(513) control.Run "},
        {0xE200E201, kPlatforms, ""}, // bits that do not count
        // The video alone: the audio PID is the one mapped last, so nothing runs.
        {0x03000201, kPlatforms, "control.Stop build control.Stop video.UnmapPID(512) video.MapPID(768) "},
        // An unchanged video PID is mapped anew.
        {0x03000000, kPlatforms,
         "control.Stop build control.Stop video.UnmapPID(768) video.MapPID(768) "
         "control.Stop audio.UnmapPID(513) audio.MapPID(0) control.Run "},
        {0x00000000, kPlatforms, "control.Stop build control.Stop video.UnmapPID(768) video.MapPID(0) "},
        // A video PID of 0 is not unmapped, an audio PID of 0 is.
        {0x04000401, kPlatforms,
         "control.Stop build control.Stop video.MapPID(1024) "
         "control.Stop audio.UnmapPID(0) audio.MapPID(1025) control.Run "},
        {0x05000501, kMakers,
         "control.Stop build control.Stop demux.SetPids(1280, 1025, 1280) "
         "control.Stop demux.SetPids(1280, 1281, 1280) control.Run "},
        {0x06000601, kPlatforms | kMakers,
         "control.Stop build control.Stop video.UnmapPID(1280) video.MapPID(1536) demux.SetPids(1536, 1281, "
         "1536) "
         "control.Stop audio.UnmapPID(1281) demux.SetPids(1536, 1537, 1536) audio.MapPID(1537) control.Run "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(test::Line("%08X", row.argument));
        demultiplexers = row.demultiplexers;
        SetTimer(Window(), TIMER_STALL_WATCH, 60000, nullptr);
        EXPECT_EQ(Send(CommandCode::SetPid, row.argument), 0);
        EXPECT_TRUE(TimerRuns());
        std::string calls;
        for (const std::string& call : journal.Take()) {
            calls += call + ' ';
        }
        EXPECT_EQ(calls, row.calls);
        if (calls.empty()) {
            EXPECT_EQ(Log(), "");
            test::PumpFor(50);
            EXPECT_EQ(levels.Take(), Lines{});
        } else {
            std::string log =
                test::Line("Set Pid message: %08X\r\nSet Video: %04X\r\n", row.argument, row.argument >> 16);
            log += row.argument == 0x01001FFF ? "" : test::Line("Set Audio: %04X\r\n", row.argument & 0xFFFF);
            EXPECT_EQ(Log(), log);
            EXPECT_EQ(levels.TakeWhen(2), (Lines{"-10000", "-6000"})) << "the fade-in";
        }
    }
}

TEST_F(Dispatcher, OverlayCommands) {
    const auto show = CommandCode::ShowOverlay;
    const auto move = CommandCode::MoveOsdElement;
    const auto refresh = CommandCode::RefreshOverlay;
    Fill();
    ASSERT_EQ(SetUpOverlaySurface(Window()), 1);
    const Lines shown = {"mixer.SetAlphaBitmap"};
    const struct {
        CommandCode code;
        std::uint32_t argument;
        int element;
        std::int32_t x, y;
        Lines calls;
        std::string log;
    } rows[] = {
        {move, 0x0A12C0F0, 10, 300, 240, shown, "Redraw Overlay: 0A12C0F0\r\n"},
        {move, 0xFFFFFFFF, 255, 4095, 4095, shown, "Redraw Overlay: FFFFFFFF\r\n"},
        {show, 0x0A000001, 10, 300, 240, {"mixer.GetAlphaBitmapParameters", "mixer.SetAlphaBitmap"}, ""},
        {show, 0x0A800000, 10, 300, 240, {"mixer.GetAlphaBitmapParameters", "mixer.SetAlphaBitmap"}, ""},
        {show, 0x0A000000, 10, -500, 240, {"mixer.GetAlphaBitmapParameters"}, ""},
        {move, 0x0A000000, 10, 0, 0, shown, "Redraw Overlay: 0A000000\r\n"},
        {refresh, 0xFFFFFFFF, 255, 4095, 4095, shown, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << std::hex << row.argument);
        mixer.last = nullptr;
        EXPECT_EQ(Send(row.code, row.argument), 0);
        EXPECT_EQ(journal.Take(), row.calls);
        EXPECT_EQ(Log(), row.log);
        EXPECT_EQ(OsdElements.at(row.element).x, row.x);
        EXPECT_EQ(OsdElements.at(row.element).y, row.y);
        EXPECT_EQ(mixer.last, row.calls.back() == shown[0] ? &OverlayAlphaBitmap : nullptr);
    }

    ThePlayerGraph().mixerBitmap.Reset(); // a surface, no mixer: after a teardown
    Send(show, 0x0B000000);
    Send(refresh, 0);
    EXPECT_EQ(OsdElements[11].x, 0);
    Send(move, 0x0B001002);
    EXPECT_EQ(OsdElements[11].x, 1);
    EXPECT_EQ(journal.Take(), Lines{});
}

TEST_F(Dispatcher, EachUnmuteCommandStartsOneMoreFade) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Send(CommandCode::UnmuteAudio, 600), 0);
    }
    EXPECT_EQ(levels.TakeWhen(3), (Lines{"-10000", "-10000", "-10000"}));
    EXPECT_EQ(levels.TakeWhen(3), (Lines{"-6000", "-6000", "-6000"}));
}

TEST_F(Dispatcher, ACommandSentInTheMiddleOfAnotherWaitsForItsEnd) {
    buildGraph = [this, build = buildGraph, nested = false](HWND owner) mutable {
        if (!std::exchange(nested, true)) {
            EXPECT_EQ(Send(CommandCode::Run, 0), 0);
            EXPECT_EQ(Send(CommandCode::SetPid, 0x06000601), 0);
            EXPECT_EQ(Send(CommandCode::Pause, 0), 0);
            EXPECT_EQ(journal.Take(), Lines{}) << "carried out in mid-build";
        }
        return build(owner);
    };
    Send(CommandCode::SetPid, 0x05000501);
    Lines calls = journal.Take();
    std::erase_if(calls, [](const auto& call) { return call.ends_with(')'); });     // PIDs
    EXPECT_EQ(calls, (Lines{"build", "control.Stop", "control.Stop", "control.Run", // the first selection
                            "control.Run",                                          // what waited, in order
                            "control.Stop", "build", "control.Stop", "control.Stop", "control.Run", //
                            "control.Pause"}));
}

// A restart stops the graph, which lets messages in: a selection must not take the graph down underneath it,
// and its new graph is not judged by the old one's counts.
TEST_F(Dispatcher, ACommandSentWhileTheWatchdogRestartsWaitsForItsEnd) {
    Fill();
    ThePlayerGraph().korvixDemux = demux.As<KorvixDemux>();
    stallCounts = {31, 0};
    control.during = [this, nested = false](const std::string& call) mutable {
        if (call == "control.Stop" && !std::exchange(nested, true)) {
            stallCounts = {0, 0};
            Send(CommandCode::SetPid, 0x07000701);
            SendMessageA(Window(), WM_TIMER, TIMER_STALL_WATCH, 0);
        }
    };
    SendMessageA(Window(), WM_TIMER, TIMER_STALL_WATCH, 0);
    control.during = nullptr;
    Lines calls = journal.Take();
    calls.resize(6);
    EXPECT_EQ(calls, (Lines{"demux.GetStallCount(0)", "demux.GetStallCount(1)", "control.Stop", "control.Run",
                            "control.Stop", "build"}));
}

// Ends this process's commands: the last test.
TEST_F(Dispatcher, QuitReleasesTheGraphEndsTheMessageLoopAndIsTheLastCommand) {
    const auto takeQuitMessage = [] {
        MSG message{};
        while (message.message != WM_QUIT && PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
        }
        return message.message == WM_QUIT && message.wParam == 0;
    };
    buildGraph = [&, build = buildGraph](HWND owner) mutable {
        Send(CommandCode::SetPid, 0x06000601);
        EXPECT_EQ(Send(CommandCode::Quit, 5), 0);
        EXPECT_TRUE(takeQuitMessage()) << "a box that holds the build up must close";
        Send(CommandCode::Pause, 0);
        return build(owner);
    };
    Send(CommandCode::SetPid, 0x05000501);
    Lines calls = journal.Take();
    std::erase_if(calls, [](const auto& call) { return call.ends_with(')'); }); // PIDs
    // The selection under way, and then Quit before what came earlier.
    EXPECT_EQ(calls, (Lines{"build", "control.Stop", "control.Stop", "control.Run", "control.Stop"}));
    EXPECT_EQ(ThePlayerGraph().built, 0U);
    EXPECT_TRUE(takeQuitMessage());
    Send(CommandCode::SetPid, 0x06000601);
    EXPECT_EQ(journal.Take(), Lines{}) << "a graph nobody would take down";
}

} // namespace
} // namespace vistrame
