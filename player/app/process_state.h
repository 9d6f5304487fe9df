// What start-up produces for the rest of the process.
//
// Threads    written by the main thread at start-up; PipeHandle belongs to the pipe reader once that runs.
#pragma once

#include <windows.h>

namespace vistrame {

extern HINSTANCE InstanceHandle; // for the menu and icon resources
extern UINT ControlMessage;      // number of the registered message between analyzer and player
extern HANDLE PipeHandle;        // client end of the stream pipe; INVALID_HANDLE_VALUE when not connected
extern bool StandAlone;          // true until a non-empty command line has been processed
extern HWND MainWindow;          // the player window; owner of the error box; null until created

// Exit code of every end but the one by the command Quit.
inline constexpr UINT kAbruptExitCode = 0xFFFFFFFF;

// Ends the process without any clean-up: how the player follows an analyzer that is gone and gives up on what
// cannot be mended. Any thread.
[[noreturn]] void EndProcessAtOnce();

} // namespace vistrame
