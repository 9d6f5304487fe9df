#include "analyzer/ui/command_bar.h"

#include <array>

#include "contract/commands.h"

namespace vistrame {

namespace {

constexpr int kWidth = 98;
constexpr int kHeight = 30;
constexpr int kGap = 10;

struct Button {
    const wchar_t* text;
    CommandCode command;
};
constexpr std::array kButtons{
    Button{L"Run", CommandCode::Run},
    Button{L"Stop", CommandCode::Stop},
    Button{L"Pause", CommandCode::Pause},
    Button{L"Discontinuity", CommandCode::SendDisc},
    Button{L"Unmute", CommandCode::UnmuteAudio},
    Button{L"Quit player", CommandCode::Quit},
};

} // namespace

void CommandBar::Create(HWND parent, int firstId, HFONT font) {
    parent_ = parent;
    firstId_ = firstId;
    for (std::size_t i = 0; i < kButtons.size(); ++i) {
        const INT_PTR id = firstId + static_cast<int>(i);
        HWND button = CreateWindowExW(0, L"BUTTON", kButtons[i].text, WS_CHILD | WS_VISIBLE | WS_TABSTOP, 0,
                                      0, 0, 0, parent, reinterpret_cast<HMENU>(id), nullptr, nullptr);
        (void)SendMessageW(button, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE); // answers nothing
    }
}

void CommandBar::Place(int x, int y) const {
    for (int i = 0; i < static_cast<int>(kButtons.size()); ++i) {
        (void)MoveWindow(GetDlgItem(parent_, firstId_ + i), x + i * (kWidth + kGap), y, kWidth, kHeight,
                         FALSE); // a lost move shows
    }
}

int CommandBar::Height() {
    return kHeight;
}

std::optional<Action> CommandBar::ActionOf(int id) const {
    if (id < firstId_ || id >= firstId_ + static_cast<int>(kButtons.size())) {
        return std::nullopt;
    }
    const CommandCode command = kButtons[static_cast<std::size_t>(id - firstId_)].command;
    return command == CommandCode::Quit ? Action(QuitAction())
                                        : CommandAction{static_cast<std::uint32_t>(command), 0};
}

} // namespace vistrame
