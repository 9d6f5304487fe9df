#include "analyzer/ui/main_window.h"

#include <algorithm>
#include <utility>

#include <windows.h>
// Needs the former.
#include <commctrl.h>
#include <shellapi.h>
#include <shlobj.h>

#include "analyzer/base/text.h"
#include "analyzer/base/utf8.h"
#include "analyzer/session/player_settings.h"
#include "analyzer/ui/ask_for_file.h"
#include "analyzer/ui/png_file.h"
#include "analyzer/ui/remembered.h"
#include "analyzer/ui/scale.h"

namespace vistrame {

namespace {

constexpr int kAudioId = 101;
constexpr int kLoopId = 102;

} // namespace

MainWindow::MainWindow(const StreamFile& file, const Options& options, EventLog& log)
    : file_(file),
      options_(options),
      log_(log),
      forPeople_(options.WindowMode() || options.stayOpen),
      settings_({.clockSource = options.clockSource, .log = options.playerLog},
                [this](const Session::Launch& launch) { ApplySettings(launch); }),
      fit_(options.WindowMode() ? PlayerArea::Fit::kShape : PlayerArea::Fit::kFill),
      wanted_(options.play) {}

MainWindow::~MainWindow() {
    if (window_ != nullptr) {
        (void)DestroyWindow(window_); // goes with the process otherwise
    }
    for (HFONT font : {font_, bold_}) {
        (void)DeleteObject(font); // null when the window was never made
    }
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

void MainWindow::OnCommand(int id, int notification) {
    said_.clear();
    if (id == kAudioId && notification == CBN_SELCHANGE && wanted_) {
        session_->Post(PlayAction{.programme = *wanted_, .audioPid = audio_.Chosen()});
    } else if (id == kLoopId) {
        session_->SetLoop(position_.Loop());
    } else if (id == kSettings) {
        settings_.Open(window_);
    } else if (id == kOpen) {
        OpenByDialog(AskForFile);
    } else if (id == kOpenAddress) {
        OpenByDialog(AskForAddress);
    } else if (id == kMenu) {
        ShowMenu();
    } else if (id == kAgain) {
        StartAgain();
    } else if (id == IDCLOSE) {
        notice_.Say(L"", L"", false);
        Layout();
    } else if (id == kFullScreen || (id == IDCANCEL && fullScreen_)) {
        SwitchFullScreen();
    } else if (id == kScreenshot) {
        SaveScreenshot();
    } else if (id == kFitShape || id == kFitWhole || id == kFitFill) {
        SetFit(id == kFitShape   ? PlayerArea::Fit::kShape
               : id == kFitWhole ? PlayerArea::Fit::kWholeMultiple
                                 : PlayerArea::Fit::kFill);
    } else {
        for (const Action& action : ActionsOf(id, element_)) {
            session_->Post(action);
        }
        MarkElement(id);
    }
}

// The place of the overlay's element, which the player takes note of and draws nothing for.
void MainWindow::MarkElement(int id) {
    if (id < kShowOverlay || id > kHideOverlay) {
        return;
    }
    if (session_->PlayerWindow() == nullptr || LoadSetting(SettingRowOf(setting::kUseVmr9)) == "0") {
        element_.shown = false;
        said_ = "no overlay: a player that shows its picture by VMR9 has one (Player settings)";
        return;
    }
    if (element_.shown) {
        mark_.Show(element_.Place());
        mark_.Place(area_.PictureOnScreen());
    } else {
        mark_.Hide();
    }
    if (id == kRefreshOverlay) {
        mark_.Flash();
    }
}

void MainWindow::Choose(std::uint16_t programme) {
    wanted_ = programme;
    said_.clear();
    if (session_) {
        session_->Post(PlayAction{.programme = programme, .audioPid = {}});
    }
}

void MainWindow::StartAgain() {
    notice_.Say(L"", L"", false);
    Layout();
    if (wanted_) {
        Choose(*wanted_);
    }
}

// The player reads its settings when it starts, so the one that runs is replaced.
void MainWindow::ApplySettings(const Session::Launch& launch) {
    session_->SetLaunch(launch);
    if (session_->Read().selection) {
        session_->Post(QuitAction());
    }
    StartAgain();
}

void MainWindow::SetFit(PlayerArea::Fit fit) {
    fit_ = fit;
    area_.SetFit(fit);
}

void MainWindow::SaveScreenshot() {
    wchar_t folder[MAX_PATH] = L"";
    (void)SHGetFolderPathW(nullptr, CSIDL_MYPICTURES, nullptr, SHGFP_TYPE_CURRENT, folder);
    SYSTEMTIME now{};
    GetLocalTime(&now);
    const std::string path = Narrow(folder) + "\\" +
                             Format("Vistrame %04u-%02u-%02u %02u.%02u.%02u.png", now.wYear, now.wMonth,
                                    now.wDay, now.wHour, now.wMinute, now.wSecond);
    const std::string wrong = SaveScreenAsPng(area_.PictureOnScreen(), Widen(path));
    said_ = wrong.empty() ? "saved " + path : path + ": " + wrong;
    log_.Line("screenshot " + (wrong.empty() ? path : "failed: " + wrong));
}

void MainWindow::OpenOther(const std::string& path) {
    nextFile_ = path;
    if (!nextFile_.empty()) {
        session_->End();
    }
}

void MainWindow::OpenByDialog(std::string (*ask)(HWND owner)) {
    ++ownBoxes_;
    const std::string path = ask(window_);
    --ownBoxes_;
    OpenOther(path);
}

void MainWindow::OnDrop(WPARAM drop) {
    auto* const files = reinterpret_cast<HDROP>(drop);
    wchar_t path[1024];
    if (DragQueryFileW(files, 0, path, 1024) != 0) { // of several the first
        OpenOther(Narrow(path));
    }
    DragFinish(files);
}

void MainWindow::ShowMenu() {
    RECT button{};
    (void)GetWindowRect(GetDlgItem(window_, kMenu), &button); // the corner at worst
    const std::vector<std::string> recent = RecentFiles();
    const int chosen = ChooseFromMenu(window_, button, recent, fit_);
    const auto file = static_cast<std::size_t>(chosen - kFirstRecent);
    if (chosen >= kFirstRecent && file < recent.size()) {
        OpenOther(recent[file]);
    } else if (chosen != 0) {
        OnCommand(chosen, 0);
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
    if (session_->PlayerWindow() == nullptr) {
        element_.shown = false; // the next player knows nothing of it
        mark_.Hide();
    }
    mark_.Place(area_.PictureOnScreen());
    list_.OnTick();
    const Session::Status status = session_->Read();
    const MultiplexReading reading = session_->Measure();
    list_.Show(file_.Programmes(), reading);
    list_.Mark(status.selection ? std::optional(status.selection->programme) : std::nullopt);
    ShowProgramme(status, reading);
    measures_.Show(reading, status);
    position_.SetPosition(status.fileSeconds);
    std::wstring text = list_.Typed();
    if (text.empty()) {
        Session::Status shown = status;
        shown.last = said_.empty() ? status.last : said_;
        text = Widen(statusLine_.Text(shown, file_.Seconds()));
    }
    (void)SetWindowTextW(status_, text.c_str()); // only shown
    if (const auto notice = session_->TakeNotice()) {
        OnNotice(*notice);
    }
}

void MainWindow::ShowProgramme(const Session::Status& status, const MultiplexReading& reading) {
    if (!status.selection) {
        audio_.Show({}, kNullPid);
        return;
    }
    const std::uint16_t number = status.selection->programme;
    wanted_ = number; // a script may have chosen it
    const auto live = std::ranges::find_if(reading.programmes, [number](const ProgrammeReading& each) {
        return each.programme.number == number;
    });
    if (live != reading.programmes.end()) {
        area_.SetShape(live->shape);
    }
    const bool mapped = live != reading.programmes.end() && live->programme.mapped;
    const Programme* const programme = mapped ? &live->programme : file_.Find(number);
    audio_.Show(programme != nullptr ? PlayableAudio(*programme) : std::vector<ElementaryStream>(),
                status.selection->audioPid);
}

void MainWindow::OnNotice(const Session::Notice& notice) {
    notice_.Say(Widen(notice.what), Widen(notice.meaning), notice.playerEnded && wanted_.has_value());
    if (fullScreen_) {
        SwitchFullScreen();
    }
    Layout();
}

void MainWindow::OnAnnounced(HWND player) {
    if (session_) {
        session_->OnAnnounced(player);
        area_.SetPlayer(player);
    }
}

void MainWindow::OnEnded() {
    result_ = session_->Result();
    facts_ = session_->Facts();
    if (options_.WindowMode()) {
        if (fullScreen_) {
            SwitchFullScreen();
        }
        WINDOWPLACEMENT placement{};
        placement.length = sizeof placement;
        if (GetWindowPlacement(window_, &placement)) {
            RememberPlacement(placement);
        }
    }
    PostQuitMessage(0);
}

LRESULT MainWindow::OnMessage(UINT message, WPARAM w, LPARAM l) {
    switch (message) {
        case WM_SIZE:
            Layout();
            return 0;
        case WM_MOVE:
            mark_.Place(area_.PictureOnScreen());
            return 0;
        case WM_COMMAND:
            if (session_) {
                OnCommand(LOWORD(w), HIWORD(w));
            }
            return 0;
        case WM_NOTIFY:
            if (const auto& notice = *reinterpret_cast<const NMHDR*>(l); notice.hwndFrom == list_.Window()) {
                list_.OnNotify(notice);
            }
            return 0;
        case WM_HSCROLL:
            if (const auto seconds = position_.OnScroll(reinterpret_cast<HWND>(l), LOWORD(w));
                seconds && session_) {
                session_->Post(SeekAction{.seconds = *seconds, .announced = true});
            }
            return 0;
        case WM_DROPFILES:
            OnDrop(w);
            return 0;
        case kDpiChanged:
            OnDpi(LOWORD(w), *reinterpret_cast<const RECT*>(l));
            return 0;
        case WM_TIMER:
        case Session::kNewsMessage:
            OnTick();
            return 0;
        case Session::kSizeMessage:
            SizeArea(static_cast<int>(w), static_cast<int>(l));
            return 0;
        case Session::kPressMessage: {
            const int id = CommandNamed(reinterpret_cast<const char*>(l));
            if (id != 0 && session_) {
                OnCommand(id, 0);
            }
            return id;
        }
        case Session::kEndedMessage:
            OnEnded();
            return 0;
        case WM_CLOSE:
            session_->End(); // its message ends the loop, after the player's end
            return 0;
        case WM_GETMINMAXINFO:
            reinterpret_cast<MINMAXINFO*>(l)->ptMinTrackSize = {Scaled(window_, 850), Scaled(window_, 500)};
            return 0;
        default:
            return DefWindowProcW(window_, message, w, l);
    }
}

// Digits zap from the list and in full screen, where the arrow keys have no list to go to either.
bool MainWindow::OnKey(const MSG& message) {
    if (message.message != WM_KEYDOWN || (!fullScreen_ && message.hwnd != list_.Window()) ||
        GetKeyState(VK_CONTROL) < 0) {
        return false;
    }
    const WPARAM key = message.wParam;
    if (key >= '0' && key <= '9') {
        list_.OnDigit(static_cast<int>(key - '0'));
        return true;
    }
    if (key >= VK_NUMPAD0 && key <= VK_NUMPAD9) {
        list_.OnDigit(static_cast<int>(key - VK_NUMPAD0));
        return true;
    }
    if (fullScreen_ && key >= VK_PRIOR && key <= VK_DOWN) { // page, home, end and arrow keys
        (void)SendMessageW(list_.Window(), WM_KEYDOWN, key, message.lParam);
        return true;
    }
    return false;
}

Outcome MainWindow::Run(Script script) {
    if (!Create()) {
        return {ExitCode::kUsage, "the window cannot be made: " + ErrorText(GetLastError())};
    }
    area_.SetFit(fit_);
    session_ = std::make_unique<Session>(file_, options_, std::move(script), log_,
                                         Session::Windows{window_, area_.Window()});
    HACCEL keys = MakeKeys();
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (TranslateAcceleratorW(window_, keys, &message) || OnKey(message) ||
            (settings_.Window() != nullptr && IsDialogMessageW(settings_.Window(), &message)) ||
            IsDialogMessageW(window_, &message)) {
            continue;
        }
        (void)TranslateMessage(&message); // answers whether it was a key
        (void)DispatchMessageW(&message); // the handler's result, of no use here
    }
    (void)DestroyAcceleratorTable(keys); // goes with the process otherwise
    session_.reset();
    return result_;
}

} // namespace vistrame
