#include "tests/support/message_boxes.h"

#include <array>

namespace vistrame::test {
namespace {

thread_local MessageBoxes* current = nullptr;

} // namespace

std::string TextOf(HWND window) {
    std::array<char, 2048> text{};
    // WM_GETTEXT rather than GetWindowText: this also reads controls of other processes.
    SendMessageA(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
    return text.data();
}

MessageBoxes::MessageBoxes()
    : hook_(SetWindowsHookExA(WH_CALLWNDPROCRET, AfterMessage, nullptr, GetCurrentThreadId())) {
    current = this;
}

MessageBoxes::~MessageBoxes() {
    UnhookWindowsHookEx(hook_);
}

LRESULT CALLBACK MessageBoxes::AfterMessage(int code, WPARAM wParam, LPARAM lParam) {
    const auto* message = reinterpret_cast<const CWPRETSTRUCT*>(lParam);
    HWND box = message->hwnd;
    // Once the box has initialised itself its text is in place, whether it gets the focus or not.
    if (code == HC_ACTION && message->message == WM_INITDIALOG && MessageBoxText(box) != nullptr) {
        current->shown.push_back({TextOf(MessageBoxText(box)), TextOf(box), GetWindow(box, GW_OWNER)});
        current->whileOpen();
        PostMessageA(box, WM_COMMAND, IDOK, 0);
    }
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

} // namespace vistrame::test
