#include "analyzer/ui/main_window.h"

#include <algorithm>
#include <utility>

#include "analyzer/base/utf8.h"
#include "analyzer/ui/ask_for_file.h"

namespace vistrame {

namespace {

constexpr int kListId = 100;
constexpr int kSettingsId = 101;
constexpr int kOpenId = 102;
constexpr int kFirstButtonId = 110;
constexpr UINT_PTR kTick = 1;
constexpr UINT kTickMsec = 250;

constexpr int kGap = 10;
constexpr int kLeftWidth = 290;
constexpr int kOpenWidth = 98;
constexpr int kStatusHeight = 20;
// Where the player opens its window; SD television.
constexpr int kAreaWidth = 720;
constexpr int kAreaHeight = 576;
constexpr DWORD kFramed = WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN;
// Wine without a window manager draws the frame itself and then forgets it when the player, another process,
// draws into its window: the picture would be shifted by the frame's size.
constexpr DWORD kFrameless = WS_POPUP | WS_CLIPCHILDREN;

HFONT MessageFont() {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    // Zeroed metrics make the default font.
    (void)SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    return CreateFontIndirectW(&metrics.lfMessageFont);
}

} // namespace

MainWindow::MainWindow(const StreamFile& file, const Options& options, EventLog& log)
    : file_(file),
      options_(options),
      log_(log),
      font_(MessageFont()),
      style_(options.WindowMode() || options.stayOpen ? kFramed : kFrameless) {}

MainWindow::~MainWindow() {
    if (window_ != nullptr) {
        (void)DestroyWindow(window_); // goes with the process otherwise
    }
    (void)DeleteObject(font_);
}

LRESULT CALLBACK MainWindow::Thunk(HWND window, UINT message, WPARAM w, LPARAM l) {
    if (message == WM_NCCREATE) {
        auto* self = static_cast<MainWindow*>(reinterpret_cast<CREATESTRUCTW*>(l)->lpCreateParams);
        self->window_ = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    auto* self = reinterpret_cast<MainWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return self != nullptr ? self->OnMessage(message, w, l) : DefWindowProcW(window, message, w, l);
}

bool MainWindow::Create() {
    HINSTANCE instance = GetModuleHandleW(nullptr);
    WNDCLASSEXW kind{};
    kind.cbSize = sizeof kind;
    kind.lpfnWndProc = Thunk;
    kind.hInstance = instance;
    kind.hCursor = LoadCursorA(nullptr, IDC_ARROW);
    kind.hIcon = LoadIconA(nullptr, IDI_APPLICATION);
    kind.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    kind.lpszClassName = L"VistrameAnalyzer";
    (void)RegisterClassExW(&kind); // stays registered when another file is opened
    const std::wstring title = FilePath(file_.Path()).filename().wstring() + L" - Vistrame analyzer";
    if (CreateWindowExW(0, L"VistrameAnalyzer", title.c_str(), style_, CW_USEDEFAULT, CW_USEDEFAULT, 800, 600,
                        nullptr, nullptr, instance, this) == nullptr ||
        !area_.Create(window_)) {
        return false;
    }
    CreateControls();
    SizeArea(kAreaWidth, kAreaHeight);
    (void)ShowWindow(window_, SW_SHOWNORMAL); // answers whether it was shown before
    return SetTimer(window_, kTick, kTickMsec, nullptr) != 0;
}

void MainWindow::CreateControls() {
    const auto child = [this](const wchar_t* kind, const wchar_t* text, DWORD style, int id) {
        HWND made = CreateWindowExW(0, kind, text, WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0, window_,
                                    reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, this);
        (void)SendMessageW(made, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE); // answers nothing
        return made;
    };
    list_.Create(window_, kListId, font_, file_);
    settings_.Create(window_, kSettingsId, font_);
    (void)child(L"BUTTON", L"Open...", WS_TABSTOP, kOpenId);
    commands_.Create(window_, kFirstButtonId, font_);
    status_ = child(L"STATIC", L"", SS_ENDELLIPSIS | SS_NOPREFIX | SS_CENTERIMAGE, 0);
}

void MainWindow::Layout() {
    RECT client{};
    if (status_ == nullptr || !GetClientRect(window_, &client)) {
        return;
    }
    const auto place = [](HWND window, int x, int y, int width, int height) {
        (void)MoveWindow(window, x, y, std::max(width, 0), std::max(height, 0), FALSE); // a lost move shows
    };
    const int bottom = client.bottom - kStatusHeight - CommandBar::Height() - 3 * kGap;
    const int settingsTop = bottom - SettingsPanel::Height();
    place(list_.Window(), kGap, kGap, kLeftWidth, settingsTop - 2 * kGap);
    settings_.Place(kGap, settingsTop, kLeftWidth);
    const int right = kLeftWidth + 2 * kGap;
    place(area_.Window(), right, kGap, client.right - right - kGap, bottom - kGap);
    const int buttons = bottom + kGap;
    place(GetDlgItem(window_, kOpenId), kGap, buttons, kOpenWidth, CommandBar::Height());
    commands_.Place(right, buttons);
    place(status_, kGap, client.bottom - kStatusHeight - kGap, client.right - 2 * kGap, kStatusHeight);
    Redraw();
    redrawAgain_ = true;
}

void MainWindow::Redraw() const {
    // A loss shows.
    (void)RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

void MainWindow::SizeArea(int width, int height) {
    RECT outer{0, 0, width + kLeftWidth + 3 * kGap, height + CommandBar::Height() + kStatusHeight + 4 * kGap};
    (void)AdjustWindowRect(&outer, style_, FALSE); // at worst the frame eats from the area
    (void)SetWindowPos(window_, nullptr, 0, 0, outer.right - outer.left, outer.bottom - outer.top,
                       SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void MainWindow::OnCommand(int id, int notification) {
    if (id == kListId && notification == LBN_SELCHANGE) {
        if (const auto programme = list_.Chosen()) {
            session_->Post(PlayAction{.programme = *programme, .audioPid = {}});
        }
    } else if (id == kSettingsId) {
        StoreSettings();
    } else if (id == kOpenId) {
        OpenOther();
    } else if (const auto action = commands_.ActionOf(id)) {
        session_->Post(*action);
    }
}

// The player reads its settings when it starts, so the one that runs is replaced.
void MainWindow::StoreSettings() {
    if (const std::string wrong = settings_.Store(); !wrong.empty()) {
        Tell(wrong, L"Settings");
        return;
    }
    if (const auto selection = session_->Read().selection) {
        session_->Post(QuitAction());
        session_->Post(PlayAction{.programme = selection->programme, .audioPid = {}});
    }
}

void MainWindow::Tell(const std::string& text, const wchar_t* title) {
    ++ownBoxes_;
    (void)MessageBoxW(window_, Widen(text).c_str(), title, MB_ICONEXCLAMATION); // there is nothing to choose
    --ownBoxes_;
}

void MainWindow::OpenOther() {
    ++ownBoxes_;
    nextFile_ = AskForFile(window_);
    --ownBoxes_;
    if (!nextFile_.empty()) {
        session_->End();
    }
}

void MainWindow::OnTick() {
    if (!session_) {
        return;
    }
    if (std::exchange(redrawAgain_, false)) {
        Redraw(); // until it heard of its new size the player may have drawn beside it
    }
    session_->LookForBox();
    // A box of the player's disables this window until it is closed; a player that is gone closes none.
    if (session_->PlayerWindow() == nullptr && ownBoxes_ == 0) {
        (void)EnableWindow(window_, TRUE); // answers what it was before
    }
    area_.SetPlayer(session_->PlayerWindow());
    const Session::Status status = session_->Read();
    list_.Show(status.selection ? std::optional(status.selection->programme) : std::nullopt);
    (void)SetWindowTextW(status_, Widen(statusLine_.Text(status, file_.Seconds())).c_str()); // only shown
    if (const auto notice = session_->TakeNotice()) {
        Tell(*notice, L"Vistrame analyzer");
    }
}

void MainWindow::OnEnded() {
    result_ = session_->Result();
    facts_ = session_->Facts();
    PostQuitMessage(0);
}

LRESULT MainWindow::OnMessage(UINT message, WPARAM w, LPARAM l) {
    switch (message) {
        case WM_SIZE:
            Layout();
            return 0;
        case WM_COMMAND:
            if (session_) {
                OnCommand(LOWORD(w), HIWORD(w));
            }
            return 0;
        case WM_MEASUREITEM:
            list_.Measure(*reinterpret_cast<MEASUREITEMSTRUCT*>(l));
            return TRUE;
        case WM_DRAWITEM:
            list_.Draw(*reinterpret_cast<const DRAWITEMSTRUCT*>(l));
            return TRUE;
        case WM_TIMER:
        case Session::kNewsMessage:
            OnTick();
            return 0;
        case Session::kSizeMessage:
            SizeArea(static_cast<int>(w), static_cast<int>(l));
            return 0;
        case Session::kEndedMessage:
            OnEnded();
            return 0;
        case WM_CLOSE:
            session_->End(); // its message ends the loop, after the player's end
            return 0;
        case WM_GETMINMAXINFO:
            reinterpret_cast<MINMAXINFO*>(l)->ptMinTrackSize = {kLeftWidth + 400,
                                                                SettingsPanel::Height() + 220};
            return 0;
        default:
            return DefWindowProcW(window_, message, w, l);
    }
}

void MainWindow::OnAnnounced(HWND player) {
    if (session_) {
        session_->OnAnnounced(player);
        area_.SetPlayer(player);
    }
}

Outcome MainWindow::Run(Script script) {
    if (!Create()) {
        return {ExitCode::kUsage, "the window cannot be made: " + ErrorText(GetLastError())};
    }
    session_ = std::make_unique<Session>(file_, options_, std::move(script), log_,
                                         Session::Windows{window_, area_.Window()});
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (!IsDialogMessageW(window_, &message)) {
            (void)TranslateMessage(&message); // answers whether it was a key
            (void)DispatchMessageW(&message); // the handler's result, of no use here
        }
    }
    session_.reset();
    return result_;
}

} // namespace vistrame
