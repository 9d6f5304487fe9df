#pragma once

#include <functional>
#include <optional>

#include <windows.h>

#include "transport/picture_shape.h"

namespace vistrame {

// The window that the player opens its own in, as a child of another process.
//
// The player fills what is in its window, so the window is given the shape of the programme: the largest that
// fits, or a whole multiple of the pictures' lines.
//
// Units      pixels.
// Threads    the window's.
// Ownership  a child of the parent, and goes with it; borrows the player's window.
class PlayerArea {
public:
    enum class Fit : std::uint8_t { kFill, kShape, kWholeMultiple };

    struct Events {
        std::function<void(HWND player)> announced; // the player says that it is there
        std::function<void()> doubleClick;          // on the picture or beside it
    };

    explicit PlayerArea(Events events);
    PlayerArea(const PlayerArea&) = delete;
    PlayerArea& operator=(const PlayerArea&) = delete;

    // False and GetLastError: the window cannot be made.
    bool Create(HWND parent);
    HWND Window() const { return window_; }
    // The player's window from now on; null when there is none any more.
    void SetPlayer(HWND player);
    void SetFit(Fit fit);
    // Of the programme's pictures; nothing: not known, they fill the area.
    void SetShape(std::optional<PictureShape> shape);
    // Where the picture is on the screen.
    RECT PictureOnScreen() const;

private:
    static LRESULT CALLBACK Thunk(HWND window, UINT message, WPARAM w, LPARAM l);
    LRESULT OnMessage(UINT message, WPARAM w, LPARAM l);
    void OnPress();
    RECT Place() const;
    void Arrange() const;

    const Events events_;
    const UINT controlMessage_;
    HWND window_ = nullptr;
    HWND player_ = nullptr;
    Fit fit_ = Fit::kFill;
    std::optional<PictureShape> shape_;
    DWORD pressedAt_ = 0; // of the last button press, ms of the system
    POINT pressedWhere_{};
};

} // namespace vistrame
