// The least that makes a program an analyzer for Vistrame: a window, a pipe, a start and two commands.
//
// usage: minimal-host PLAYER.exe STREAM.ts VIDEO-PID AUDIO-PID VIDEO-CODING AUDIO-CODING SECONDS
//        PIDs and codings as numbers (0x101 or 257), codings as in contract/launch_line.h
// Plays the file for so many seconds, at the pace of its PCR; ends with the player's exit code.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <thread>

#include <windows.h>

#include "contract/commands.h"
#include "contract/launch_line.h"
#include "contract/stream_pipe.h"

using namespace vistrame;

namespace {

constexpr std::uint32_t kPipeNumber = 7; // any; one for each player at the same time
constexpr UINT_PTR kEndTimer = 1;
constexpr UINT kAnswerMsec = 30'000;             // a graph takes a second or two, the first one longer
constexpr std::size_t kPacket = 188;             // bytes of a transport packet
constexpr std::size_t kChunk = 7 * kPacket * 16; // bytes of one write; any number will do

UINT controlMessage = 0;     // set before the window is made
HWND player = nullptr;       // its window; null until it announces itself
std::uint32_t programme = 0; // the two PIDs, packed

void Send(CommandCode code, std::uint32_t argument) {
    DWORD_PTR result = 0;
    // Not SMTO_BLOCK: while the player carries a command out, it sends messages to its parent, which is us.
    (void)SendMessageTimeoutA(player, controlMessage, static_cast<WPARAM>(code),
                              static_cast<LPARAM>(argument), SMTO_NORMAL, kAnswerMsec, &result);
}

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM w, LPARAM l) {
    if (message == controlMessage && player == nullptr) { // the player's window is there
        player = reinterpret_cast<HWND>(l);
        RECT area;
        GetClientRect(window, &area);
        MoveWindow(player, 0, 0, area.right, area.bottom, TRUE); // it never sizes itself
        Send(CommandCode::SetPid, programme);
        return 0;
    }
    switch (message) {
        case WM_SIZE:
            MoveWindow(player, 0, 0, LOWORD(l), HIWORD(l), TRUE);
            return 0;
        case WM_TIMER:
        case WM_CLOSE: // first the player, which is a child of this window, then the window
            Send(CommandCode::Quit, 0);
            DestroyWindow(window);
            return 0;
        case WM_DESTROY:
            PostQuitMessage(0);
            return 0;
        default:
            return DefWindowProcA(window, message, w, l);
    }
}

// Milliseconds of the packet's PCR, or -1 when it has none.
std::int64_t PcrMsec(const unsigned char* packet) {
    const bool has =
        packet[0] == 0x47 && (packet[3] & 0x20) != 0 && packet[4] >= 7 && (packet[5] & 0x10) != 0;
    const auto byte = [packet](int at) { return std::int64_t{packet[at]}; };
    return has ? (byte(6) << 25 | byte(7) << 17 | byte(8) << 9 | byte(9) << 1 | byte(10) >> 7) / 90 : -1;
}

// A thread of its own, so that a full pipe never holds up the window. Ends when the player has gone, too.
void Feed(HANDLE pipe, std::ifstream file) {
    static char chunk[kChunk];
    std::int64_t first = -1;
    int clockPid = -1; // the first PID that carries a PCR keeps the time
    const ULONGLONG start = GetTickCount64();
    (void)ConnectNamedPipe(pipe, nullptr); // the player may be there already
    while (file.read(chunk, kChunk)) {
        for (std::size_t at = 0; at < kChunk; at += kPacket) {
            const auto* packet = reinterpret_cast<const unsigned char*>(chunk + at);
            const std::int64_t now = PcrMsec(packet);
            const int pid = (packet[1] << 8 | packet[2]) & 0x1FFF;
            if (now < 0 || (clockPid >= 0 && pid != clockPid)) {
                continue;
            }
            first = first < 0 ? now : first;
            clockPid = pid;
            while (GetTickCount64() < start + static_cast<ULONGLONG>(now - first)) {
                Sleep(2);
            }
        }
        DWORD written = 0;
        if (!WriteFile(pipe, chunk, kChunk, &written, nullptr)) {
            return;
        }
    }
}

} // namespace

int main(int count, char** words) {
    if (count != 8) {
        std::puts("usage: minimal-host PLAYER STREAM VIDEO-PID AUDIO-PID VIDEO-CODING AUDIO-CODING SECONDS");
        return 1;
    }
    const auto number = [words](int i) { return static_cast<int>(std::strtol(words[i], nullptr, 0)); };
    programme = PackPids({static_cast<Pid>(number(3)), static_cast<Pid>(number(4))});

    controlMessage = RegisterWindowMessageA(kControlMessageName);
    WNDCLASSA kind{};
    kind.lpfnWndProc = OnMessage;
    kind.hInstance = GetModuleHandleA(nullptr);
    kind.lpszClassName = "MinimalHost";
    RegisterClassA(&kind);
    HWND window =
        CreateWindowA("MinimalHost", "Minimal host", WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_CLIPCHILDREN, 100,
                      100, 736, 614, nullptr, nullptr, kind.hInstance, nullptr);

    // The pipe first: the player looks for it for two seconds and goes on without.
    char name[64];
    (void)std::snprintf(name, sizeof name, kStreamPipeFormat, static_cast<unsigned>(kPipeNumber));
    HANDLE pipe = CreateNamedPipeA(name, PIPE_ACCESS_OUTBOUND, PIPE_TYPE_BYTE, 1, 1 << 20, 0, 0, nullptr);
    std::thread(Feed, pipe, std::ifstream(words[2], std::ios::binary)).detach(); // ends with the process

    char line[512];
    const int quoted = std::snprintf(line, sizeof line, "\"%s\" ", words[1]);
    (void)std::snprintf(line + quoted, sizeof line - static_cast<std::size_t>(quoted), kLaunchLineFormat,
                        static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(window)), 0U,
                        static_cast<unsigned>(kPipeNumber), 0, kClockFromDemultiplexer, 0, number(5),
                        number(6));
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    DWORD exitCode = 1;
    if (pipe != INVALID_HANDLE_VALUE &&
        CreateProcessA(words[1], line, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
        SetTimer(window, kEndTimer, static_cast<UINT>(number(7)) * 1000, nullptr);
        MSG message;
        while (GetMessageA(&message, nullptr, 0, 0) > 0) {
            DispatchMessageA(&message);
        }
        (void)WaitForSingleObject(process.hProcess, 10'000);
        GetExitCodeProcess(process.hProcess, &exitCode);
    }
    return static_cast<int>(exitCode);
}
