#include "tests/support/message_boxes.h"

#include <array>

#include <gtest/gtest.h>

namespace vistrame::test {
namespace {

thread_local MessageBoxes* current = nullptr;

// Control identifiers of the system's message box.
constexpr int kTextControl = 0xFFFF;
constexpr int kIconControl = 0x440;

std::string TextOf(HWND window) {
    std::array<char, 2048> text{};
    // WM_GETTEXT rather than GetWindowText: this also reads controls of other processes.
    const LRESULT length =
        SendMessageA(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
    return {text.data(), static_cast<std::size_t>(length)};
}

// Icons of other processes' boxes are not told apart.
UINT IconFlag(HWND box) {
    HWND control = GetDlgItem(box, kIconControl);
    const LRESULT icon = control == nullptr ? 0 : SendMessageA(control, STM_GETICON, 0, 0);
    return icon != 0 && icon == reinterpret_cast<LRESULT>(LoadIconA(nullptr, IDI_HAND)) ? MB_ICONERROR : 0;
}

} // namespace

MessageBoxRecord DescribeMessageBox(HWND box) {
    return {TextOf(GetDlgItem(box, kTextControl)), TextOf(box), IconFlag(box), GetWindow(box, GW_OWNER)};
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
        GetDlgItem(message->hwnd, kTextControl) != nullptr) {
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
