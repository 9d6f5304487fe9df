#include "window/stall_watchdog.h"

#include <algorithm>
#include <array>

#include "app/process_state.h"
#include "app/settings.h"
#include "control/in_turn.h"
#include "graph/player_graph.h"
#include "window/audio_unmute.h"
#include "window/player_window.h"

namespace vistrame {
namespace {

constexpr ULONG kNoCount = 0xFFFFFFFF;
constexpr ULONG kRestartAbove = 30; // 3 s of stall
constexpr ULONG kEndAbove = 100;    // 10 s

void RestartGraph(HWND playerWindow) {
    IMediaControl* control = ThePlayerGraph().control.Get();
    KillTimer(playerWindow, TIMER_STALL_WATCH);
    (void)control->Stop(); // a graph that cannot restart shows as a longer stall
    (void)control->Run();
    SetTimer(playerWindow, TIMER_STALL_WATCH, kStallWatchMsec, nullptr);
    StartAudioUnmute(ReadAudioUnmuteMsec());
}

void Check(HWND playerWindow) {
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
        RestartGraph(playerWindow);
    }
    if (eitherAbove(kEndAbove)) {
        EndProcessAtOnce();
    }
}

} // namespace

void CheckForStall(HWND playerWindow) {
    // A tick in the middle of a command is left out: the next comes in a second. A command in the middle of a restart
    // waits for its end, so that these counts never judge another graph.
    if (!IsJobUnderWay()) {
        CarryOutInTurn([=] { Check(playerWindow); });
    }
}

} // namespace vistrame
