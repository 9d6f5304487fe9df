#pragma once

#include <functional>

#include <windows.h>

namespace vistrame {

// The window that the player opens its own in, as a child of another process.
//
// Units      pixels.
// Threads    the window's.
// Ownership  a child of the parent, and goes with it; borrows the player's window.
class PlayerArea {
public:
    // `announced` is called with the player's window when the player says that it is there.
    explicit PlayerArea(std::function<void(HWND player)> announced);
    PlayerArea(const PlayerArea&) = delete;
    PlayerArea& operator=(const PlayerArea&) = delete;

    // False and GetLastError: the window cannot be made.
    bool Create(HWND parent);
    HWND Window() const { return window_; }
    // The player's window from now on; null when there is none any more.
    void SetPlayer(HWND player);

private:
    static LRESULT CALLBACK Thunk(HWND window, UINT message, WPARAM w, LPARAM l);
    LRESULT OnMessage(UINT message, WPARAM w, LPARAM l);
    void Fit() const;

    const std::function<void(HWND)> announced_;
    const UINT controlMessage_;
    HWND window_ = nullptr;
    HWND player_ = nullptr;
};

} // namespace vistrame
