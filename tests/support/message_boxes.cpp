#include "tests/support/message_boxes.h"

#include <array>

#include <gtest/gtest.h>

namespace vistrame::test {
namespace {

thread_local MessageBoxes* current = nullptr;

// Control identifiers of the system's message box.
constexpr int kTextControl = 0xFFFF;
constexpr int kIconControl = 0x440;
constexpr int kIconControlOfWindows = 20;

constexpr char kDialogClass[] = "#32770";

std::string TextOf(HWND window) {
    std::array<char, 2048> text{};
    // WM_GETTEXT rather than GetWindowText: this also reads controls of other processes.
    const LRESULT length =
        SendMessageA(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
    return {text.data(), static_cast<std::size_t>(length)};
}

UINT IconFlag(HWND box) {
    HWND control = GetDlgItem(box, kIconControl);
    if (control == nullptr) {
        control = GetDlgItem(box, kIconControlOfWindows);
    }
    if (control == nullptr) {
        return 0;
    }
    auto* const icon = reinterpret_cast<HICON>(SendMessageA(control, STM_GETICON, 0, 0));
    const std::array<std::pair<LPCSTR, UINT>, 4> icons = {{{IDI_HAND, MB_ICONERROR},
                                                           {IDI_EXCLAMATION, MB_ICONWARNING},
                                                           {IDI_ASTERISK, MB_ICONINFORMATION},
                                                           {IDI_QUESTION, MB_ICONQUESTION}}};
    for (const auto& [name, flag] : icons) {
        if (icon != nullptr && icon == LoadIconA(nullptr, name)) {
            return flag;
        }
    }
    return 0;
}

bool IsMessageBox(HWND window) {
    std::array<char, 16> name{};
    GetClassNameA(window, name.data(), static_cast<int>(name.size()));
    return std::string(name.data()) == kDialogClass && GetDlgItem(window, kTextControl) != nullptr;
}

} // namespace

MessageBoxRecord DescribeMessageBox(HWND box) {
    const UINT buttons =
        GetDlgItem(box, IDCANCEL) != nullptr && GetDlgItem(box, IDOK) != nullptr ? MB_OKCANCEL : MB_OK;
    return {TextOf(GetDlgItem(box, kTextControl)), TextOf(box), IconFlag(box) | buttons,
            GetWindow(box, GW_OWNER)};
}

MessageBoxes::MessageBoxes()
    : hook_(SetWindowsHookExA(WH_CALLWNDPROCRET, AfterMessage, nullptr, GetCurrentThreadId())) {
    EXPECT_NE(hook_, nullptr) << "the hook for message boxes could not be set";
    EXPECT_EQ(current, nullptr) << "only one MessageBoxes per thread";
    current = this;
}

MessageBoxes::~MessageBoxes() {
    UnhookWindowsHookEx(hook_);
    current = nullptr;
}

LRESULT CALLBACK MessageBoxes::AfterMessage(int code, WPARAM wParam, LPARAM lParam) {
    const auto* message = reinterpret_cast<const CWPRETSTRUCT*>(lParam);
    // Once the box has initialised itself its text and icon are in place, whether it gets the focus or not.
    if (code == HC_ACTION && message->message == WM_INITDIALOG && current != nullptr &&
        IsMessageBox(message->hwnd)) {
        current->Record(message->hwnd);
    }
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

void MessageBoxes::Record(HWND box) {
    shown.push_back(DescribeMessageBox(box));
    if (whileOpen) {
        whileOpen(box);
    }
    PostMessageA(box, WM_COMMAND, IDOK, 0);
}

} // namespace vistrame::test
