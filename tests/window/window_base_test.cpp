// The window base class over a real window: what reaches the handlers, with which arguments and results.
#include "window/window_base.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vistrame {
namespace {

class RecordingWindow final : public WindowBase {
public:
    void OnCreate(const CREATESTRUCTA& creation) override { Add(creation.lpszName, 0, 0); }
    LRESULT OnCommand(WPARAM wParam, WORD notification) override {
        return Add("command", wParam, notification);
    }
    LRESULT OnTimer(WPARAM timer) override { return Add("timer", timer, 0); }
    LRESULT OnNotify(WPARAM wParam, LPARAM lParam) override { return Add("notify", wParam, lParam); }
    LRESULT OnSize(WPARAM sizeType) override { return Add("size", sizeType, 0); }
    void OnPaint(HDC context, const PAINTSTRUCT& paint) override { Add("paint", context == paint.hdc, 0); }

    std::string ClassName() const { return class_.lpszClassName == nullptr ? "" : class_.lpszClassName; }
    LRESULT Add(const std::string& handler, WPARAM first, LPARAM second) {
        calls.push_back(handler + ' ' + std::to_string(first) + ' ' + std::to_string(second));
        return 11;
    }

    std::vector<std::string> calls;
};

using Calls = std::vector<std::string>;

TEST(WindowBase, HandsMessagesToTheirHandlers) {
    RecordingWindow window;
    HWND handle = window.Create("title", WS_OVERLAPPEDWINDOW, 10, 20, 300, 200, nullptr, nullptr);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(window.Handle(), handle);
    EXPECT_EQ(window.calls, Calls{"title 0 0"});

    const struct {
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
        Calls calls;
        LRESULT result;
    } rows[] = {
        {WM_COMMAND, 0x00050001, 0, {"command 327681 5"}, 11},
        {WM_TIMER, 7, 0, {"timer 7 0"}, 11},
        {WM_NOTIFY, 3, 4, {"notify 3 4"}, 11},
        {WM_SIZE, SIZE_MAXIMIZED, 0, {"size 2 0"}, 11},
        {WM_PAINT, 0, 0, {"paint 1 0"}, 0},
        {WM_GETTEXTLENGTH, 0, 0, {}, 5}, // the system's
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.message);
        window.calls.clear();
        EXPECT_EQ(SendMessageA(handle, row.message, row.wParam, row.lParam), row.result);
        EXPECT_EQ(window.calls, row.calls);
    }
    InvalidateRect(handle, nullptr, FALSE);
    SendMessageA(handle, WM_PAINT, 0, 0);
    EXPECT_FALSE(GetUpdateRect(handle, nullptr, FALSE)) << "painting was not begun and ended";
    DestroyWindow(handle);
}

TEST(WindowBase, NamesItsClassAndUnregistersItAtTheEnd) {
    const auto registered = [](const std::string& name) {
        WNDCLASSEXA description{};
        description.cbSize = sizeof description;
        return GetClassInfoExA(GetModuleHandleA(nullptr), name.c_str(), &description) != FALSE;
    };
    auto named = std::make_unique<RecordingWindow>();
    EXPECT_TRUE(named->RegisterWindowClass("VistrameTestClass"));
    RecordingWindow second;
    EXPECT_FALSE(second.RegisterWindowClass("VistrameTestClass")) << "a class exists once";
    EXPECT_TRUE(registered("VistrameTestClass"));
    named.reset();
    EXPECT_FALSE(registered("VistrameTestClass"));

    auto generated = std::make_unique<RecordingWindow>();
    DestroyWindow(generated->Create("", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr));
    const std::string name = generated->ClassName();
    EXPECT_EQ(name.size(), std::string("AutgenWndClassName").size() + 8);
    EXPECT_TRUE(name.starts_with("AutgenWndClassName"));
    EXPECT_TRUE(registered(name));
    generated.reset();
    EXPECT_FALSE(registered(name));
}

} // namespace
} // namespace vistrame
