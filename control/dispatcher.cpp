// The command dispatcher: the player window's message handler.
//
// Threads    main thread. One command at a time: one that the system delivers while another is being carried out
//            (a message box or a call into the graph lets messages in) waits until that one is done. Quit waits
//            only for the one under way, closes its message boxes, and nothing comes after it.
// Errors     a command whose object is missing, and an unknown code, does nothing; every command answers 0.

#include <winsock2.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "app/debug_log.h"
#include "app/process_state.h"
#include "app/settings.h"
#include "control/commands.h"
#include "control/in_turn.h"
#include "graph/player_graph.h"
#include "osd/osd_element.h"
#include "osd/overlay_redraw.h"
#include "osd/overlay_surface.h"
#include "window/audio_unmute.h"
#include "window/player_window.h"

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
    HWND window = ThePlayerWindow().Handle();
    KillTimer(window, TIMER_STALL_WATCH); // before the teardown: its tick relies on a graph
    graph.ReleaseGraph();
    if (graph.BuildGraph(window) == 0) {
        EndProcessAtOnce(); // reported already
    }
    SetTimer(window, TIMER_STALL_WATCH, kStallWatchMsec, nullptr);
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

struct Command {
    CommandCode code;
    std::uint32_t argument;
};

void CarryOut(const Command& command) {
    const auto* row = std::ranges::find(kCommands, command.code, &CommandRow::code);
    if (row == kCommands.end()) {
        return;
    }
    if (row->logName != nullptr) {
        DebugLog("%s: %08X\r\n", row->logName, static_cast<unsigned>(command.argument));
    }
    row->carryOut(command.argument);
}

void Dispatch(const Command& command) {
    if (command.code != CommandCode::Quit) {
        CarryOutInTurn([command] { CarryOut(command); });
        return;
    }
    if (IsJobUnderWay()) {
        // A message box that holds up the job under way closes, and nobody is needed for it.
        PostQuitMessage(0);
    }
    CarryOutAsLast([command] { CarryOut(command); });
}

} // namespace

LRESULT PlayerWindow::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == ControlMessage) {
        const Command command = {static_cast<CommandCode>(wParam), static_cast<std::uint32_t>(lParam)};
        Dispatch(command);
        if (command.code == CommandCode::Quit) {
            return 0;
        }
    }
    if (message == WM_DESTROY || message == WM_CLOSE) {
        closesocket(processSocket);
        EndProcessAtOnce();
    }
    return WindowBase::HandleMessage(message, wParam, lParam);
}

} // namespace vistrame
