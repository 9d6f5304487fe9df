#include "analyzer/ui/player_notice.h"

#include "analyzer/ui/scale.h"

namespace vistrame {

void PlayerNotice::Create(HWND parent, int againId, int closeId, HFONT font, HFONT bold) {
    what_ = MakeChild(parent, L"STATIC", L"", SS_NOPREFIX | SS_ENDELLIPSIS, 0, bold);
    meaning_ = MakeChild(parent, L"STATIC", L"", SS_NOPREFIX, 0, font);
    again_ = MakeChild(parent, L"BUTTON", L"Start &again", WS_TABSTOP, againId, font);
    close_ = MakeChild(parent, L"BUTTON", L"Close", WS_TABSTOP, closeId, font);
    Say(L"", L"", false);
}

void PlayerNotice::Say(const std::wstring& what, const std::wstring& meaning, bool again) {
    shown_ = !what.empty();
    (void)SetWindowTextW(what_, what.c_str()); // only shown
    (void)SetWindowTextW(meaning_, meaning.c_str());
    offersAgain_ = again;
    Refresh(true);
}

void PlayerNotice::Refresh(bool others) const {
    const bool shown = shown_ && others;
    for (HWND window : {what_, meaning_, close_}) {
        (void)ShowWindow(window, shown ? SW_SHOWNA : SW_HIDE); // answers whether it was shown before
    }
    (void)ShowWindow(again_, shown && offersAgain_ ? SW_SHOWNA : SW_HIDE);
}

int PlayerNotice::Height() const {
    return shown_ ? Scaled(what_, 64) : 0;
}

void PlayerNotice::Place(int x, int y, int width) const {
    const int button = Scaled(what_, 92);
    const int line = Scaled(what_, 18);
    const int gap = Scaled(what_, 8);
    const int text = width - button - gap;
    (void)MoveWindow(what_, x, y, text, line, FALSE); // a lost move shows
    (void)MoveWindow(meaning_, x, y + line, text, Height() - line - gap, FALSE);
    (void)MoveWindow(again_, x + text + gap, y, button, Scaled(what_, 26), FALSE);
    (void)MoveWindow(close_, x + text + gap, y + Scaled(what_, 29), button, Scaled(what_, 26), FALSE);
}

} // namespace vistrame
