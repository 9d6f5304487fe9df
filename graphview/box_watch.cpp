#include "graphview/box_watch.h"

#include <array>

namespace vistrame {
namespace {

constexpr int kTextOfBox = 0xFFFF; // the identifier of a message box's text

std::string texts; // of the boxes so far

LRESULT CALLBACK OnWindow(int what, WPARAM w, LPARAM l) {
    if (what == HCBT_ACTIVATE) {
        HWND box = reinterpret_cast<HWND>(w);
        std::array<char, 1024> text{};
        if (GetDlgItemTextA(box, kTextOfBox, text.data(), static_cast<int>(text.size())) != 0) {
            texts += text.data();
            texts += '\n';
            (void)PostMessageA(box, WM_COMMAND, IDOK, 0);
        }
    }
    return CallNextHookEx(nullptr, what, w, l);
}

} // namespace

BoxWatch::BoxWatch() : hook_(SetWindowsHookExA(WH_CBT, OnWindow, nullptr, GetCurrentThreadId())) {
    texts.clear();
}

BoxWatch::~BoxWatch() {
    (void)UnhookWindowsHookEx(hook_);
}

const std::string& BoxWatch::Texts() const {
    return texts;
}

} // namespace vistrame
