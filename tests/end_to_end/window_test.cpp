// The analyzer as people use it: its window's list, buttons and settings, driven the way clicks drive them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/end_to_end/analyzer_run.h"

namespace vistrame::test {
namespace {

using testing::HasSubstr;

constexpr DWORD kLimitMsec = 30'000;
constexpr char kSettingsKey[] = R"(Software\Korvix\QVRA\Config)";

HWND WaitForTopWindow(const char* kind, const char* title) {
    for (DWORD waited = 0; waited < kLimitMsec; waited += 50) {
        if (HWND window = FindWindowA(kind, title)) {
            return window;
        }
        Sleep(50);
    }
    return nullptr;
}

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

void Choose(HWND window, int row) {
    HWND list = Child(window, "LISTBOX", nullptr);
    ASSERT_EQ(SendMessageA(list, LB_GETCOUNT, 0, 0), 2);
    SendMessageA(list, LB_SETCURSEL, static_cast<WPARAM>(row), 0);
    SendMessageA(window, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(list), LBN_SELCHANGE),
                 reinterpret_cast<LPARAM>(list));
}

// Without a player no programme is marked; until the window knows, a choice made from outside would be undone.
void WaitForNoChoice(HWND window) {
    HWND list = Child(window, "LISTBOX", nullptr);
    for (DWORD waited = 0; waited < kLimitMsec && SendMessageA(list, LB_GETCURSEL, 0, 0) != LB_ERR;
         waited += 20) {
        Sleep(20);
    }
}

DWORD StoredUnmuteDelay() {
    DWORD value = 0;
    DWORD size = sizeof value;
    RegGetValueA(HKEY_CURRENT_USER, kSettingsKey, "AudioUnmuteMsec", RRF_RT_REG_DWORD, nullptr, &value,
                 &size);
    return value;
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
    Choose(window, 1);
    EXPECT_TRUE(run.WaitForLine("select programme 2 video 0x0201 audio 0x0202", kLimitMsec));
    EXPECT_TRUE(run.WaitForLine("picture programme 2", kLimitMsec));

    // Another setting: stored, and in force with the player that takes the place of the running one.
    HWND delay = Child(window, "EDIT", nullptr, 6);
    SendMessageA(delay, WM_SETTEXT, 0, reinterpret_cast<LPARAM>("250"));
    Press(window, "Store, restart player");
    EXPECT_TRUE(run.WaitForLine("player exit 0x00000000", kLimitMsec));
    EXPECT_TRUE(run.WaitForLine("player started", kLimitMsec));
    EXPECT_TRUE(run.WaitForLine("picture programme 2", kLimitMsec));
    EXPECT_EQ(StoredUnmuteDelay(), 250U);

    Press(window, "Quit player");
    EXPECT_TRUE(run.WaitForLine("player exit 0x00000000", kLimitMsec));
    WaitForNoChoice(window);
    Choose(window, 0);
    EXPECT_TRUE(run.WaitForLine("select programme 1", kLimitMsec));
    PostMessageA(window, WM_CLOSE, 0, 0);
    EXPECT_EQ(run.WaitForExit(kLimitMsec), 0U);
    EXPECT_THAT(run.Report(), HasSubstr("player-exit 0x00000000\nexit 0\n"));
    RegDeleteKeyValueA(HKEY_CURRENT_USER, kSettingsKey, "AudioUnmuteMsec");
}

// Each waits in a box with the line that also goes to standard error.
TEST(Window, FailuresAreShownInABox) {
    struct Row {
        std::vector<std::string> arguments;
        DWORD exitCode;
        const char* reason;
        bool inWindow; // the window is there, and stays after the box
    };
    const Row rows[] = {
        {{R"(C:\nowhere\no.ts)"}, 2, "no such file", false},
        {{"--play", "9", VISTRAME_DEMO_STREAM}, 3, "programme 9 does not exist", false},
        {{"--play", "1", "--player", R"(C:\nowhere\p.exe)", VISTRAME_DEMO_STREAM},
         4,
         "cannot be started",
         true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.reason);
        AnalyzerRun run(row.arguments);
        HWND box = WaitForTopWindow("#32770", "Vistrame analyzer");
        ASSERT_NE(box, nullptr);
        char text[256] = "";
        for (int i = 0; std::string(text).empty() && i < 3; ++i) { // an icon is a static control as well
            SendMessageA(Child(box, "Static", nullptr, i), WM_GETTEXT, sizeof text,
                         reinterpret_cast<LPARAM>(text));
        }
        EXPECT_THAT(text, HasSubstr(row.reason));
        EXPECT_FALSE(run.WaitForExit(100));
        PostMessageA(box, WM_COMMAND, IDOK, 0);
        if (row.inWindow) {
            HWND window = FindWindowA("VistrameAnalyzer", nullptr);
            EXPECT_FALSE(run.WaitForExit(200));
            PostMessageA(window, WM_CLOSE, 0, 0);
        }
        EXPECT_EQ(run.WaitForExit(kLimitMsec), row.exitCode);
        EXPECT_THAT(run.Error(), HasSubstr(row.reason));
        EXPECT_EQ(FindWindowA("#32770", nullptr), nullptr) << "told once is enough";
    }
}

} // namespace
} // namespace vistrame::test
