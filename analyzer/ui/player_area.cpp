#include "analyzer/ui/player_area.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "contract/commands.h"

namespace vistrame {

namespace {

constexpr wchar_t kClass[] = L"VistrameAnalyzerArea";

} // namespace

PlayerArea::PlayerArea(Events events)
    : events_(std::move(events)), controlMessage_(RegisterWindowMessageA(kControlMessageName)) {}

bool PlayerArea::Create(HWND parent) {
    WNDCLASSEXW kind{};
    kind.cbSize = sizeof kind;
    kind.lpfnWndProc = Thunk;
    kind.hInstance = GetModuleHandleW(nullptr);
    kind.hCursor = LoadCursorA(nullptr, IDC_ARROW);
    kind.hbrBackground = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
    kind.lpszClassName = kClass;
    (void)RegisterClassExW(&kind); // stays registered when another file is opened
    return CreateWindowExW(0, kClass, L"Picture", WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN, 0, 0, 0, 0, parent,
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
        events_.announced(reinterpret_cast<HWND>(l));
        return 0;
    }
    switch (message) {
        case WM_SIZE:
            Arrange();
            return 0;
        case WM_LBUTTONDOWN:
            OnPress();
            return 0;
        case WM_PARENTNOTIFY: // the press was in the player's window, which keeps it for itself
            if (LOWORD(w) == WM_LBUTTONDOWN) {
                OnPress();
            }
            return 0;
        default:
            return DefWindowProcW(window_, message, w, l);
    }
}

// Two presses that the system would take for a double click, wherever they were reported.
void PlayerArea::OnPress() {
    const DWORD now = GetTickCount();
    POINT where{};
    (void)GetCursorPos(&where); // the corner, when the desktop is locked
    const bool again = now - pressedAt_ <= GetDoubleClickTime() &&
                       std::abs(where.x - pressedWhere_.x) <= GetSystemMetrics(SM_CXDOUBLECLK) &&
                       std::abs(where.y - pressedWhere_.y) <= GetSystemMetrics(SM_CYDOUBLECLK);
    pressedAt_ = again ? 0 : now; // a third press begins anew
    pressedWhere_ = where;
    if (again) {
        events_.doubleClick();
    }
}

void PlayerArea::SetPlayer(HWND player) {
    if (std::exchange(player_, player) != player) {
        Arrange();
    }
}

void PlayerArea::SetFit(Fit fit) {
    fit_ = fit;
    Arrange();
}

void PlayerArea::SetShape(std::optional<PictureShape> shape) {
    if (std::exchange(shape_, shape) != shape) {
        Arrange();
    }
}

RECT PlayerArea::Place() const {
    RECT client{};
    (void)GetClientRect(window_, &client); // empty at worst
    if (fit_ == Fit::kFill || !shape_) {
        return client;
    }
    double height = std::min<double>(client.bottom, client.right / shape_->aspect);
    if (fit_ == Fit::kWholeMultiple && height >= shape_->height) {
        height = std::floor(height / shape_->height) * shape_->height;
    }
    const auto tall = static_cast<LONG>(std::lround(height));
    const auto wide = static_cast<LONG>(std::lround(height * shape_->aspect));
    const LONG left = (client.right - wide) / 2;
    const LONG top = (client.bottom - tall) / 2;
    return {left, top, left + wide, top + tall};
}

// The player's window belongs to another process: it is notified, and not waited for.
void PlayerArea::Arrange() const {
    if (player_ != nullptr) {
        const RECT place = Place();
        (void)SetWindowPos(player_, nullptr, place.left, place.top, place.right - place.left,
                           place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE | SWP_ASYNCWINDOWPOS);
        (void)InvalidateRect(window_, nullptr, TRUE); // what it leaves free
    }
}

RECT PlayerArea::PictureOnScreen() const {
    RECT place = Place();
    (void)MapWindowPoints(window_, nullptr, reinterpret_cast<POINT*>(&place), 2); // answers the distance
    return place;
}

} // namespace vistrame
