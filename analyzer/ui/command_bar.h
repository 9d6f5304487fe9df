#pragma once

#include <windows.h>

#include "analyzer/session/script.h"

namespace vistrame {

// The row of buttons that become the player's commands.
//
// Units      pixels.
// Threads    the window's.
// Ownership  its windows are children of the parent and go with it.
class CommandBar {
public:
    // The buttons notify the parent under `firstId` and the numbers behind it.
    void Create(HWND parent, int firstId, HFONT font);
    // The parent redraws afterwards.
    void Place(int x, int y) const;
    static int Height();

    // What the parent's WM_COMMAND of this identifier asks for; nothing: it is none of the buttons.
    std::optional<Action> ActionOf(int id) const;

private:
    HWND parent_ = nullptr;
    int firstId_ = 0;
};

} // namespace vistrame
