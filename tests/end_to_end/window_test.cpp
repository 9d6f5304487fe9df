// The analyzer as people use it: its window's list, buttons and settings, driven the way clicks drive them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "player/resources/resource_ids.h"
#include "tests/end_to_end/analyzer_run.h"
#include "contract/settings.h"

namespace vistrame::test {
namespace {

using testing::HasSubstr;

constexpr DWORD kLimitMsec = 30'000;

HWND Child(HWND parent, const char* kind, const char* text, int which = 0) {
    HWND child = nullptr;
    do {
        child = FindWindowExA(parent, child, kind, text);
    } while (child != nullptr && which-- > 0);
    return child;
}

void Press(HWND window, const char* button) {
    HWND pressed = Child(window, "BUTTON", button);
    ASSERT_NE(pressed, nullptr) << button;
    SendMessageA(pressed, BM_CLICK, 0, 0);
}

// Typed into the list of programmes.
void Type(HWND window, WPARAM key) {
    PostMessageA(Child(window, "SysListView32", nullptr), WM_KEYDOWN, key, 0);
}

TEST(Window, ClicksBecomeCommandsAndSettings) {
    const RegisteredFilters filters;
    AnalyzerRun run(
        {"--set", "UseVMR9=1", "--set", "AudioUnmuteMsec=0", "--play", "1", VISTRAME_DEMO_STREAM});
    ASSERT_TRUE(run.WaitForLine("select programme 1", kLimitMsec));
    HWND window = FindWindowA("VistrameAnalyzer", nullptr);
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(run.WaitForLine("picture programme 1", kLimitMsec));
    const std::pair<const char*, const char*> buttons[] = {
        {"Pause", "command Pause"},        {"Run", "command Run"},   {"Discontinuity", "command SendDisc"},
        {"Unmute", "command UnmuteAudio"}, {"Stop", "command Stop"},
    };
    for (const auto& [button, line] : buttons) {
        Press(window, button);
        EXPECT_TRUE(run.WaitForLine(line, kLimitMsec)) << button;
    }
    Type(window, VK_DOWN);
    EXPECT_TRUE(run.WaitForLine("select programme 2 video 0x0201 audio 0x0202", kLimitMsec));
    EXPECT_TRUE(run.WaitForLine("picture programme 2", kLimitMsec));
    Type(window, '1');
    EXPECT_TRUE(run.WaitForLine("select programme 1", kLimitMsec));

    // Another setting: stored, and in force with the player that takes the place of the running one.
    Press(window, "Se&ttings...");
    HWND settings = FindWindowA("VistrameAnalyzerSettings", nullptr);
    SendMessageA(Child(settings, "EDIT", nullptr), WM_SETTEXT, 0, reinterpret_cast<LPARAM>("250"));
    Press(settings, "&Apply");
    EXPECT_TRUE(run.WaitForLine("player exit 0x00000000", kLimitMsec));
    EXPECT_TRUE(run.WaitForLine("player started", kLimitMsec));
    EXPECT_TRUE(run.WaitForLine("picture programme 1", kLimitMsec));

    // Why a player has gone is said, and another offered.
    PostMessageA(GetWindow(Child(window, "VistrameAnalyzerArea", nullptr), GW_CHILD), WM_CLOSE, 0, 0);
    EXPECT_TRUE(run.WaitForLine("player exit 0xFFFFFFFF", kLimitMsec));
    HWND again = Child(window, "BUTTON", "Start &again");
    for (const DWORD start = GetTickCount(); !IsWindowVisible(again) && GetTickCount() - start < 5000;) {
        Sleep(20);
    }
    Press(window, "Start &again");
    EXPECT_TRUE(run.WaitForLine("picture programme 1", kLimitMsec));
    DWORD stored = 0;
    DWORD size = sizeof stored;
    RegGetValueA(HKEY_CURRENT_USER, kSettingsKey, "AudioUnmuteMsec", RRF_RT_REG_DWORD, nullptr, &stored,
                 &size);
    EXPECT_EQ(stored, 250U);
    RegDeleteKeyValueA(HKEY_CURRENT_USER, kSettingsKey, "AudioUnmuteMsec");
    PostMessageA(window, WM_CLOSE, 0, 0);
    EXPECT_EQ(run.WaitForExit(kLimitMsec), 5U) << "what went wrong last is the result";
    EXPECT_THAT(run.Written("report"), HasSubstr("player-exit 0x00000000\nexit 5\n"));
}

// A player's box disables the window; a player that ends without closing it leaves the window usable.
TEST(Window, IsEnabledAgainWhenThePlayerEndsUnderItsBox) {
    const RegisteredFilters filters;
    AnalyzerRun run({"--set", "UseVMR9=1", "--stay-open", VISTRAME_DEMO_STREAM},
                    "0 play 1\n+0 wait exit 0xFFFFFFFF 60\n");
    ASSERT_TRUE(run.WaitForLine("command SetPid", kLimitMsec));
    HWND window = FindWindowA("VistrameAnalyzer", nullptr);
    HWND player = GetWindow(Child(window, "VistrameAnalyzerArea", nullptr), GW_CHILD);
    PostMessageA(player, WM_COMMAND, IDC_HELP_ABOUT, 0);
    PostMessageA(player, WM_CLOSE, 0, 0); // read by the box's own message loop; ends the process at once
    ASSERT_TRUE(run.WaitForLine("player exit 0xFFFFFFFF", kLimitMsec));
    for (DWORD start = GetTickCount(); !IsWindowEnabled(window) && GetTickCount() - start < 5000;) {
        Sleep(20);
    }
    EXPECT_TRUE(IsWindowEnabled(window));
    PostMessageA(window, WM_CLOSE, 0, 0);
    EXPECT_EQ(run.WaitForExit(kLimitMsec), 0U);
}

} // namespace
} // namespace vistrame::test
