#include "analyzer/ui/settings_window.h"

#include <algorithm>
#include <array>

#include "analyzer/base/text.h"
#include "analyzer/base/utf8.h"
#include "analyzer/session/player_settings.h"
#include "analyzer/ui/scale.h"
#include "contract/launch_line.h"

namespace vistrame {

namespace {

constexpr int kApplyId = 1;
constexpr int kWidth = 560;    // for 96 dots per inch, as all of these
constexpr int kRowHeight = 42; // all rows fit a screen of 1080 lines at 192 dots per inch
constexpr int kLabelWidth = 150;
constexpr int kMargin = 14;

using Choices = std::vector<SettingChoice> (*)();

std::vector<SettingChoice> Typed() {
    return {};
}
std::vector<SettingChoice> Renderers() {
    return {{0, "Overlay Mixer"}, {1, "VMR9"}};
}
std::vector<SettingChoice> Mpeg2Decoders() {
    return DecoderChoices(true);
}
std::vector<SettingChoice> Mpeg4Decoders() {
    return DecoderChoices(false);
}
std::vector<SettingChoice> Demultiplexers() {
    return {{0, "The system's"}, {1, "The maker's own"}};
}
std::vector<SettingChoice> OffOn() {
    return {{0, "Off"}, {1, "On"}};
}
std::vector<SettingChoice> Clocks() {
    return {{0, "The graph's own"},
            {kClockFromDemultiplexer, "The stream (demultiplexer)"},
            {kClockFromAudioRenderer, "The sound card (audio renderer)"},
            {kClockFromFeedFilter, "The feed filter"}};
}

struct Row {
    std::string_view setting; // of the registry; empty: of the launch line
    const wchar_t* title;
    const wchar_t* about;
    Choices choices;
};
constexpr std::size_t kClockRow = 7;
constexpr std::size_t kLogRow = 8;
constexpr std::array kRows{
    Row{setting::kUseVmr9, L"&Renderer",
        L"What brings the picture to the screen. Overlay Mixer paints by itself, VMR9 uses Direct3D.",
        Renderers},
    Row{setting::kMpeg2Codec, L"MPEG-&2 decoder",
        L"For MPEG-1 and MPEG-2 video and the sound beside it. Automatic takes the first that is installed.",
        Mpeg2Decoders},
    Row{setting::kMpeg4Codec, L"&H.264/HEVC decoder",
        L"For H.264 and HEVC video and the sound beside it. Automatic takes the first that is installed.",
        Mpeg4Decoders},
    Row{setting::kKorvixCodec, L"&Demultiplexer",
        L"What takes the programme out of the stream. The maker's own counts stalls and shows its state.",
        Demultiplexers},
    Row{setting::kDebugOsd, L"&On-screen text",
        L"The stream's state as text over the picture, twice a second.", OffOn},
    Row{setting::kAudioUnmuteMsec, L"&Silence at start, ms",
        L"How long the sound waits after each choice of a programme before it fades in.", Typed},
    Row{setting::kErrorLogDir, L"Folder for &errors",
        L"Where a file is written for each error, with its last backslash. Empty: C:\\ErrorLogs\\.", Typed},
    Row{"", L"&Clock", L"What the player keeps time by. Not stored: it holds until this program ends.",
        Clocks},
    Row{"", L"Diagnostic &log",
        L"The player writes C:\\Vistrame.txt. Not stored: it holds until this program ends.", OffOn},
};

std::string TextOf(HWND window) {
    wchar_t text[512];
    const int length = GetWindowTextW(window, text, 512);
    return Narrow(std::wstring(text, static_cast<std::size_t>(length)));
}

// The corner for a window of that size that is as near the wanted one as its screen allows.
POINT CornerOnScreen(HWND owner, POINT wanted, SIZE size) {
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    if (!GetMonitorInfoW(MonitorFromWindow(owner, MONITOR_DEFAULTTONEAREST), &monitor)) {
        return wanted;
    }
    const RECT& room = monitor.rcWork;
    return {std::max(std::min(wanted.x, room.right - size.cx), room.left),
            std::max(std::min(wanted.y, room.bottom - size.cy), room.top)};
}

} // namespace

SettingsWindow::~SettingsWindow() {
    if (window_ != nullptr) {
        (void)DestroyWindow(window_); // goes with its owner otherwise
    }
    for (HFONT font : {font_, bold_}) {
        if (font != nullptr) {
            (void)DeleteObject(font);
        }
    }
}

LRESULT CALLBACK SettingsWindow::Thunk(HWND window, UINT message, WPARAM w, LPARAM l) {
    if (message == WM_NCCREATE) {
        auto* self = static_cast<SettingsWindow*>(reinterpret_cast<CREATESTRUCTW*>(l)->lpCreateParams);
        self->window_ = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    auto* self = reinterpret_cast<SettingsWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return self != nullptr ? self->OnMessage(message, w, l) : DefWindowProcW(window, message, w, l);
}

LRESULT SettingsWindow::OnMessage(UINT message, WPARAM w, LPARAM l) {
    switch (message) {
        case WM_COMMAND:
            if (LOWORD(w) == kApplyId && HIWORD(w) == BN_CLICKED) {
                Apply();
            } else if (LOWORD(w) == IDCANCEL) {
                (void)ShowWindow(window_, SW_HIDE); // answers whether it was shown before
            }
            return 0;
        case WM_CLOSE:
            (void)ShowWindow(window_, SW_HIDE);
            return 0;
        case WM_NEXTDLGCTL: // Alt and a label's letter: to the label, then on; this is no dialog, which would
            (void)SetFocus(LOWORD(l) != 0 ? reinterpret_cast<HWND>(w)
                                          : GetNextDlgTabItem(window_, GetFocus(), w != 0));
            return 0;
        case kDpiChanged:
            OnDpi(LOWORD(w), *reinterpret_cast<const RECT*>(l));
            return 0;
        case WM_DESTROY:
            window_ = nullptr;
            return 0;
        case WM_CTLCOLORSTATIC: {
            const auto row = std::ranges::find(fields_, reinterpret_cast<HWND>(l), &Field::about);
            (void)SetBkMode(reinterpret_cast<HDC>(w), TRANSPARENT);
            (void)SetTextColor(reinterpret_cast<HDC>(w),
                               GetSysColor(row != fields_.end() ? COLOR_GRAYTEXT : COLOR_BTNTEXT));
            return reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_BTNFACE));
        }
        default:
            return DefWindowProcW(window_, message, w, l);
    }
}

void SettingsWindow::Open(HWND owner) {
    if (window_ == nullptr && !Create(owner)) {
        return; // without memory for a window there is nothing to show
    }
    Load();
    (void)ShowWindow(window_, SW_SHOW);
    (void)SetFocus(fields_.front().field);
}

bool SettingsWindow::Create(HWND owner) {
    WNDCLASSEXW kind{};
    kind.cbSize = sizeof kind;
    kind.lpfnWndProc = Thunk;
    kind.hInstance = GetModuleHandleW(nullptr);
    kind.hCursor = LoadCursorA(nullptr, IDC_ARROW);
    kind.hIcon = ProgramIcon();
    kind.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    kind.lpszClassName = L"VistrameAnalyzerSettings";
    (void)RegisterClassExW(&kind); // stays registered when another file is opened
    constexpr DWORD kStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_CLIPCHILDREN;
    const int rows = static_cast<int>(kRows.size());
    RECT size{0, 0, Scaled(owner, kWidth), Scaled(owner, rows * kRowHeight + 76)};
    RECT place{};
    (void)AdjustWindowRect(&size, kStyle, FALSE); // at worst the frame eats from the rows
    (void)GetWindowRect(owner, &place);           // the corner at worst
    const POINT corner =
        CornerOnScreen(owner, {place.left + Scaled(owner, 40), place.top + Scaled(owner, 40)},
                       {size.right - size.left, size.bottom - size.top});
    if (CreateWindowExW(WS_EX_CONTROLPARENT, kind.lpszClassName, L"Player settings", kStyle, corner.x,
                        corner.y, size.right - size.left, size.bottom - size.top, owner, nullptr,
                        kind.hInstance, this) == nullptr) {
        return false;
    }
    dpi_ = DpiOf(window_);
    font_ = MakeMessageFont(dpi_);
    bold_ = MakeMessageFont(dpi_, true);
    CreateFields();
    Layout();
    return true;
}

void SettingsWindow::CreateFields() {
    for (const Row& row : kRows) {
        Field& field = fields_.emplace_back();
        field.choices = row.choices();
        const bool list = !field.choices.empty();
        field.label = MakeChild(window_, L"STATIC", row.title, SS_CENTERIMAGE, 0, bold_);
        field.field = MakeChild(
            window_, list ? L"COMBOBOX" : L"EDIT", L"",
            WS_TABSTOP | (list ? CBS_DROPDOWNLIST | WS_VSCROLL : WS_BORDER | ES_AUTOHSCROLL), 0, font_);
        field.about = MakeChild(window_, L"STATIC", row.about, SS_NOPREFIX | SS_ENDELLIPSIS, 0, font_);
        for (const SettingChoice& choice : field.choices) {
            const std::wstring text = Widen(choice.text);
            (void)SendMessageW(field.field, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str()));
        }
    }
    said_ = MakeChild(window_, L"STATIC", L"", SS_NOPREFIX, 0, font_);
    apply_ = MakeChild(window_, L"BUTTON", L"&Apply", WS_TABSTOP | BS_DEFPUSHBUTTON, kApplyId, font_);
    close_ = MakeChild(window_, L"BUTTON", L"Close", WS_TABSTOP, IDCANCEL, font_);
}

void SettingsWindow::Layout() {
    const auto place = [this](HWND child, int x, int y, int width, int height) {
        const auto scaled = [this](int size) { return MulDiv(size, dpi_, 96); };
        (void)MoveWindow(child, scaled(x), scaled(y), scaled(width), scaled(height),
                         FALSE); // a lost move shows
    };
    int y = kMargin;
    for (const Field& field : fields_) {
        place(field.label, kMargin, y, kLabelWidth, 22);
        place(field.field, kMargin + kLabelWidth, y, kWidth - kLabelWidth - 2 * kMargin,
              field.choices.empty() ? 22 : 260); // a list's height is how far it opens
        place(field.about, kMargin, y + 23, kWidth - 2 * kMargin, 17);
        y += kRowHeight;
    }
    place(said_, kMargin, y + 4, kWidth - 2 * kMargin - 230, 40);
    place(apply_, kWidth - kMargin - 220, y + 8, 120, 28);
    place(close_, kWidth - kMargin - 90, y + 8, 90, 28);
}

void SettingsWindow::OnDpi(int dpi, const RECT& place) {
    dpi_ = dpi;
    RemakeFonts(window_, dpi_, &font_, &bold_);
    (void)SetWindowPos(window_, nullptr, place.left, place.top, place.right - place.left,
                       place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE); // a lost move shows
    Layout();
    (void)RedrawWindow(window_, nullptr, nullptr,
                       RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN); // a loss shows
}

void SettingsWindow::Load() {
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        Field& field = fields_[i];
        std::string text = i == kClockRow ? Format("%d", launch_.clockSource)
                           : i == kLogRow ? Format("%d", launch_.log ? 1 : 0)
                                          : LoadSetting(SettingRowOf(kRows[i].setting));
        if (field.choices.empty()) {
            (void)SetWindowTextW(field.field, Widen(text).c_str()); // stays empty at worst
            continue;
        }
        const std::uint32_t value = ParseNumber(text).value_or(0);
        auto at = std::ranges::find(field.choices, value, &SettingChoice::value);
        if (at == field.choices.end()) { // stored by hand, kept until another is chosen
            field.choices.push_back(
                {value, Format("%u: nothing is known of it", static_cast<unsigned>(value))});
            at = field.choices.end() - 1;
            const std::wstring words = Widen(at->text);
            (void)SendMessageW(field.field, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(words.c_str()));
        }
        (void)SendMessageW(field.field, CB_SETCURSEL, static_cast<WPARAM>(at - field.choices.begin()), 0);
    }
    Tell(L"All of these are read when the player starts: Apply stores them and starts it again.");
}

void SettingsWindow::Apply() {
    std::vector<SettingChange> changes;
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        const Field& field = fields_[i];
        std::string text = TextOf(field.field);
        if (!field.choices.empty()) {
            const auto at = static_cast<std::size_t>(SendMessageW(field.field, CB_GETCURSEL, 0, 0));
            text =
                Format("%u", static_cast<unsigned>(at < field.choices.size() ? field.choices[at].value : 0));
        }
        if (i == kClockRow) {
            launch_.clockSource = static_cast<int>(ParseNumber(text).value_or(0));
            continue;
        }
        if (i == kLogRow) {
            launch_.log = text != "0";
            continue;
        }
        const auto change = ParseSetting(kRows[i].setting, text);
        if (!change) {
            Tell(L"\"" + Widen(text) + L"\" is no number.");
            (void)SetFocus(field.field); // to be put right
            return;
        }
        // An empty folder is left out, so that the player keeps its own.
        if (!change->row.isText || !text.empty()) {
            changes.push_back(*change);
        }
    }
    for (const SettingChange& change : changes) {
        if (!StoreSetting(change)) {
            Tell(Widen(std::string(change.row.name)) + L" cannot be stored.");
            return;
        }
    }
    Tell(L"Stored.");
    applied_(launch_);
}

void SettingsWindow::Tell(const std::wstring& text) const {
    (void)SetWindowTextW(said_, text.c_str()); // only shown
}

} // namespace vistrame
