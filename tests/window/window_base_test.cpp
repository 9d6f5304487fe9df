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
    void OnCreate(const CREATESTRUCTA& creation) override { Add("create " + std::string(creation.lpszName)); }
    LRESULT OnCommand(WPARAM wParam, WORD notification) override {
        Add("command " + std::to_string(wParam) + " " + std::to_string(notification));
        return 11;
    }
    LRESULT OnTimer(WPARAM timer) override {
        Add("timer " + std::to_string(timer));
        return 12;
    }
    LRESULT OnNotify(WPARAM wParam, LPARAM lParam) override {
        Add("notify " + std::to_string(wParam) + " " + std::to_string(lParam));
        return 13;
    }
    LRESULT OnSize(WPARAM sizeType) override {
        Add("size " + std::to_string(sizeType));
        return 14;
    }
    void OnPaint(HDC context, const PAINTSTRUCT& paint) override {
        Add(context == paint.hdc ? "paint" : "paint without context");
    }

    std::string ClassName() const { return class_.lpszClassName == nullptr ? "" : class_.lpszClassName; }
    void Add(std::string line) { calls.push_back(std::move(line)); }

    std::vector<std::string> calls;
};

using Calls = std::vector<std::string>;

TEST(WindowBase, HandsMessagesToTheirHandlers) {
    RecordingWindow window;
    HWND handle = window.Create("title", WS_OVERLAPPEDWINDOW, 10, 20, 300, 200, nullptr, nullptr);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(window.Handle(), handle);
    EXPECT_EQ(window.calls, Calls{"create title"});

    const struct {
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
        Calls calls;
        LRESULT result;
    } rows[] = {
        {WM_COMMAND, 0x00051234, 0, {"command " + std::to_string(0x51234) + " 5"}, 11},
        {WM_TIMER, 7, 0, {"timer 7"}, 12},
        {WM_NOTIFY, 3, 4, {"notify 3 4"}, 13},
        {WM_SIZE, SIZE_MAXIMIZED, 0, {"size 2"}, 14},
        {WM_PAINT, 0, 0, {"paint"}, 0},
        {WM_GETTEXTLENGTH, 0, 0, {}, 5}, // the system's own procedure answers
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

TEST(WindowBase, SizesTheClientAreaAndLeavesAMenuBarOut) {
    for (const bool withMenu : {false, true}) {
        SCOPED_TRACE(withMenu);
        HMENU menu = nullptr;
        if (withMenu) {
            menu = CreateMenu();
            AppendMenuA(menu, MF_STRING, 1, "item");
        }
        RecordingWindow window;
        HWND handle = window.Create("", WS_OVERLAPPEDWINDOW, 10, 20, 300, 200, nullptr, menu);
        MENUBARINFO bar{};
        bar.cbSize = sizeof bar;
        GetMenuBarInfo(handle, OBJID_MENU, 0, &bar);
        const LONG barHeight = withMenu ? GetSystemMetrics(SM_CYMENU) : 0;
        RECT client{};
        GetClientRect(handle, &client);
        EXPECT_EQ(client.right, 300);
        EXPECT_EQ(client.bottom, 200 - barHeight);
        RECT outer{};
        GetWindowRect(handle, &outer);
        EXPECT_EQ(outer.left, 10); // the outer frame, not the client area, lies at the position
        EXPECT_EQ(outer.top, 20);
        DestroyWindow(handle);
    }
}

TEST(WindowBase, NamesItsClassAndUnregistersItAtTheEnd) {
    HINSTANCE module = GetModuleHandleA(nullptr);
    WNDCLASSEXA registered{};
    registered.cbSize = sizeof registered;

    auto named = std::make_unique<RecordingWindow>();
    EXPECT_TRUE(named->RegisterWindowClass("VistrameTestClass"));
    EXPECT_TRUE(GetClassInfoExA(module, "VistrameTestClass", &registered));
    RecordingWindow second;
    EXPECT_FALSE(second.RegisterWindowClass("VistrameTestClass")) << "a class exists once";
    named.reset();
    EXPECT_FALSE(GetClassInfoExA(module, "VistrameTestClass", &registered));

    auto generated = std::make_unique<RecordingWindow>();
    HWND handle = generated->Create("", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr);
    const std::string name = generated->ClassName();
    EXPECT_EQ(name.size(), std::string("AutgenWndClassName").size() + 8);
    EXPECT_EQ(name.rfind("AutgenWndClassName", 0), 0U);
    EXPECT_TRUE(GetClassInfoExA(module, name.c_str(), &registered));
    DestroyWindow(handle);
    generated.reset();
    EXPECT_FALSE(GetClassInfoExA(module, name.c_str(), &registered));
}

TEST(WindowBase, AWindowThatCannotBeCreatedIsNull) {
    RecordingWindow window;
    EXPECT_EQ(window.Create("", WS_CHILD, 0, 0, 1, 1, nullptr, nullptr), nullptr); // a child without a parent
    EXPECT_EQ(window.Handle(), nullptr);
}

} // namespace
} // namespace vistrame
