#pragma once

#include <optional>

#include <windows.h>

namespace vistrame {

// Where in the file the stream is, to be moved, and whether the file is repeated.
//
// Units      seconds of the file; pixels.
// Threads    the window's.
// Ownership  its windows are children of the parent and go with it.
class PositionBar {
public:
    // `loopId` is the identifier under which the parent is notified of the loop's box.
    void Create(HWND parent, int loopId, HFONT font, double seconds, bool loop);
    void Show(bool visible) const;
    // The parent redraws afterwards.
    void Place(int x, int y, int width) const;
    int Height() const;

    void SetPosition(double seconds);
    // The parent's WM_HSCROLL: where the user wants to go, once he lets go.
    std::optional<double> OnScroll(HWND from, int code);
    bool Loop() const;

private:
    HWND bar_ = nullptr;
    HWND loop_ = nullptr;
    HWND time_ = nullptr;
    double seconds_ = 0; // of the whole file
    bool dragging_ = false;
    double keptUntil_ = 0; // the place asked for stands until the stream is there
};

} // namespace vistrame
