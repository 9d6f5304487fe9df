#pragma once

#include <string>

#include <windows.h>

namespace vistrame {

// The strip that says why the player has ended or what else went wrong, and offers to start it again.
//
// Units      pixels.
// Threads    the window's.
// Ownership  its windows are children of the parent and go with it.
class PlayerNotice {
public:
    // The buttons notify the parent under these identifiers.
    void Create(HWND parent, int againId, int closeId, HFONT font, HFONT bold);
    // What happened, and what it means; an empty `what` hides the strip.
    void Say(const std::wstring& what, const std::wstring& meaning, bool again);
    // With the other parts of the window, or gone with them in full screen.
    void Refresh(bool others) const;

    // The parent redraws afterwards.
    void Place(int x, int y, int width) const;
    int Height() const;

private:
    HWND what_ = nullptr;
    HWND meaning_ = nullptr;
    HWND again_ = nullptr;
    HWND close_ = nullptr;
    bool shown_ = false;
    bool offersAgain_ = false;
};

} // namespace vistrame
