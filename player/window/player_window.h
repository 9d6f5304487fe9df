#pragma once

#include "player/window/window_base.h"

namespace vistrame {

// Timers of the player window, besides the stall watchdog's.
inline constexpr UINT_PTR TIMER_STARTUP = 0;     // one shot, placeholder: its tick only ends it
inline constexpr UINT_PTR TIMER_OSD_REFRESH = 2; // refreshes the overlay; nothing in this process starts it
inline constexpr UINT kStartupTimerMsec = 300;

// The process's one window: the video lies inside it, and every command of the analyzer arrives here.
//
// Threads    main thread.
// Ownership  one object for the life of the process. Closing or destroying its window ends the process.
class PlayerWindow final : public WindowBase {
public:
    ~PlayerWindow() override;

    // Inside ParentWindow, or on its own when StandAlone; 720 x 576, shown at once and announced to the
    // parent. Stores MainWindow.
    void CreateAndAnnounce();

    LRESULT OnCommand(WPARAM wParam, WORD notification) override;
    LRESULT OnTimer(WPARAM timer) override;
    LRESULT OnSize(WPARAM sizeType) override;
    void OnPaint(HDC context, const PAINTSTRUCT& paint) override;

    // Hands the analyzer's commands to the dispatcher, and ends the process with the window.
    LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
};

// Constructed before the entry point, destroyed at an orderly process exit.
PlayerWindow& ThePlayerWindow();

} // namespace vistrame
