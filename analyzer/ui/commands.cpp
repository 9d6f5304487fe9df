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

constexpr int kGap = 6;

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
    const int count = std::max(static_cast<int>(std::ranges::count(kRows, where, &Row::where)), 1);
    const int gap = Scaled(parent_, kGap);
    const int each = std::min((width - (count - 1) * gap) / count, Scaled(parent_, 98));
    for (const Row& row : kRows) {
        if (row.where == where) {
            (void)MoveWindow(GetDlgItem(parent_, row.id), x, y, each, Height(), FALSE); // a lost move shows
            x += each + gap;
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
        Named{"settings", kSettings},  Named{"full-screen", kFullScreen}, Named{"screenshot", kScreenshot},
        Named{"fit-shape", kFitShape}, Named{"fit-whole", kFitWhole},     Named{"fit-fill", kFitFill},
    };
    const auto* const found = std::ranges::find(kNames, name, &Named::name);
    return found != kNames.end() ? found->id : 0;
}

std::optional<Action> ActionOf(int id, unsigned& step) {
    constexpr std::uint32_t kStart = 100; // overlay pixels from the corner
    constexpr std::uint32_t kStride = 160;
    const auto command = [](CommandCode code, std::uint32_t argument = 0) {
        return Action(CommandAction{static_cast<std::uint32_t>(code), argument});
    };
    const std::uint32_t place = kStart + step % 8 * kStride;
    switch (id) {
        case kRun:
            return command(CommandCode::Run);
        case kPause:
            return command(CommandCode::Pause);
        case kStop:
            return command(CommandCode::Stop);
        case kDiscontinuity:
            return command(CommandCode::SendDisc);
        case kUnmute:
            return command(CommandCode::UnmuteAudio);
        case kShowOverlay:
            return command(CommandCode::ShowOverlay, place << 12 | kStart);
        case kMoveOverlay:
            ++step;
            return command(CommandCode::MoveOsdElement, (kStart + step % 8 * kStride) << 12 | kStart);
        case kRefreshOverlay:
            return command(CommandCode::RefreshOverlay);
        case kHideOverlay:
            return command(CommandCode::ShowOverlay, 0);
        case kQuitPlayer:
            return QuitAction();
        default:
            return std::nullopt;
    }
}

} // namespace vistrame
