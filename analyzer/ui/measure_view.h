#pragma once

#include <optional>

#include <windows.h>

#include "analyzer/session/session.h"

namespace vistrame {

// Draws what is measured beside the picture: the programme's rate over the last minute, its PCRs, the errors
// by their names, and the PIDs that had any.
//
// Units      pixels.
// Threads    the window's.
// Ownership  a child of the parent, and goes with it; borrows the fonts.
class MeasureView {
public:
    MeasureView() = default;
    MeasureView(const MeasureView&) = delete;
    MeasureView& operator=(const MeasureView&) = delete;

    void Create(HWND parent, HFONT font, HFONT bold);
    void SetFonts(HFONT font, HFONT bold) {
        font_ = font;
        bold_ = bold;
    }
    HWND Window() const { return window_; }
    void Show(const MultiplexReading& reading, const Session::Status& status);

private:
    static LRESULT CALLBACK Thunk(HWND window, UINT message, WPARAM w, LPARAM l);
    void Paint();
    std::wstring Spoken() const;
    void Draw(HDC device, const RECT& area) const;
    int DrawRate(HDC device, const RECT& area, int top) const;
    int DrawPcrs(HDC device, const RECT& area, int top) const;
    int DrawErrors(HDC device, const RECT& area, int top) const;
    void DrawPids(HDC device, const RECT& area, int top) const;
    // The height of the line.
    int Text(HDC device, int x, int y, const std::string& text) const;

    HWND window_ = nullptr;
    HFONT font_ = nullptr;
    HFONT bold_ = nullptr;
    MultiplexReading reading_;
    std::optional<ProgrammeReading> programme_; // that plays
    std::string picture_;                       // how long the first picture took
    std::wstring spoken_;                       // of what is drawn, for screen readers
};

} // namespace vistrame
