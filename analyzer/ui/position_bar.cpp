#include "analyzer/ui/position_bar.h"

#include <cmath>

#include <windows.h>
// Needs the former.
#include <commctrl.h>

#include "analyzer/base/event_log.h"
#include "analyzer/base/text.h"
#include "analyzer/base/utf8.h"
#include "analyzer/ui/scale.h"

namespace vistrame {

namespace {

constexpr double kSteps = 10; // a second; a day has 864,000 of them

std::string TimeText(double seconds) {
    const auto whole = static_cast<unsigned>(seconds);
    return whole >= 3600 ? Format("%u:%02u:%02u", whole / 3600, whole / 60 % 60, whole % 60)
                         : Format("%u:%02u", whole / 60, whole % 60);
}

} // namespace

void PositionBar::Create(HWND parent, int loopId, HFONT font, double seconds, bool loop) {
    seconds_ = seconds;
    NameNextChild(parent, L"Pos&ition in the file");
    bar_ = MakeChild(parent, TRACKBAR_CLASSW, L"Position in the file", WS_TABSTOP | TBS_HORZ | TBS_NOTICKS, 0,
                     font);
    (void)SendMessageW(bar_, TBM_SETRANGEMAX, FALSE, static_cast<LPARAM>(std::lround(seconds * kSteps)));
    (void)SendMessageW(bar_, TBM_SETLINESIZE, 0, static_cast<LPARAM>(5 * kSteps));
    (void)SendMessageW(bar_, TBM_SETPAGESIZE, 0, static_cast<LPARAM>(60 * kSteps));
    time_ = MakeChild(parent, L"STATIC", L"", SS_CENTERIMAGE, 0, font);
    loop_ = MakeChild(parent, L"BUTTON", L"&Loop", WS_TABSTOP | BS_AUTOCHECKBOX, loopId, font);
    (void)SendMessageW(loop_, BM_SETCHECK, loop ? BST_CHECKED : BST_UNCHECKED, 0);
}

void PositionBar::Show(bool visible) const {
    for (HWND window : {bar_, loop_, time_}) {
        (void)ShowWindow(window, visible ? SW_SHOWNA : SW_HIDE); // answers whether it was shown before
    }
}

int PositionBar::Height() const {
    return Scaled(bar_, 26);
}

void PositionBar::Place(int x, int y, int width) const {
    const int time = Scaled(bar_, 110);
    const int loop = Scaled(bar_, 60);
    const int gap = Scaled(bar_, 8);
    (void)MoveWindow(bar_, x, y, width - time - loop - 2 * gap, Height(), FALSE); // a lost move shows
    (void)MoveWindow(time_, x + width - time - loop - gap, y, time, Height(), FALSE);
    (void)MoveWindow(loop_, x + width - loop, y, loop, Height(), FALSE);
}

void PositionBar::SetPosition(double seconds) {
    const std::wstring text = Widen(TimeText(seconds) + " of " + TimeText(seconds_));
    wchar_t before[64];
    (void)GetWindowTextW(time_, before, 64); // empty at first
    if (text != before) {
        (void)SetWindowTextW(time_, text.c_str()); // only shown
    }
    if (!dragging_ && EventLog::Now() > keptUntil_) {
        (void)SendMessageW(bar_, TBM_SETPOS, TRUE, static_cast<LPARAM>(std::lround(seconds * kSteps)));
    }
}

std::optional<double> PositionBar::OnScroll(HWND from, int code) {
    constexpr double kSettleMsec = 600;
    if (from != bar_) {
        return std::nullopt;
    }
    dragging_ = code == TB_THUMBTRACK;
    if (code == TB_THUMBTRACK || code == TB_ENDTRACK) {
        return std::nullopt; // goes on, or was asked for already
    }
    keptUntil_ = EventLog::Now() + kSettleMsec;
    return static_cast<double>(SendMessageW(bar_, TBM_GETPOS, 0, 0)) / kSteps;
}

bool PositionBar::Loop() const {
    return SendMessageW(loop_, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

} // namespace vistrame
