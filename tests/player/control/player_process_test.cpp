// The built player as the analyzer meets it: started with a command line, driven by messages, fed through a
// pipe, and ended in every way it ends.

#include <algorithm>
#include <array>
#include <cstdio>
#include <cwchar>
#include <deque>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "contract/commands.h"
#include "tests/support/child_process.h"
#include "tests/support/files.h"
#include "tests/support/message_boxes.h"
#include "tests/support/messages.h"
#include "tests/support/settings_key.h"

namespace vistrame {
namespace {

constexpr DWORD kAbrupt = 0xFFFFFFFF;
constexpr DWORD kLimitMsec = 10000;

UINT ControlMessageNumber() {
    return RegisterWindowMessageA(kControlMessageName);
}

// A window like the analyzer's: the player's parent, which hears its announcement.
class ParentWindow {
public:
    ParentWindow() {
        WNDCLASSA description{};
        description.lpfnWndProc = Procedure;
        description.lpszClassName = "VistrameTestParent";
        RegisterClassA(&description);
        handle = CreateWindowExA(0, "VistrameTestParent", "parent", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                                 800, 700, nullptr, nullptr, nullptr, nullptr);
        announced.clear();
    }
    ParentWindow(const ParentWindow&) = delete;
    ParentWindow& operator=(const ParentWindow&) = delete;
    ~ParentWindow() { DestroyWindow(handle); }

    HWND WaitForPlayer() const {
        EXPECT_TRUE(test::PumpUntil([] { return !announced.empty(); }, kLimitMsec)) << "no announcement";
        return announced.empty() ? nullptr : reinterpret_cast<HWND>(announced[0].second);
    }

    HWND handle;
    static inline std::vector<std::pair<WPARAM, LPARAM>> announced;

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == ControlMessageNumber()) {
            announced.emplace_back(wParam, lParam);
        }
        return DefWindowProcA(window, message, wParam, lParam);
    }
};

// The analyzer's end of the stream pipe, broken when it goes.
class PipeServer {
public:
    PipeServer()
        : handle_(CreateNamedPipeA(R"(\\.\pipe\QVRA00000042)", PIPE_ACCESS_OUTBOUND, PIPE_TYPE_BYTE, 1, 65536,
                                   65536, 0, nullptr)) {}
    PipeServer(const PipeServer&) = delete;
    PipeServer& operator=(const PipeServer&) = delete;
    ~PipeServer() { CloseHandle(handle_); }

    bool IsConnected() const {
        return ConnectNamedPipe(handle_, nullptr) != FALSE || GetLastError() == ERROR_PIPE_CONNECTED;
    }

private:
    HANDLE handle_;
};

std::string PlayerCommandLine(const std::string& arguments) {
    return '"' + test::BuiltFile("player\\vistrame.exe") + "\" " + arguments;
}

std::string CommandLine(HWND parent, bool log = false) {
    std::array<char, 100> arguments{};
    std::snprintf(arguments.data(), arguments.size(), "%08X 00000000 00000042 0 0 %d 0 0",
                  static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(parent)), log ? 1 : 0);
    return PlayerCommandLine(arguments.data());
}

TEST(StandAlonePlayer, OpensItsWindowAtHighPriorityAndEndsWithIt) {
    DeleteFileA(test::kDebugLogPath);
    const struct {
        const char* name;
        UINT message;
        WPARAM wParam;
        DWORD exitCode;
    } rows[] = {
        {"File/Quit", WM_COMMAND, 40001, kAbrupt},
        {"close", WM_CLOSE, 0, kAbrupt},
        {"command Quit", ControlMessageNumber(), static_cast<WPARAM>(CommandCode::Quit), 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        test::ChildProcess player(PlayerCommandLine(""));
        HWND window = player.WaitForWindow("Vistrame", kLimitMsec);
        ASSERT_NE(window, nullptr);
        EXPECT_EQ(GetPriorityClass(player.Handle()), DWORD{HIGH_PRIORITY_CLASS});
        PostMessageA(window, row.message, row.wParam, 0);
        EXPECT_EQ(player.WaitForExit(kLimitMsec), row.exitCode);
    }
    EXPECT_EQ(test::FileContents(test::kDebugLogPath), "(none)") << "a log nobody asked for";
}

TEST(Player, IsAChildOfItsParentAndLogsItsCommands) {
    std::ofstream(test::kDebugLogPath, std::ios::binary) << "earlier run\r\n";
    const ParentWindow parent;
    const PipeServer pipe;
    test::ChildProcess player(CommandLine(parent.handle, true));
    HWND window = parent.WaitForPlayer();
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(parent.announced[0].first, 0U);
    EXPECT_TRUE(pipe.IsConnected());

    EXPECT_EQ(GetParent(window), parent.handle);
    RECT client{};
    GetClientRect(window, &client);
    EXPECT_EQ(client.right, 720);
    EXPECT_EQ(client.bottom, 576);

    EXPECT_EQ(SendMessageA(window, ControlMessageNumber(), static_cast<WPARAM>(CommandCode::Run), 0xAB), 0);
    const std::string log = "earlier run\r\nRUN message: 000000AB\r\n";
    EXPECT_EQ(test::FileContents(test::kDebugLogPath), log) << "while the player has it open";
    EXPECT_EQ(parent.announced.size(), 1U);
    PostMessageA(window, ControlMessageNumber(), static_cast<WPARAM>(CommandCode::Quit), 0);
    EXPECT_EQ(player.WaitForExit(kLimitMsec), 0U) << "although its reader waits in the pipe";
    EXPECT_EQ(test::FileContents(test::kDebugLogPath), log);
}

TEST(Player, UnderAParentItEndsWithThePipe) {
    const struct {
        const char* name;
        bool parent, pipe;
        std::optional<DWORD> exitCode; // none: still runs
    } rows[] = {
        {"a pipe that breaks", true, true, kAbrupt},
        {"no pipe within two seconds", true, false, kAbrupt},
        {"no parent: the pipe is opened and never read", false, true, std::nullopt},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const ParentWindow parent;
        std::optional<PipeServer> pipe;
        if (row.pipe) {
            pipe.emplace();
        }
        const DWORD start = GetTickCount();
        test::ChildProcess player(CommandLine(row.parent ? parent.handle : nullptr));
        EXPECT_TRUE(!row.parent || parent.WaitForPlayer() != nullptr);
        if (row.pipe) {
            EXPECT_TRUE(pipe->IsConnected());
            test::PumpFor(500);
            EXPECT_TRUE(player.IsRunning());
            pipe.reset();
        } else {
            EXPECT_GE(GetTickCount() - start + 16, 2000U); // announced all the same, but no sooner
        }
        EXPECT_EQ(player.WaitForExit(row.exitCode ? kLimitMsec : 500), row.exitCode);
    }
}

TEST(Player, UnderAParentItEndsWithItsWindow) {
    for (const bool parents : {false, true}) {
        const ParentWindow parent;
        const PipeServer pipe;
        test::ChildProcess player(CommandLine(parent.handle));
        HWND window = parent.WaitForPlayer();
        parents ? DestroyWindow(parent.handle) : PostMessageA(window, WM_CLOSE, 0, 0);
        EXPECT_EQ(player.WaitForExit(kLimitMsec), kAbrupt) << (parents ? "its parent's" : "its own");
    }
}

TEST(Player, NoCommandLineMakesItCrash) {
    struct Row {
        std::string arguments;
        bool ends; // for want of a pipe; without a parent it runs on
    };
    std::vector<Row> rows{
        {std::string(20000, 'F'), true},
        {"%s%n%s%n", false},
        {"0 0 42 99999999999999999999 -1 1 \xFF", false},
    };
    std::mt19937 random(1);
    for (unsigned i = 0; i < 16; ++i) { // of any length up to 8 KB, of any bytes
        std::string any(random() % 8000 + 1, ' ');
        std::ranges::generate(any, [&] { return static_cast<char>(random() % 255 + 1); });
        rows.push_back({(i % 2 == 0 ? "FFFFFFFE " : "x") + any, i % 2 == 0});
    }
    std::deque<test::ChildProcess> players;
    for (const Row& row : rows) {
        players.emplace_back(PlayerCommandLine(row.arguments));
    }
    test::PumpFor(3500); // past the two seconds that each waits for a pipe
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto exitCode = players[i].WaitForExit(rows[i].ends ? kLimitMsec : 0);
        EXPECT_EQ(exitCode, rows[i].ends ? std::optional(kAbrupt) : std::nullopt) << i;
    }
}

TEST(Player, AGraphThatCannotBeBuiltIsReportedAndEndsIt) {
    const std::string directory = test::NewDirectory("player");
    const test::SettingsKey settings;
    settings.Set("MPEG2Codec", 10); // no such row
    settings.Set("ErrorLogDir", directory);
    const ParentWindow parent;
    const PipeServer pipe;
    test::ChildProcess player(CommandLine(parent.handle));
    HWND window = parent.WaitForPlayer();
    ASSERT_NE(window, nullptr);
    PostMessageA(window, ControlMessageNumber(), static_cast<WPARAM>(CommandCode::SetPid), 0x01000101);
    HWND box = player.WaitForWindow("Error", kLimitMsec);
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(test::TextOf(test::MessageBoxText(box)),
              "TV playback failed\nReason: Invalid MPEG2 Codec selected\r\n");
    EXPECT_TRUE(player.IsRunning()) << "until the user has read it";
    const auto files = test::FilesIn(directory);
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(test::FileContents(directory + files[0]), "110 Invalid MPEG2 Codec selected\r\n");
    PostMessageA(box, WM_COMMAND, IDOK, 0);
    EXPECT_EQ(player.WaitForExit(kLimitMsec), kAbrupt);
}

// Half of the codes are none of the player's. The two that end it, for want of a decoder or by order, are
// left out.
TEST(Player, AnswersAnyCommand) {
    const ParentWindow parent;
    const PipeServer pipe;
    test::ChildProcess player(CommandLine(parent.handle));
    HWND window = parent.WaitForPlayer();
    std::mt19937 random(1);
    for (int i = 0; i < 10'000; ++i) {
        const auto code = static_cast<CommandCode>(i % 2 == 0 ? random() : random() % 16);
        const bool thread = code == CommandCode::UnmuteAudio; // one more with each
        if (code == CommandCode::SetPid || code == CommandCode::Quit || (thread && i % 40 != 1)) {
            continue;
        }
        ASSERT_EQ(SendMessageA(window, ControlMessageNumber(), static_cast<WPARAM>(code),
                               static_cast<LPARAM>(random())),
                  0);
    }
    EXPECT_TRUE(player.IsRunning());
    SendMessageA(window, ControlMessageNumber(), static_cast<WPARAM>(CommandCode::Quit), 0);
    EXPECT_EQ(player.WaitForExit(kLimitMsec), 0U);
}

// The analyzer ends while nobody is at the screen.
TEST(Player, QuitClosesAnOpenBoxAndIsObeyedAtOnce) {
    const test::SettingsKey settings;
    settings.Set("MPEG2Codec", 10); // a box in the middle of a build
    const struct {
        const char* name;
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
        const char* title;
        DWORD exitCode;
    } rows[] = {
        {"the error box", ControlMessageNumber(), static_cast<WPARAM>(CommandCode::SetPid), 0x01000101,
         "Error", kAbrupt}, // the failed build ends it, which comes before the command's own end
        {"the about box", WM_COMMAND, 40003, 0, "Information", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const ParentWindow parent;
        const PipeServer pipe;
        test::ChildProcess player(CommandLine(parent.handle));
        HWND window = parent.WaitForPlayer();
        ASSERT_NE(window, nullptr);
        PostMessageA(window, row.message, row.wParam, row.lParam);
        ASSERT_NE(player.WaitForWindow(row.title, kLimitMsec), nullptr);
        EXPECT_EQ(SendMessageA(window, ControlMessageNumber(), static_cast<WPARAM>(CommandCode::Quit), 0), 0);
        EXPECT_EQ(player.WaitForExit(kLimitMsec), row.exitCode) << "waits for a person";
    }
}

// A path of a user who has letters outside ASCII in it, as a host writes it that quotes nothing.
TEST(Player, IsStartedFromAPathInAnyLettersWithoutQuotes) {
    const std::wstring folder = L"C:\\M\u00FCller-Pl\u00E4tze";
    CreateDirectoryW(folder.c_str(), nullptr);
    const std::wstring copy = folder + L"\\vistrame.exe";
    const std::string built = test::BuiltFile("player\\vistrame.exe");
    ASSERT_TRUE(CopyFileW(std::wstring(built.begin(), built.end()).c_str(), copy.c_str(), FALSE));
    const ParentWindow parent;
    const PipeServer pipe;
    std::array<wchar_t, 200> line{};
    std::swprintf(line.data(), line.size(), L"%ls %08X 00000000 00000042 0 0 0 0 0", copy.c_str(),
                  static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(parent.handle)));
    test::ChildProcess player(line.data());
    HWND window = parent.WaitForPlayer();
    EXPECT_EQ(GetParent(window), parent.handle);
    PostMessageA(window, ControlMessageNumber(), static_cast<WPARAM>(CommandCode::Quit), 0);
    EXPECT_EQ(player.WaitForExit(kLimitMsec), 0U);
}

} // namespace
} // namespace vistrame
