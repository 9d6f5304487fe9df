#include "analyzer/ui/player_area.h"

#include <utility>

#include "contract/commands.h"

namespace vistrame {

namespace {

constexpr wchar_t kClass[] = L"VistrameAnalyzerArea";

} // namespace

PlayerArea::PlayerArea(std::function<void(HWND)> announced)
    : announced_(std::move(announced)), controlMessage_(RegisterWindowMessageA(kControlMessageName)) {}

bool PlayerArea::Create(HWND parent) {
    WNDCLASSEXW kind{};
    kind.cbSize = sizeof kind;
    kind.lpfnWndProc = Thunk;
    kind.hInstance = GetModuleHandleW(nullptr);
    kind.hCursor = LoadCursorA(nullptr, IDC_ARROW);
    kind.hbrBackground = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
    kind.lpszClassName = kClass;
    (void)RegisterClassExW(&kind); // stays registered when another file is opened
    return CreateWindowExW(0, kClass, L"", WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN, 0, 0, 0, 0, parent,
                           nullptr, kind.hInstance, this) != nullptr;
}

LRESULT CALLBACK PlayerArea::Thunk(HWND window, UINT message, WPARAM w, LPARAM l) {
    if (message == WM_NCCREATE) {
        auto* self = static_cast<PlayerArea*>(reinterpret_cast<CREATESTRUCTW*>(l)->lpCreateParams);
        self->window_ = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    auto* self = reinterpret_cast<PlayerArea*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return self != nullptr ? self->OnMessage(message, w, l) : DefWindowProcW(window, message, w, l);
}

LRESULT PlayerArea::OnMessage(UINT message, WPARAM w, LPARAM l) {
    if (message == controlMessage_ && w == 0) {
        announced_(reinterpret_cast<HWND>(l));
        return 0;
    }
    if (message == WM_SIZE) {
        Fit();
        return 0;
    }
    return DefWindowProcW(window_, message, w, l);
}

void PlayerArea::SetPlayer(HWND player) {
    if (std::exchange(player_, player) != player) {
        Fit();
    }
}

// The player's window belongs to another process: it is notified, and not waited for.
void PlayerArea::Fit() const {
    RECT client{};
    if (player_ != nullptr && GetClientRect(window_, &client)) {
        (void)SetWindowPos(player_, nullptr, 0, 0, client.right, client.bottom,
                           SWP_NOZORDER | SWP_NOACTIVATE | SWP_ASYNCWINDOWPOS);
    }
}

} // namespace vistrame
