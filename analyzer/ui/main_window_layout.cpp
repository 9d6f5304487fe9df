// Where the parts of the main window are.
#include <algorithm>

#include <windows.h>
// Needs the former.
#include <commctrl.h>
#include <shellapi.h>

#include "analyzer/base/utf8.h"
#include "analyzer/source/address.h"
#include "analyzer/ui/main_window.h"
#include "analyzer/ui/remembered.h"
#include "analyzer/ui/scale.h"
#include "contract/system_dlls.h"

namespace vistrame {

namespace {

constexpr UINT_PTR kTick = 1;
constexpr UINT kTickMsec = 250;

// For 96 dots per inch.
constexpr int kGap = 10;
constexpr int kLeftWidth = 290;
constexpr int kMeasuresHeight = 326;
constexpr int kStatusHeight = 20;
// Where the player opens its window; SD television.
constexpr int kAreaWidth = 720;
constexpr int kAreaHeight = 576;
constexpr DWORD kFramed = WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN;
// Wine without a window manager draws the frame itself and then forgets it when the player, another process,
// draws into its window: the picture would be shifted by the frame's size.
constexpr DWORD kFrameless = WS_POPUP | WS_CLIPCHILDREN;

} // namespace

bool MainWindow::Create() {
    if (auto* const load = SystemFunction<BOOL WINAPI(const INITCOMMONCONTROLSEX*)>(L"comctl32.dll",
                                                                                    "InitCommonControlsEx")) {
        const INITCOMMONCONTROLSEX kinds{sizeof kinds, ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES};
        (void)load(&kinds); // a window without lists is made all the same
    }
    HINSTANCE instance = GetModuleHandleW(nullptr);
    WNDCLASSEXW kind{};
    kind.cbSize = sizeof kind;
    kind.lpfnWndProc = Thunk;
    kind.hInstance = instance;
    kind.hCursor = LoadCursorA(nullptr, IDC_ARROW);
    kind.hIcon = ProgramIcon();
    kind.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    kind.lpszClassName = L"VistrameAnalyzer";
    (void)RegisterClassExW(&kind); // stays registered when another file is opened
    const std::wstring title =
        (IsLive(file_.Path()) ? Widen(file_.Path()) : FilePath(file_.Path()).filename().wstring()) +
        L" - Vistrame analyzer";
    if (CreateWindowExW(0, L"VistrameAnalyzer", title.c_str(), forPeople_ ? kFramed : kFrameless,
                        CW_USEDEFAULT, CW_USEDEFAULT, 800, 600, nullptr, nullptr, instance,
                        this) == nullptr ||
        !area_.Create(window_)) {
        return false;
    }
    CreateControls();
    const auto placement = options_.WindowMode() ? RememberedPlacement() : std::nullopt;
    if (!placement || !SetWindowPlacement(window_, &*placement)) {
        // As large in the eye of a user as on any screen; a script counts pixels.
        const int dpi = forPeople_ ? DpiOf(window_) : 96;
        SizeArea(MulDiv(kAreaWidth, dpi, 96), MulDiv(kAreaHeight, dpi, 96));
    }
    DragAcceptFiles(window_, forPeople_ ? TRUE : FALSE);
    (void)ShowWindow(window_, SW_SHOWNORMAL); // answers whether it was shown before
    (void)SetFocus(list_.Window());
    return SetTimer(window_, kTick, kTickMsec, nullptr) != 0;
}

void MainWindow::CreateControls() {
    font_ = MakeMessageFont(DpiOf(window_));
    bold_ = MakeMessageFont(DpiOf(window_), true);
    list_.Create(window_, 100, font_);
    audio_.Create(window_, 101, font_);
    measures_.Create(window_, font_, bold_);
    mark_.Create(window_, font_);
    position_.Create(window_, 102, font_, file_.Seconds(), options_.loop);
    buttons_.Create(window_, font_);
    notice_.Create(window_, kAgain, IDCLOSE, font_, bold_);
    status_ = MakeChild(window_, L"STATIC", L"", SS_ENDELLIPSIS | SS_NOPREFIX | SS_CENTERIMAGE, 0, font_);
    ShowOthers(true);
}

void MainWindow::ShowOthers(bool shown) const {
    for (HWND child = GetWindow(window_, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
        if (child != area_.Window()) {
            (void)ShowWindow(child, shown ? SW_SHOWNA : SW_HIDE); // answers whether it was shown before
        }
    }
    notice_.Refresh(shown);
    position_.Show(shown && forPeople_ && file_.Seconds() > 0);
}

void MainWindow::Layout() {
    RECT client{};
    if (status_ == nullptr || !GetClientRect(window_, &client)) {
        return;
    }
    const auto place = [](HWND window, int x, int y, int width, int height) {
        (void)MoveWindow(window, x, y, std::max(width, 0), std::max(height, 0), FALSE); // a lost move shows
    };
    if (fullScreen_) {
        place(area_.Window(), 0, 0, client.right, client.bottom);
        Redraw();
        return;
    }
    const auto scaled = [this](int size) { return Scaled(window_, size); };
    const int gap = scaled(kGap);
    const int left = scaled(kLeftWidth);
    const int status = scaled(kStatusHeight);
    const int buttons = client.bottom - status - buttons_.Height() - 2 * gap;
    const int leftBottom = buttons - gap;
    const int measuresTop =
        leftBottom - std::min(scaled(kMeasuresHeight), static_cast<int>(client.bottom) * 3 / 5);
    place(list_.Window(), gap, gap, left, measuresTop - scaled(32) - 2 * gap);
    audio_.Place(gap, measuresTop - scaled(32), left);
    place(measures_.Window(), gap, measuresTop, left, leftBottom - measuresTop);
    const int right = left + 2 * gap;
    const int width = client.right - right - gap;
    const bool bar = forPeople_ && file_.Seconds() > 0;
    const int areaTop = gap + notice_.Height();
    const int areaBottom = leftBottom - (bar ? position_.Height() : 0);
    notice_.Place(right, gap, width);
    place(area_.Window(), right, areaTop, width, areaBottom - areaTop);
    position_.Place(right, areaBottom, width);
    buttons_.PlaceOwn(gap, buttons, left);
    buttons_.PlacePlayers(right, buttons, width);
    place(status_, gap, client.bottom - status - gap, client.right - 2 * gap, status);
    Redraw();
    redrawAgain_ = true;
}

void MainWindow::Redraw() const {
    // A loss shows.
    (void)RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

void MainWindow::SizeArea(int width, int height) {
    const int gap = Scaled(window_, kGap);
    const bool bar = forPeople_ && file_.Seconds() > 0;
    RECT outer{0, 0, width + Scaled(window_, kLeftWidth) + 3 * gap,
               height + notice_.Height() + (bar ? position_.Height() : 0) + buttons_.Height() +
                   Scaled(window_, kStatusHeight) + 4 * gap};
    const auto style = static_cast<DWORD>(GetWindowLongPtrW(window_, GWL_STYLE));
    (void)AdjustWindowRect(&outer, style, FALSE); // at worst the frame eats from the area
    SIZE size{outer.right - outer.left, outer.bottom - outer.top};
    RECT room{};
    if (forPeople_ && SystemParametersInfoW(SPI_GETWORKAREA, 0, &room, 0)) {
        size = {std::min(size.cx, room.right - room.left), std::min(size.cy, room.bottom - room.top)};
    }
    (void)SetWindowPos(window_, nullptr, 0, 0, size.cx, size.cy, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void MainWindow::SwitchFullScreen() {
    if (!forPeople_) {
        return;
    }
    fullScreen_ = !fullScreen_;
    ShowOthers(!fullScreen_);
    if (fullScreen_) {
        before_.length = sizeof before_;
        (void)GetWindowPlacement(window_, &before_); // fails only for a window that is none
        MONITORINFO monitor{};
        monitor.cbSize = sizeof monitor;
        (void)GetMonitorInfoW(MonitorFromWindow(window_, MONITOR_DEFAULTTONEAREST), &monitor);
        const RECT& screen = monitor.rcMonitor;
        SetWindowLongPtrW(window_, GWL_STYLE, static_cast<LONG_PTR>(kFrameless | WS_VISIBLE));
        (void)SetWindowPos(window_, HWND_TOP, screen.left, screen.top, screen.right - screen.left,
                           screen.bottom - screen.top, SWP_FRAMECHANGED);
        (void)SetFocus(window_);
    } else {
        SetWindowLongPtrW(window_, GWL_STYLE, static_cast<LONG_PTR>(kFramed | WS_VISIBLE));
        (void)SetWindowPlacement(window_, &before_);
        (void)SetWindowPos(window_, nullptr, 0, 0, 0, 0,
                           SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_FRAMECHANGED);
        (void)SetFocus(list_.Window());
    }
    Layout();
}

void MainWindow::OnDpi(int dpi, const RECT& place) {
    RemakeFonts(window_, dpi, &font_, &bold_);
    list_.SetDpi(dpi);
    measures_.SetFonts(font_, bold_);
    mark_.SetFont(font_);
    (void)SetWindowPos(window_, nullptr, place.left, place.top, place.right - place.left,
                       place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE);
    Layout();
}

} // namespace vistrame
