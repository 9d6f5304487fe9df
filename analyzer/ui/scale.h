// Sizes are written for 96 dots per inch and brought to the screen's here.
#pragma once

#include <windows.h>

namespace vistrame {

// WM_DPICHANGED, of Windows 8.1: the window came to a screen with other dots per inch. They are the low word
// of the first argument; the second is the place (RECT) to go to.
constexpr UINT kDpiChanged = 0x02E0;

// Dots per inch of the screen the window is on.
int DpiOf(HWND window);

// `size` pixels of a screen with 96 dots per inch on this window's screen.
inline int Scaled(HWND window, int size) {
    return MulDiv(size, DpiOf(window), 96);
}

// The system's font for messages, for such a screen; owned by the caller.
HFONT MakeMessageFont(int dpi, bool bold = false);

// Makes the two fonts of a window anew for such a screen, and gives each of its children the one it has.
void RemakeFonts(HWND window, int dpi, HFONT* font, HFONT* bold);

// A child window with the font set.
HWND MakeChild(HWND parent, const wchar_t* kind, const wchar_t* text, DWORD style, int id, HFONT font,
               DWORD extended = 0);

// The program's own; null: it has none.
HICON ProgramIcon();

// A label without size in front of the next child that is made: what a screen reader calls a list or a bar,
// and whose letter leads to it.
void NameNextChild(HWND parent, const wchar_t* name);

} // namespace vistrame
