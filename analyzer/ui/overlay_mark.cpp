#include "analyzer/ui/overlay_mark.h"

#include <string>

#include "analyzer/ui/scale.h"

namespace vistrame {

namespace {

constexpr wchar_t kClass[] = L"VistrameAnalyzerMark";
constexpr UINT kFlashMsec = 400;
constexpr int kOverlayWidth = 1920;
constexpr int kOverlayHeight = 1080;
constexpr int kGap = 3;                        // around the text, for 96 dots per inch
constexpr COLORREF kColour = RGB(255, 208, 0); // as little like a picture's as may be
constexpr COLORREF kFlashColour = RGB(255, 255, 255);

} // namespace

void OverlayMark::Create(HWND owner, HFONT font) {
    font_ = font;
    WNDCLASSEXW kind{};
    kind.cbSize = sizeof kind;
    kind.lpfnWndProc = Thunk;
    kind.hInstance = GetModuleHandleW(nullptr);
    kind.lpszClassName = kClass;
    (void)RegisterClassExW(&kind); // stays registered when another file is opened
    window_ = CreateWindowExW(WS_EX_TOOLWINDOW | WS_EX_NOACTIVATE, kClass, L"Overlay element", WS_POPUP, 0, 0,
                              0, 0, owner, nullptr, kind.hInstance, nullptr);
    SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

LRESULT CALLBACK OverlayMark::Thunk(HWND window, UINT message, WPARAM w, LPARAM l) {
    auto* self = reinterpret_cast<OverlayMark*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self != nullptr && message == WM_PAINT) {
        self->Paint();
        return 0;
    }
    if (self != nullptr && message == WM_TIMER) {
        self->flashes_ = false;
        (void)KillTimer(window, w); // it is the one that came
        (void)InvalidateRect(window, nullptr, FALSE);
        return 0;
    }
    return DefWindowProcW(window, message, w, l);
}

void OverlayMark::Show(POINT element) {
    element_ = element;
    place_ = {}; // placed anew
}

void OverlayMark::Hide() {
    element_.reset();
    (void)ShowWindow(window_, SW_HIDE); // answers whether it was shown before
}

void OverlayMark::Flash() {
    flashes_ = SetTimer(window_, 1, kFlashMsec, nullptr) != 0;
    (void)InvalidateRect(window_, nullptr, FALSE);
}

void OverlayMark::Place(const RECT& picture) {
    const int width = picture.right - picture.left;
    const int height = picture.bottom - picture.top;
    if (!element_ || width <= 0 || height <= 0) {
        return;
    }
    const std::wstring text = Text();
    HDC device = GetDC(window_);
    HGDIOBJ before = SelectObject(device, font_);
    SIZE size{};
    (void)GetTextExtentPoint32W(device, text.c_str(), static_cast<int>(text.size()), &size); // empty at worst
    (void)SelectObject(device, before);
    (void)ReleaseDC(window_, device);
    const int gap = Scaled(window_, kGap);
    RECT place{0, 0, size.cx + 2 * gap, size.cy + 2 * gap};
    (void)OffsetRect(&place, picture.left + MulDiv(element_->x, width, kOverlayWidth),
                     picture.top + MulDiv(element_->y, height, kOverlayHeight));
    (void)IntersectRect(&place, &place, &picture); // empty: the element lies outside
    if (EqualRect(&place, &place_)) {
        return;
    }
    place_ = place;
    (void)SetWindowPos(window_, HWND_TOP, place.left, place.top, place.right - place.left,
                       place.bottom - place.top, SWP_NOACTIVATE | SWP_SHOWWINDOW);
    (void)InvalidateRect(window_, nullptr, FALSE);
}

std::wstring OverlayMark::Text() const {
    const POINT at = element_.value_or(POINT{});
    return L"Overlay element 0: " + std::to_wstring(at.x) + L", " + std::to_wstring(at.y);
}

void OverlayMark::Paint() const {
    PAINTSTRUCT paint;
    HDC device = BeginPaint(window_, &paint);
    RECT area{};
    (void)GetClientRect(window_, &area); // empty at worst
    HBRUSH brush = CreateSolidBrush(flashes_ ? kFlashColour : kColour);
    (void)FillRect(device, &area, brush); // drawing that fails shows
    (void)DeleteObject(brush);
    (void)SetBkMode(device, TRANSPARENT);
    HGDIOBJ before = SelectObject(device, font_);
    const std::wstring text = Text();
    const int gap = Scaled(window_, kGap);
    (void)TextOutW(device, gap, gap, text.c_str(), static_cast<int>(text.size()));
    (void)SelectObject(device, before);
    (void)EndPaint(window_, &paint);
}

} // namespace vistrame
