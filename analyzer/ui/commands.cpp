#include "analyzer/ui/commands.h"

#include <algorithm>
#include <array>

#include "analyzer/base/utf8.h"
#include "analyzer/ui/scale.h"
#include "contract/commands.h"

namespace vistrame {

namespace {

enum class Where : std::uint8_t { kMenuOnly, kOwnButton, kPlayerButton };

struct Row {
    int id;
    Where where;
    const wchar_t* button; // null: none
    const wchar_t* menu;   // null: not in it
    BYTE modifiers;        // of the key
    WORD key;              // 0: none
};
constexpr std::array kRows{
    Row{kOpen, Where::kOwnButton, L"&Open...", L"Open a file...\tCtrl+O", FCONTROL, 'O'},
    Row{kOpenAddress, Where::kMenuOnly, nullptr, L"Open an address...\tCtrl+U", FCONTROL, 'U'},
    Row{kSettings, Where::kOwnButton, L"Se&ttings...", L"Player settings...\tCtrl+T", FCONTROL, 'T'},
    Row{kMenu, Where::kOwnButton, L"&Menu", nullptr, 0, VK_F10},
    Row{kRun, Where::kPlayerButton, L"Run", L"Run\tF5", 0, VK_F5},
    Row{kPause, Where::kPlayerButton, L"Pause", L"Pause\tF6", 0, VK_F6},
    Row{kStop, Where::kPlayerButton, L"Stop", L"Stop\tF7", 0, VK_F7},
    Row{kDiscontinuity, Where::kPlayerButton, L"Discontinuity", L"Announce a discontinuity\tF8", 0, VK_F8},
    Row{kUnmute, Where::kPlayerButton, L"Unmute", L"Unmute\tF9", 0, VK_F9},
    Row{kShowOverlay, Where::kMenuOnly, nullptr, L"Show overlay element\tF2", 0, VK_F2},
    Row{kMoveOverlay, Where::kMenuOnly, nullptr, L"Move overlay element\tF3", 0, VK_F3},
    Row{kRefreshOverlay, Where::kMenuOnly, nullptr, L"Refresh overlay\tF4", 0, VK_F4},
    Row{kHideOverlay, Where::kMenuOnly, nullptr, L"Hide overlay element\tShift+F2", FSHIFT, VK_F2},
    Row{kFullScreen, Where::kPlayerButton, L"Full screen", L"Full screen\tF11", 0, VK_F11},
    Row{kScreenshot, Where::kPlayerButton, L"Screenshot", L"Save the picture as PNG\tF12", 0, VK_F12},
    Row{kAgain, Where::kMenuOnly, nullptr, L"Start the player again\tCtrl+R", FCONTROL, 'R'},
    Row{kQuitPlayer, Where::kPlayerButton, L"Quit player", L"Quit player\tCtrl+Q", FCONTROL, 'Q'},
    Row{kFitShape, Where::kMenuOnly, nullptr, L"Keep the picture's shape\tCtrl+1", FCONTROL, '1'},
    Row{kFitWhole, Where::kMenuOnly, nullptr, L"Whole multiples of its lines\tCtrl+2", FCONTROL, '2'},
    Row{kFitFill, Where::kMenuOnly, nullptr, L"Fill the area\tCtrl+3", FCONTROL, '3'},
};

constexpr int kGap = 6; // for 96 dots per inch, as the next
constexpr int kMostAround = 60;

// In the window's font.
int TextWidth(HWND window, const wchar_t* text) {
    HDC device = GetDC(window);
    HGDIOBJ before = SelectObject(device, reinterpret_cast<HGDIOBJ>(SendMessageW(window, WM_GETFONT, 0, 0)));
    SIZE size{};
    (void)GetTextExtentPoint32W(device, text, lstrlenW(text), &size); // empty at worst
    (void)SelectObject(device, before);
    (void)ReleaseDC(window, device);
    return size.cx;
}

} // namespace

void CommandButtons::Create(HWND parent, HFONT font) {
    parent_ = parent;
    for (const Row& row : kRows) {
        if (row.button != nullptr) {
            (void)MakeChild(parent, L"BUTTON", row.button, WS_TABSTOP, row.id, font); // found by its number
        }
    }
}

int CommandButtons::Height() const {
    return Scaled(parent_, 30);
}

void CommandButtons::Place(bool players, int x, int y, int width) const {
    const Where where = players ? Where::kPlayerButton : Where::kOwnButton;
    const auto belongs = [where](const Row& row) { return row.where == where; };
    const auto count = static_cast<int>(std::ranges::count_if(kRows, belongs));
    int texts = 0;
    for (const Row& row : kRows) {
        texts += belongs(row) ? TextWidth(GetDlgItem(parent_, row.id), row.button) : 0;
    }
    // What the texts leave is shared out evenly.
    const int gap = Scaled(parent_, kGap);
    const int most = Scaled(parent_, kMostAround);
    const int around = std::clamp((width - (count - 1) * gap - texts) / std::max(count, 1), 0, most);
    for (const Row& row : kRows) {
        if (belongs(row)) {
            HWND button = GetDlgItem(parent_, row.id);
            const int wide = TextWidth(button, row.button) + around;
            (void)MoveWindow(button, x, y, wide, Height(), FALSE); // a lost move shows
            x += wide + gap;
        }
    }
}

void CommandButtons::PlaceOwn(int x, int y, int width) const {
    Place(false, x, y, width);
}

void CommandButtons::PlacePlayers(int x, int y, int width) const {
    Place(true, x, y, width);
}

HACCEL MakeKeys() {
    std::vector<ACCEL> keys;
    for (const Row& row : kRows) {
        if (row.key != 0) {
            keys.push_back({.fVirt = static_cast<BYTE>(FVIRTKEY | row.modifiers),
                            .key = row.key,
                            .cmd = static_cast<WORD>(row.id)});
        }
    }
    return CreateAcceleratorTableW(keys.data(), static_cast<int>(keys.size()));
}

int ChooseFromMenu(HWND owner, const RECT& below, const std::vector<std::string>& recent,
                   PlayerArea::Fit fit) {
    HMENU menu = CreatePopupMenu();
    HMENU files = CreatePopupMenu();
    for (std::size_t i = 0; i < recent.size(); ++i) {
        (void)AppendMenuW(files, MF_STRING, kFirstRecent + i, Widen(recent[i]).c_str()); // a lost item shows
    }
    const int fitId = fit == PlayerArea::Fit::kFill    ? kFitFill
                      : fit == PlayerArea::Fit::kShape ? kFitShape
                                                       : kFitWhole;
    for (const Row& row : kRows) {
        if (row.id == kRun || row.id == kFitShape) {
            (void)AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
        }
        if (row.id == kSettings) {
            (void)AppendMenuW(menu, MF_POPUP | (recent.empty() ? MF_GRAYED : 0U),
                              reinterpret_cast<UINT_PTR>(files), L"Recent");
        }
        if (row.menu != nullptr) {
            (void)AppendMenuW(menu, MF_STRING | (row.id == fitId ? MF_CHECKED : 0U),
                              static_cast<UINT_PTR>(row.id), row.menu);
        }
    }
    const int chosen =
        TrackPopupMenu(menu, TPM_RETURNCMD | TPM_NONOTIFY, below.left, below.bottom, 0, owner, nullptr);
    (void)DestroyMenu(menu); // the files' with it
    return chosen;
}

int CommandNamed(std::string_view name) {
    struct Named {
        std::string_view name;
        int id;
    };
    // Only what asks nothing: a script cannot answer.
    constexpr std::array kNames{
        Named{"settings", kSettings},
        Named{"full-screen", kFullScreen},
        Named{"screenshot", kScreenshot},
        Named{"fit-shape", kFitShape},
        Named{"fit-whole", kFitWhole},
        Named{"fit-fill", kFitFill},
        Named{"overlay-show", kShowOverlay},
        Named{"overlay-move", kMoveOverlay},
        Named{"overlay-refresh", kRefreshOverlay},
        Named{"overlay-hide", kHideOverlay},
    };
    const auto* const found = std::ranges::find(kNames, name, &Named::name);
    return found != kNames.end() ? found->id : 0;
}

POINT OverlayElement::Place() const {
    constexpr LONG kStart = 100; // from the corner
    constexpr LONG kStride = 160;
    return {kStart + static_cast<LONG>(step % 8) * kStride, kStart};
}

std::vector<Action> ActionsOf(int id, OverlayElement& element) {
    const auto command = [](CommandCode code, std::uint32_t argument = 0) {
        return Action(CommandAction{static_cast<std::uint32_t>(code), argument});
    };
    const auto place = [&element] { // of element 0, whose number is the argument's upper bits
        return static_cast<std::uint32_t>(element.Place().x << 12 | element.Place().y);
    };
    switch (id) {
        case kRun:
            return {command(CommandCode::Run)};
        case kPause:
            return {command(CommandCode::Pause)};
        case kStop:
            return {command(CommandCode::Stop)};
        case kDiscontinuity:
            return {command(CommandCode::SendDisc)};
        case kUnmute:
            return {command(CommandCode::UnmuteAudio)};
        case kShowOverlay: // which shows the overlay but does not bring back a hidden element
            element.shown = true;
            return {command(CommandCode::MoveOsdElement, place()),
                    command(CommandCode::ShowOverlay, place())};
        case kMoveOverlay:
            ++element.step;
            element.shown = true;
            return {command(CommandCode::MoveOsdElement, place())};
        case kRefreshOverlay:
            return {command(CommandCode::RefreshOverlay)};
        case kHideOverlay:
            element.shown = false;
            return {command(CommandCode::ShowOverlay, 0)};
        case kQuitPlayer:
            return {QuitAction()};
        default:
            return {};
    }
}

} // namespace vistrame
