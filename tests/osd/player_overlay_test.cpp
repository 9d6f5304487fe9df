// The overlay commands sent to the built player, whose graph is made of the companion filters and the system's VMR9:
// from no graph through the first one and a rebuild to the end.
#include <array>
#include <cstdio>
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

// The server file registers itself, as regsvr32 would have it; in the test session's own registry.
class RegisteredFilters {
public:
    RegisteredFilters() {
        CoInitialize(nullptr);
        std::array<char, MAX_PATH> self{};
        GetModuleFileNameA(nullptr, self.data(), static_cast<DWORD>(self.size()));
        const std::string program = self.data();
        module_ =
            LoadLibraryA((program.substr(0, program.rfind('\\')) + R"(\..\..\filters\vistrame.ax)").c_str());
        Call("DllRegisterServer");
    }
    RegisteredFilters(const RegisteredFilters&) = delete;
    RegisteredFilters& operator=(const RegisteredFilters&) = delete;
    ~RegisteredFilters() {
        Call("DllUnregisterServer");
        FreeLibrary(module_);
        CoUninitialize();
    }

private:
    void Call(const char* name) const {
        void* const function = reinterpret_cast<void*>(GetProcAddress(module_, name));
        ASSERT_NE(function, nullptr) << name;
        EXPECT_EQ(reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(function)(), S_OK) << name;
    }

    HMODULE module_;
};

// The player's window, once it has told its parent.
HWND announced = nullptr;

LRESULT CALLBACK ParentProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == RegisterWindowMessageA("QVRA Registration")) {
        announced = reinterpret_cast<HWND>(lParam);
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

class PlayerOverlay : public testing::Test {
protected:
    void SetUp() override {
        settings_.Set("UseVMR9", 1);
        settings_.Set("ErrorLogDir", errors_);
        DeleteFileA(test::kDebugLogPath);
        WNDCLASSA description{};
        description.lpfnWndProc = ParentProcedure;
        description.lpszClassName = "OverlayTestParent";
        RegisterClassA(&description);
        parent_ = CreateWindowA("OverlayTestParent", "", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 800, 700,
                                nullptr, nullptr, nullptr, nullptr);
        pipe_ = CreateNamedPipeA(R"(\\.\pipe\QVRA00000051)", PIPE_ACCESS_OUTBOUND, PIPE_TYPE_BYTE, 1, 65536,
                                 65536, 0, nullptr);
    }

    void TearDown() override {
        CloseHandle(pipe_);
        DestroyWindow(parent_);
    }

    std::string CommandLine() const {
        std::array<char, 100> text{};
        std::snprintf(text.data(), text.size(), "%08X 00000000 00000051 0 0 1 0 0",
                      static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(parent_)));
        return test::PlayerCommandLine(text.data());
    }

    // The player's answer to a message, while this thread goes on serving its parent window.
    static void Send(UINT message, WPARAM wParam, LPARAM lParam) {
        DWORD_PTR answer = 1;
        EXPECT_NE(SendMessageTimeoutA(announced, message, wParam, lParam, SMTO_NORMAL, kLimitMsec, &answer),
                  0)
            << "no answer to " << wParam << " " << std::hex << lParam;
        EXPECT_EQ(answer, 0U);
    }
    static void Send(CommandCode code, std::uint32_t argument) {
        Send(RegisterWindowMessageA("QVRA Registration"), static_cast<WPARAM>(code),
             static_cast<LPARAM>(argument));
    }

    // The log's lines about the overlay, and the errors it holds.
    static std::string OverlayLines() {
        const std::string log = test::FileContents(test::kDebugLogPath);
        std::string lines;
        for (std::size_t start = 0, end = 0; (end = log.find("\r\n", start)) != std::string::npos;
             start = end + 2) {
            const std::string line = log.substr(start, end - start);
            if (line.starts_with("Redraw") || line.starts_with("Error")) {
                lines += line + '\n';
            }
        }
        return lines;
    }

    test::SettingsKey settings_;
    RegisteredFilters filters_;
    std::string errors_ = test::NewDirectory("overlay");
    HWND parent_ = nullptr;
    HANDLE pipe_ = INVALID_HANDLE_VALUE;
};

TEST_F(PlayerOverlay, CommandsWorkFromTheFirstGraphOn) {
    test::ChildProcess player(CommandLine());
    ASSERT_TRUE(test::PumpUntil([] { return announced != nullptr; }, kLimitMsec));

    const auto sendAll = [](std::uint32_t position) {
        Send(CommandCode::MoveOsdElement, position);
        Send(CommandCode::ShowOverlay, 0x05000000);
        Send(CommandCode::ShowOverlay, 0x05000001);
        Send(CommandCode::RefreshOverlay, 0);
        Send(WM_TIMER, 2, 0);
    };
    sendAll(0x0312C0F0);
    EXPECT_EQ(OverlayLines(), "") << "there is no surface yet";

    std::string expected;
    std::uint32_t position = 0x0312C0F0;
    for (const std::uint32_t pids : {0x01000101U, 0x02000201U}) {
        Send(CommandCode::SetPid, pids);
        sendAll(++position);
        std::array<char, 40> line{};
        std::snprintf(line.data(), line.size(), "Redraw Overlay: %08X\n", static_cast<unsigned>(position));
        expected += line.data();
        EXPECT_EQ(OverlayLines(), expected);
        ASSERT_TRUE(player.IsRunning());
    }
    Send(CommandCode::Quit, 0);
    EXPECT_EQ(player.WaitForExit(kLimitMsec), DWORD{0});
}

} // namespace
} // namespace vistrame
