// The analyzer as people use it: its window's list, buttons and settings, driven the way clicks drive them.
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "analyzer/ui/commands.h"
#include "contract/settings.h"
#include "player/resources/resource_ids.h"
#include "tests/end_to_end/analyzer_run.h"
#include "tests/support/files.h"
#include "transport/crc32.h"
#include "transport/packet.h"

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
    // The overlay's element is marked in the picture, on the screen.
    const auto press = [window](int id) { SendMessageA(window, WM_COMMAND, static_cast<WPARAM>(id), 0); };
    HWND mark = FindWindowA("VistrameAnalyzerMark", nullptr);
    RECT places[3]{};
    const int steps[] = {kShowOverlay, kMoveOverlay, kRefreshOverlay};
    for (std::size_t i = 0; i < std::size(steps); ++i) {
        press(steps[i]);
        GetWindowRect(mark, &places[i]);
        EXPECT_TRUE(IsWindowVisible(mark));
    }
    EXPECT_TRUE(run.WaitForLine("command ShowOverlay argument 00064064", kLimitMsec));
    EXPECT_TRUE(run.WaitForLine("command MoveOsdElement argument 00104064", kLimitMsec));
    EXPECT_GT(places[1].left, places[0].left);
    EXPECT_TRUE(EqualRect(&places[1], &places[2]));
    HDC screen = GetDC(nullptr);
    const auto corner = [&] { return GetPixel(screen, places[1].left + 1, places[1].top + 1); };
    for (DWORD start = GetTickCount(); corner() != RGB(255, 208, 0) && GetTickCount() - start < 5000;) {
        Sleep(20);
    }
    EXPECT_EQ(corner(), RGB(255, 208, 0));
    ReleaseDC(nullptr, screen);
    press(kHideOverlay);
    EXPECT_FALSE(IsWindowVisible(mark));
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

// The demo stream, whose two programmes change PIDs with each other in its middle: video and sound keep their
// packets and get other numbers, and the maps say so.
std::string StreamThatChanges() {
    std::string bytes = FileContents(VISTRAME_DEMO_STREAM);
    const auto swap = [&bytes](std::size_t at) { // between 0x1xx and 0x2xx
        bytes[at] = static_cast<char>(bytes[at] ^ 3);
    };
    for (std::size_t at = bytes.size() / kPacketSize / 2 * kPacketSize; at < bytes.size();
         at += kPacketSize) {
        const PacketView packet(
            std::span(reinterpret_cast<const std::uint8_t*>(&bytes[at]), kPacketSize).first<kPacketSize>());
        const Pid pid = packet.PacketId();
        if (pid >> 8 == 1 || pid >> 8 == 2) {
            swap(at + 1);
        } else if (pid >> 8 == 0x10 && packet.UnitStart()) {
            const ByteSpan section = packet.Payload().subspan(1);
            const std::size_t begin = at + kPacketSize - packet.Payload().size() + 1;
            const std::size_t size = 3 + (ReadBig16(section, 1) & 0x0FFF);
            swap(begin + 8); // the clock
            for (std::size_t stream = 12; stream + 4 < size;
                 stream += 5 + (ReadBig16(section, stream + 3) & 0xFFF)) {
                swap(begin + stream + 1);
            }
            const std::uint32_t crc = Crc32Mpeg(section.first(size - 4));
            for (std::size_t i = 0; i < 4; ++i) {
                bytes[begin + size - 4 + i] = static_cast<char>(crc >> (24 - 8 * i));
            }
        }
    }
    const std::string path = NewDirectory("changes") + "changes.ts";
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

TEST(Window, FollowsTheTablesAsTheyAreSent) {
    const RegisteredFilters filters;
    AnalyzerRun run({"--set", "UseVMR9=1", StreamThatChanges()},
                    "0 play 1\n+0 wait picture 25\n+0 seek 11\n+4 mark over\n+0 quit\n");
    ASSERT_TRUE(run.WaitForLine("select programme 1 video 0x0101 audio 0x0102", kLimitMsec));
    ASSERT_TRUE(run.WaitForLine("tables programme 1 changed", kLimitMsec));
    EXPECT_TRUE(run.WaitForLine("select programme 1 video 0x0201 audio 0x0202", kLimitMsec));
    EXPECT_TRUE(run.WaitForLine("picture programme 1", kLimitMsec));
    EXPECT_TRUE(run.WaitForLine("mark over", kLimitMsec));
    EXPECT_EQ(run.WaitForExit(kLimitMsec), 0U);
}

} // namespace
} // namespace vistrame::test
