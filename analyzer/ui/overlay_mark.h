#pragma once

#include <optional>
#include <string>

#include <windows.h>

namespace vistrame {

// A label over the picture, its corner where the overlay element is that the player was asked to show: the
// player keeps the place of each element, hands its whole overlay to the renderer, and draws nothing for it.
//
// Units      the element's place in overlay pixels, 1920 x 1080 over the whole picture; otherwise pixels.
// Threads    the window's.
// Ownership  a window owned by the owner, and goes with it; borrows the font.
class OverlayMark {
public:
    OverlayMark() = default;
    OverlayMark(const OverlayMark&) = delete;
    OverlayMark& operator=(const OverlayMark&) = delete;

    void Create(HWND owner, HFONT font);
    void SetFont(HFONT font) { font_ = font; }
    void Show(POINT element);
    void Hide();
    // Of another colour for a moment: the overlay was handed over once more.
    void Flash();
    // The picture, in screen coordinates. To be called whenever it may have moved.
    void Place(const RECT& picture);

private:
    static LRESULT CALLBACK Thunk(HWND window, UINT message, WPARAM w, LPARAM l);
    void Paint() const;
    std::wstring Text() const;

    HWND window_ = nullptr;
    HFONT font_ = nullptr;
    std::optional<POINT> element_; // nothing: hidden
    RECT place_{};                 // on the screen
    bool flashes_ = false;
};

} // namespace vistrame
