#include "player/app/process_state.h"

namespace vistrame {

HINSTANCE InstanceHandle = nullptr;
UINT ControlMessage = 0;
HANDLE PipeHandle = INVALID_HANDLE_VALUE;
bool StandAlone = true;
HWND MainWindow = nullptr;

void EndProcessAtOnce() {
    TerminateProcess(GetCurrentProcess(), kAbruptExitCode);
    for (;;) { // the call above ends this thread too
        Sleep(INFINITE);
    }
}

} // namespace vistrame
