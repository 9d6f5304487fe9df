// The player's one window with a recording graph behind it, for tests of the commands to the window.
#pragma once

#include <gtest/gtest.h>

#include "contract/commands.h"
#include "player/app/process_state.h"
#include "player/control/stall_watchdog.h"
#include "player/graph/audio_volume.h"
#include "player/graph/player_graph.h"
#include "player/window/player_window.h"
#include "tests/support/messages.h"
#include "tests/support/playback_fakes.h"

namespace vistrame::test {

class PlayingWindow : public testing::Test, protected PlaybackFakes {
protected:
    // Fade-ins rise to `level`; below -40 dB that ends them at once.
    explicit PlayingWindow(long level) {
        if (Window() == nullptr) { // stays: it cannot be destroyed without ending the process
            InstanceHandle = GetModuleHandleA(nullptr);
            ControlMessage = RegisterWindowMessageA(kControlMessageName);
            ThePlayerWindow().CreateAndAnnounce();
            PumpFor(50);
        }
        volume.Use();
        TargetVolume = level;
    }
    ~PlayingWindow() override {
        (void)TimerRuns();
        PumpFor(100); // for the last fade-in thread
        ThePlayerGraph().ReleaseGraph();
        ThePlayerGraph().korvixDemux.Reset();
        SetAudioVolume(nullptr);
    }

    static HWND Window() { return ThePlayerWindow().Handle(); }
    // The watchdog's timer; stops it, too.
    static bool TimerRuns() { return KillTimer(Window(), TIMER_STALL_WATCH) != FALSE; }
};

} // namespace vistrame::test
