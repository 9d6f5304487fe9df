#pragma once

#include <functional>

#include <windows.h>

namespace vistrame::test {

// Runs this thread's message loop until `done` or for `limitMsec`; whether it was done.
inline bool PumpUntil(const std::function<bool()>& done, DWORD limitMsec) {
    const DWORD start = GetTickCount();
    for (;;) {
        MSG message;
        const bool busy = PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != FALSE;
        if (busy) {
            DispatchMessageA(&message);
        }
        if (done()) {
            return true;
        }
        if (GetTickCount() - start >= limitMsec) {
            return false;
        }
        if (!busy) {
            MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT);
        }
    }
}

inline void PumpFor(DWORD msec) {
    (void)PumpUntil([] { return false; }, msec);
}

} // namespace vistrame::test
