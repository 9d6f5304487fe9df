#include "window/stall_watchdog.h"

#include <algorithm>
#include <array>

#include "app/process_state.h"
#include "app/settings.h"
#include "graph/player_graph.h"
#include "window/audio_unmute.h"
#include "window/player_window.h"

namespace vistrame {
namespace {

constexpr ULONG kNoCount = 0xFFFFFFFF;
constexpr ULONG kRestartAbove = 30; // 3 s of stall
constexpr ULONG kEndAbove = 100;    // 10 s

void RestartGraph(HWND playerWindow) {
    // The reference of its own: a command sent to the window while the graph stops may release the graph's.
    const Microsoft::WRL::ComPtr<IMediaControl> control = ThePlayerGraph().control;
    KillTimer(playerWindow, TIMER_STALL_WATCH);
    (void)control->Stop(); // a graph that cannot restart shows as a longer stall
    (void)control->Run();
    SetTimer(playerWindow, TIMER_STALL_WATCH, kStallWatchMsec, nullptr);
    StartAudioUnmute(ReadAudioUnmuteMsec());
}

} // namespace

void CheckForStall(HWND playerWindow) {
    const Microsoft::WRL::ComPtr<KorvixDemux> demultiplexer = ThePlayerGraph().korvixDemux;
    if (!demultiplexer) {
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

} // namespace vistrame
