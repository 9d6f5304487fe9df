// The entry point. The order of start-up is a contract with the analyzer: the pipe is open before the window
// announces itself, and the announcement is posted before the pipe is read.

#include <winsock2.h>
#include <windows.h>
#include <objbase.h>

#include "player/app/debug_log.h"
#include "player/app/launch_fields.h"
#include "player/app/process_state.h"
#include "player/app/settings.h"
#include "player/control/pipe_reader.h"
#include "player/graph/audio_volume.h"
#include "player/window/player_window.h"
#include "contract/commands.h"
#include "contract/system_dlls.h"

namespace vistrame {
namespace {

void ProcessCommandLine(const char* commandLine) {
    const StartupFields fields = ScanLaunchFields(commandLine);
    PipeHandle = OpenStreamPipe(PipeId);
    StandAlone = false;
    if (fields.openDebugLog != 0) {
        OpenDebugLog();
    }
}

void RunMessageLoop() {
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) { // 0: WM_QUIT, -1: error
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
}

int Run(HINSTANCE instance, const char* commandLine) {
    LoadDllsFromSystemOnly();
    DebugLog("Vistrame Start: %s\r\n", commandLine); // the log cannot be open yet
    ReadSettings();
    WSADATA sockets;
    (void)WSAStartup(MAKEWORD(2, 2), &sockets); // no socket is opened here; without them the player plays too
    InstanceHandle = instance;
    ControlMessage = RegisterWindowMessageA(kControlMessageName);
    if (*commandLine != '\0') {
        ProcessCommandLine(commandLine);
    }
    (void)SetPriorityClass(GetCurrentProcess(), HIGH_PRIORITY_CLASS);
    (void)CoInitialize(nullptr); // a failure shows when the first graph is built
    ThePlayerWindow().CreateAndAnnounce();
    if (ParentWindow != 0) {
        StartPipeReader();
    }
    RunMessageLoop();
    // The last reference to the sound's renderer. Held to the end, its threads would be cut off by the
    // process's end in the midst of whatever lock they hold, and what the end still has to do may need it.
    SetAudioVolume(nullptr);
    CoUninitialize();
    WSACleanup();
    return 0;
}

} // namespace
} // namespace vistrame

int WINAPI WinMain(HINSTANCE hInstance, HINSTANCE /*hPrevInstance*/, LPSTR /*lpCmdLine*/, int /*nShowCmd*/) {
    return vistrame::Run(hInstance, vistrame::ArgumentsBehindProgram(GetCommandLineA()));
}
