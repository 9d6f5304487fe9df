#include "player/window/window_base.h"

#include <cstdint>
#include <cstdio>

namespace vistrame {

WindowBase::WindowBase() {
    class_.cbSize = sizeof class_;
    class_.lpfnWndProc = Thunk;
    class_.hInstance = GetModuleHandleA(nullptr);
}

WindowBase::~WindowBase() {
    if (class_.lpszClassName != nullptr) {
        UnregisterClassA(class_.lpszClassName, class_.hInstance);
    }
}

void WindowBase::OnCreate(const CREATESTRUCTA& /*creation*/) {}

LRESULT WindowBase::OnCommand(WPARAM /*wParam*/, WORD /*notification*/) {
    return 0;
}

LRESULT WindowBase::OnTimer(WPARAM /*timer*/) {
    return 0;
}

LRESULT WindowBase::OnNotify(WPARAM /*wParam*/, LPARAM /*lParam*/) {
    return 0;
}

LRESULT WindowBase::OnSize(WPARAM /*sizeType*/) {
    return 0;
}

void WindowBase::OnPaint(HDC /*context*/, const PAINTSTRUCT& /*paint*/) {}

LRESULT WindowBase::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_CREATE:
            OnCreate(*reinterpret_cast<const CREATESTRUCTA*>(lParam));
            return 0;
        case WM_SIZE:
            return OnSize(wParam);
        case WM_PAINT: {
            PAINTSTRUCT paint;
            HDC context = BeginPaint(handle_, &paint);
            OnPaint(context, paint);
            EndPaint(handle_, &paint);
            return 0;
        }
        case WM_NOTIFY:
            return OnNotify(wParam, lParam);
        case WM_COMMAND:
            return OnCommand(wParam, HIWORD(wParam));
        case WM_TIMER:
            return OnTimer(wParam);
        default:
            return DefWindowProcA(handle_, message, wParam, lParam);
    }
}

bool WindowBase::RegisterWindowClass(const char* name) {
    if (name == nullptr) {
        // Unique enough for several windows of one process: the product wraps at 32 bits.
        const auto number = static_cast<unsigned>(GetTickCount()) *
                            static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(this));
        (void)std::snprintf(generatedName_.data(), generatedName_.size(), "AutgenWndClassName%08X", number);
        name = generatedName_.data();
    }
    class_.lpszClassName = name;
    return RegisterClassExA(&class_) != 0;
}

HWND WindowBase::Create(const char* title, DWORD style, int x, int y, int width, int height, HWND parent,
                        HMENU menu) {
    if (class_.lpszClassName == nullptr) {
        (void)RegisterWindowClass(nullptr); // a failure shows in the creation below
    }
    creation_ = {title, style, x, y, width, height, parent, menu};

    // The menu bar is left out of the sum on purpose: with one, the client area comes out shorter by its
    // height.
    RECT outer = {x, y, x + width - 1, y + height - 1};
    AdjustWindowRect(&outer, style, FALSE);
    handle_ = CreateWindowExA(0, class_.lpszClassName, title, style, x, y, outer.right - outer.left + 1,
                              outer.bottom - outer.top + 1, parent, menu, class_.hInstance, this);
    return handle_;
}

LRESULT CALLBACK WindowBase::Thunk(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_CREATE) {
        auto* created =
            static_cast<WindowBase*>(reinterpret_cast<const CREATESTRUCTA*>(lParam)->lpCreateParams);
        created->handle_ = window;
        SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(created));
    }
    auto* self = reinterpret_cast<WindowBase*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    return self != nullptr ? self->HandleMessage(message, wParam, lParam)
                           : DefWindowProcA(window, message, wParam, lParam);
}

} // namespace vistrame
