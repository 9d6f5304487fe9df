// Sizes are written for 96 dots per inch and brought to the screen's here.
#pragma once

#include <windows.h>

namespace vistrame {

// Dots per inch of the screen the window is on.
int DpiOf(HWND window);

// `size` pixels of a screen with 96 dots per inch on this window's screen.
inline int Scaled(HWND window, int size) {
    return MulDiv(size, DpiOf(window), 96);
}

// The system's font for messages, for such a screen; owned by the caller.
HFONT MakeMessageFont(int dpi, bool bold = false);

// A child window with the font set.
HWND MakeChild(HWND parent, const wchar_t* kind, const wchar_t* text, DWORD style, int id, HFONT font,
               DWORD extended = 0);

// The program's own; null: it has none.
HICON ProgramIcon();

// A label without size in front of the next child that is made: what a screen reader calls a list or a bar,
// and whose letter leads to it.
void NameNextChild(HWND parent, const wchar_t* name);

} // namespace vistrame
