// Each command's row says what its line in the log is and what it does.

#include "player/control/dispatcher.h"

#include <winsock2.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "player/app/debug_log.h"
#include "player/app/process_state.h"
#include "player/app/settings.h"
#include "contract/commands.h"
#include "player/control/in_turn.h"
#include "player/graph/player_graph.h"
#include "player/control/osd_element.h"
#include "player/control/stall_watchdog.h"
#include "player/graph/overlay_redraw.h"
#include "player/graph/overlay_surface.h"
#include "player/graph/audio_unmute.h"

namespace vistrame {
namespace {

// The PIDs of the last SetPid that was carried out.
PidPair currentPids = {kNullPid, kNullPid};

SOCKET processSocket = 0; // never opened; closed with the window all the same

void SetPid(std::uint32_t argument) {
    const PidPair pids = UnpackPids(argument);
    if (pids == currentPids) {
        return;
    }
    DebugLog("Set Pid message: %08X\r\n", static_cast<unsigned>(argument));

    PlayerGraph& graph = ThePlayerGraph();
    StopStallWatch(); // before the teardown: its tick relies on a graph
    graph.ReleaseGraph();
    if (graph.BuildGraph(MainWindow) == 0) {
        EndProcessAtOnce(); // reported already
    }
    StartStallWatch();
    StartAudioUnmute(ReadAudioUnmuteMsec());
    graph.SetVideoPid(pids.video, 1);
    graph.SetAudioPid(pids.audio, 0); // runs the graph, unless the audio PID stays as it was or is none
    currentPids = pids;
}

void ShowOverlay(std::uint32_t argument) {
    const auto& mixer = ThePlayerGraph().mixerBitmap;
    if (!mixer) {
        return;
    }
    VMR9AlphaBitmap current{};
    (void)mixer->GetAlphaBitmapParameters(&current); // asked for and not used, on purpose
    const ElementArgument position = UnpackElement(argument);
    if (position.x == 0 && position.y == 0) {
        OsdElements.at(position.element).x = kHiddenElementX;
    } else {
        (void)mixer->SetAlphaBitmap(&OverlayAlphaBitmap); // a renderer that cannot mix shows no overlay
    }
}

void MoveOsdElement(std::uint32_t argument) {
    if (OverlaySurface == nullptr) {
        return;
    }
    const ElementArgument position = UnpackElement(argument);
    OsdElement& element = OsdElements.at(position.element);
    element.x = position.x;
    element.y = position.y;
    DebugLog("Redraw Overlay: %08X\r\n", static_cast<unsigned>(argument));
    RedrawOverlay();
}

// Results of running, stopping and pausing are ignored: what went wrong is seen on the screen.
void Run(std::uint32_t /*argument*/) {
    if (const auto control = ThePlayerGraph().control) {
        (void)control->Run();
    }
}

void Stop(std::uint32_t /*argument*/) {
    if (const auto control = ThePlayerGraph().control) {
        (void)control->Stop();
    }
}

void Pause(std::uint32_t /*argument*/) {
    if (const auto control = ThePlayerGraph().control) {
        (void)control->Pause();
    }
}

void SendDisc(std::uint32_t /*argument*/) {
    // Without FeedLock: only this thread releases the interface, and the feed filter allows calls side by
    // side.
    if (FeedData* feed = ThePlayerGraph().feedData; feed != nullptr) {
        (void)feed->SendDiscontinuity();
    }
}

void SetPids2(std::uint32_t argument) {
    PendingPids2 = static_cast<std::uint16_t>(argument);
    if (FeedData* feed = ThePlayerGraph().feedData; feed != nullptr) {
        (void)feed->SetPids2(argument);
    }
}

void UnmuteAudio(std::uint32_t argument) {
    StartAudioUnmute(argument);
}

void Quit(std::uint32_t /*argument*/) {
    ThePlayerGraph().ReleaseGraph();
    PostQuitMessage(0);
}

void RefreshOverlay(std::uint32_t /*argument*/) {
    if (ThePlayerGraph().mixerBitmap) {
        RedrawOverlay();
    }
}

struct CommandRow {
    CommandCode code;
    const char* logName; // written with the argument before anything is checked; null: no such line
    void (*carryOut)(std::uint32_t argument);
};

constexpr std::array kCommands = {
    CommandRow{CommandCode::SetPid, nullptr, SetPid},
    CommandRow{CommandCode::ShowOverlay, nullptr, ShowOverlay},
    CommandRow{CommandCode::MoveOsdElement, nullptr, MoveOsdElement},
    CommandRow{CommandCode::Run, "RUN message", Run},
    CommandRow{CommandCode::Stop, "STOP message", Stop},
    CommandRow{CommandCode::Pause, "PAUSE message", Pause},
    CommandRow{CommandCode::SendDisc, "SendDisc message", SendDisc},
    CommandRow{CommandCode::SetPids2, "SetPids2", SetPids2},
    CommandRow{CommandCode::UnmuteAudio, nullptr, UnmuteAudio},
    CommandRow{CommandCode::Quit, nullptr, Quit},
    CommandRow{CommandCode::RefreshOverlay, nullptr, RefreshOverlay},
};

void CarryOut(CommandCode code, std::uint32_t argument) {
    const auto* row = std::ranges::find(kCommands, code, &CommandRow::code);
    if (row == kCommands.end()) {
        return;
    }
    if (row->logName != nullptr) {
        DebugLog("%s: %08X\r\n", row->logName, static_cast<unsigned>(argument));
    }
    row->carryOut(argument);
}

} // namespace

void DispatchCommand(CommandCode code, std::uint32_t argument) {
    const auto job = [=] { CarryOut(code, argument); };
    if (code != CommandCode::Quit) {
        CarryOutInTurn(job);
        return;
    }
    if (IsJobUnderWay()) {
        // A message box that holds up the job under way closes, and nobody is needed for it.
        PostQuitMessage(0);
    }
    CarryOutAsLast(job);
}

void EndWithWindow() {
    closesocket(processSocket);
    EndProcessAtOnce();
}

} // namespace vistrame
