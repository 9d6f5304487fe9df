// The overlay commands sent to the built player, whose graph is made of the companion filters and the system's VMR9:
// from no graph through the first one and a rebuild to the end.
#include <array>
#include <cstdio>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>
#include <objbase.h>

#include "control/commands.h"
#include "tests/support/child_process.h"
#include "tests/support/files.h"
#include "tests/support/messages.h"
#include "tests/support/settings_key.h"

namespace vistrame {
namespace {

constexpr DWORD kLimitMsec = 20000;

// The server file enters itself or leaves, as regsvr32 would have it; in the test session's own registry.
void CallServer(const char* operation) {
    std::array<char, MAX_PATH> self{};
    GetModuleFileNameA(nullptr, self.data(), static_cast<DWORD>(self.size()));
    const std::string program = self.data();
    const std::string server = program.substr(0, program.rfind('\\')) + R"(\..\..\filters\vistrame.ax)";
    void* const function = reinterpret_cast<void*>(GetProcAddress(LoadLibraryA(server.c_str()), operation));
    ASSERT_NE(function, nullptr) << operation;
    EXPECT_EQ(reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(function)(), S_OK) << operation;
}

// The player's window, once it has told its parent.
HWND announced = nullptr;

LRESULT CALLBACK ParentProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == RegisterWindowMessageA("QVRA Registration")) {
        announced = reinterpret_cast<HWND>(lParam);
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

// The player answers while this thread goes on serving its parent window.
void Send(UINT message, WPARAM wParam, std::uint32_t argument) {
    DWORD_PTR answer = 1;
    EXPECT_NE(SendMessageTimeoutA(announced, message, wParam, static_cast<LPARAM>(argument), SMTO_NORMAL,
                                  kLimitMsec, &answer),
              0)
        << "no answer to " << wParam << " " << std::hex << argument;
    EXPECT_EQ(answer, 0U);
}
void Send(CommandCode code, std::uint32_t argument) {
    Send(RegisterWindowMessageA("QVRA Registration"), static_cast<WPARAM>(code), argument);
}

void SendOverlayCommands(std::uint32_t position) {
    Send(CommandCode::MoveOsdElement, position);
    Send(CommandCode::ShowOverlay, 0x05000000);
    Send(CommandCode::ShowOverlay, 0x05000001);
    Send(CommandCode::RefreshOverlay, 0);
    Send(WM_TIMER, 2, 0);
}

// The log's lines about the overlay, and the errors it holds.
std::string OverlayLines() {
    std::istringstream log(test::FileContents(test::kDebugLogPath));
    std::string lines;
    for (std::string line; std::getline(log, line);) {
        if (line.starts_with("Redraw") || line.starts_with("Error")) {
            lines += line + '\n';
        }
    }
    return lines;
}

TEST(PlayerOverlay, CommandsWorkFromTheFirstGraphOn) {
    const test::SettingsKey settings;
    settings.Set("UseVMR9", 1);
    settings.Set("ErrorLogDir", test::NewDirectory("overlay"));
    DeleteFileA(test::kDebugLogPath);
    CoInitialize(nullptr);
    CallServer("DllRegisterServer");
    WNDCLASSA description{};
    description.lpfnWndProc = ParentProcedure;
    description.lpszClassName = "OverlayTestParent";
    RegisterClassA(&description);
    HWND parent = CreateWindowA("OverlayTestParent", "", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 800, 700,
                                nullptr, nullptr, nullptr, nullptr);
    CreateNamedPipeA(R"(\\.\pipe\QVRA00000051)", PIPE_ACCESS_OUTBOUND, PIPE_TYPE_BYTE, 1, 65536, 65536, 0,
                     nullptr); // the stream, which stays empty
    std::array<char, 100> text{};
    std::snprintf(text.data(), text.size(), "%08X 00000000 00000051 0 0 1 0 0",
                  static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(parent)));

    test::ChildProcess player(test::PlayerCommandLine(text.data()));
    ASSERT_TRUE(test::PumpUntil([] { return announced != nullptr; }, kLimitMsec));
    std::uint32_t position = 0x0312C0F0;
    SendOverlayCommands(position);
    EXPECT_EQ(OverlayLines(), "") << "there is no surface yet";

    std::string expected;
    for (const std::uint32_t pids : {0x01000101U, 0x02000201U}) {
        Send(CommandCode::SetPid, pids);
        SendOverlayCommands(++position);
        std::snprintf(text.data(), text.size(), "Redraw Overlay: %08X\r\n", static_cast<unsigned>(position));
        expected += text.data();
        EXPECT_EQ(OverlayLines(), expected);
        ASSERT_TRUE(player.IsRunning());
    }
    Send(CommandCode::Quit, 0);
    EXPECT_EQ(player.WaitForExit(kLimitMsec), DWORD{0});
    CallServer("DllUnregisterServer");
}

} // namespace
} // namespace vistrame
