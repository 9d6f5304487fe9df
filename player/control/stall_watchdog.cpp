#include "player/control/stall_watchdog.h"

#include <algorithm>
#include <array>

#include "player/app/process_state.h"
#include "player/app/settings.h"
#include "player/control/in_turn.h"
#include "player/graph/player_graph.h"
#include "player/graph/audio_unmute.h"

namespace vistrame {
namespace {

constexpr UINT kStallWatchMsec = 1000;
constexpr ULONG kNoCount = 0xFFFFFFFF; // no count available
constexpr ULONG kRestartAbove = 30;    // 3 s of stall
constexpr ULONG kEndAbove = 100;       // 10 s

void RestartGraph() {
    IMediaControl* control = ThePlayerGraph().control.Get();
    StopStallWatch();
    (void)control->Stop(); // a graph that cannot restart shows as a longer stall
    (void)control->Run();
    StartStallWatch();
    StartAudioUnmute(ReadAudioUnmuteMsec());
}

void Check() {
    KorvixDemux* demultiplexer = ThePlayerGraph().korvixDemux.Get();
    if (demultiplexer == nullptr) {
        return;
    }
    std::array<ULONG, 2> counts = {0, 0};
    for (ULONG stream = 0; stream < counts.size(); ++stream) {
        (void)demultiplexer->GetStallCount(stream, &counts.at(stream)); // without an answer it stays 0
    }
    const auto eitherAbove = [&counts](ULONG threshold) {
        return std::ranges::any_of(counts,
                                   [=](ULONG count) { return count != kNoCount && count > threshold; });
    };
    if (eitherAbove(kRestartAbove)) {
        RestartGraph();
    }
    if (eitherAbove(kEndAbove)) {
        EndProcessAtOnce();
    }
}

} // namespace

void StartStallWatch() {
    SetTimer(MainWindow, TIMER_STALL_WATCH, kStallWatchMsec, nullptr); // without a timer stalls go unseen
}

void StopStallWatch() {
    KillTimer(MainWindow, TIMER_STALL_WATCH);
}

void CheckForStall() {
    // A tick in the middle of a command is left out: the next comes in a second. A command in the middle of a
    // restart waits for its end, so that these counts never judge another graph.
    if (!IsJobUnderWay()) {
        CarryOutInTurn(Check);
    }
}

} // namespace vistrame
