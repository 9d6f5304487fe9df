#include "analyzer/ui/scale.h"

#include <utility>

#include "contract/system_dlls.h"

namespace vistrame {

int DpiOf(HWND window) {
    // Of Windows 10; before it one number holds for all screens.
    static auto* const ofWindow = SystemFunction<UINT WINAPI(HWND)>(L"user32.dll", "GetDpiForWindow");
    if (ofWindow != nullptr && window != nullptr) {
        return static_cast<int>(ofWindow(window));
    }
    HDC screen = GetDC(nullptr);
    const int dpi = GetDeviceCaps(screen, LOGPIXELSX);
    (void)ReleaseDC(nullptr, screen); // cannot fail for a context just taken
    return dpi > 0 ? dpi : 96;
}

HFONT MakeMessageFont(int dpi, bool bold) {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    // Zeroed metrics make the default font. They are those of the whole system's dots per inch.
    (void)SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    LOGFONTW& look = metrics.lfMessageFont;
    look.lfHeight = MulDiv(look.lfHeight, dpi, DpiOf(nullptr));
    look.lfWeight = bold ? FW_BOLD : look.lfWeight;
    return CreateFontIndirectW(&look);
}

void RemakeFonts(HWND window, int dpi, HFONT* font, HFONT* bold) {
    HFONT before = std::exchange(*font, MakeMessageFont(dpi));
    HFONT boldBefore = std::exchange(*bold, MakeMessageFont(dpi, true));
    for (HWND child = GetWindow(window, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
        auto* has = reinterpret_cast<HFONT>(SendMessageW(child, WM_GETFONT, 0, 0));
        if (has == before || has == boldBefore) {
            HFONT now = has == before ? *font : *bold;
            (void)SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(now), FALSE); // answers nothing
        }
    }
    (void)DeleteObject(before); // nobody draws with them any more
    (void)DeleteObject(boldBefore);
}

HWND MakeChild(HWND parent, const wchar_t* kind, const wchar_t* text, DWORD style, int id, HFONT font,
               DWORD extended) {
    HWND made = CreateWindowExW(extended, kind, text, WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0, parent,
                                reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
    (void)SendMessageW(made, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE); // answers nothing
    return made;
}

HICON ProgramIcon() {
    return LoadIconA(GetModuleHandleW(nullptr), MAKEINTRESOURCEA(1)); // beside its version
}

void NameNextChild(HWND parent, const wchar_t* name) {
    (void)CreateWindowExW(0, L"STATIC", name, WS_CHILD | WS_VISIBLE, 0, 0, 0, 0, parent, nullptr, nullptr,
                          nullptr); // goes with its parent
}

} // namespace vistrame
