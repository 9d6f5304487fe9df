#include "player/window/player_window.h"

#include "player/app/launch_fields.h"
#include "player/app/process_state.h"
#include "player/graph/player_graph.h"
#include "player/graph/overlay_redraw.h"
#include "player/resources/resource_ids.h"
#include "player/window/colour_bars.h"
#include "player/control/dispatcher.h"
#include "player/control/stall_watchdog.h"
#include "contract/commands.h"

namespace vistrame {
namespace {

constexpr int kWidth = 720; // client area: a standard-definition picture with square pixels
constexpr int kHeight = 576;

constexpr char kAboutText[] = "Vistrame " VISTRAME_VERSION
                              "\n"
                              "External Directshow TV decoder for the Kestrovane MPEG2/DVB TS analyzer\n"
                              "Copyright (c) 2026 Korvix. All rights reserved.";

PlayerWindow playerWindow;

} // namespace

PlayerWindow& ThePlayerWindow() {
    return playerWindow;
}

PlayerWindow::~PlayerWindow() = default;

void PlayerWindow::CreateAndAnnounce() {
    class_.style = CS_CLASSDC | CS_DBLCLKS;
    class_.hInstance = InstanceHandle;
    class_.hIcon = LoadIconA(InstanceHandle, MAKEINTRESOURCEA(IDI_PLAYER));
    class_.hCursor = LoadCursorA(nullptr, IDC_ARROW);

    HWND parent = StandAlone ? nullptr : reinterpret_cast<HWND>(ParentWindow);
    const DWORD style = StandAlone ? WS_OVERLAPPEDWINDOW : WS_CHILD;
    // For a child window the system takes the menu's value as the child's identifier.
    HMENU menu = LoadMenuA(InstanceHandle, MAKEINTRESOURCEA(IDM_PLAYER));
    MainWindow = Create("Vistrame", style, 0, 0, kWidth, kHeight, parent, menu);
    ShowWindow(MainWindow, SW_SHOWNORMAL);
    SetTimer(MainWindow, TIMER_STARTUP, kStartupTimerMsec, nullptr);
    // Without a parent this becomes a message of the thread that no window receives.
    PostMessageA(parent, ControlMessage, 0, reinterpret_cast<LPARAM>(MainWindow));
}

LRESULT PlayerWindow::OnCommand(WPARAM wParam, WORD /*notification*/) {
    switch (LOWORD(wParam)) {
        case IDC_FILE_QUIT:
            DestroyWindow(handle_);
            break;
        case IDC_HELP_ABOUT:
            MessageBoxA(handle_, kAboutText, "Information", MB_OK);
            break;
        default:
            break;
    }
    return 0;
}

LRESULT PlayerWindow::OnTimer(WPARAM timer) {
    switch (timer) {
        case TIMER_STARTUP:
            KillTimer(handle_, TIMER_STARTUP);
            break;
        case TIMER_OSD_REFRESH:
            RedrawOverlay();
            break;
        case TIMER_STALL_WATCH:
            CheckForStall();
            break;
        default:
            break;
    }
    return 0;
}

LRESULT PlayerWindow::OnSize(WPARAM /*sizeType*/) {
    RECT client{};
    GetClientRect(handle_, &client);
    InvalidateRect(handle_, nullptr, FALSE);
    if (ThePlayerGraph().videoWindow) {
        (void)ThePlayerGraph().videoWindow->SetWindowPosition(0, 0, client.right, client.bottom);
    }
    return 0;
}

LRESULT PlayerWindow::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == ControlMessage) {
        const auto code = static_cast<CommandCode>(wParam);
        DispatchCommand(code, static_cast<std::uint32_t>(lParam));
        if (code == CommandCode::Quit) {
            return 0;
        }
    }
    if (message == WM_DESTROY || message == WM_CLOSE) {
        EndWithWindow();
    }
    return WindowBase::HandleMessage(message, wParam, lParam);
}

void PlayerWindow::OnPaint(HDC context, const PAINTSTRUCT& /*paint*/) {
    if (StandAlone && ThePlayerGraph().built == 0) {
        RECT client{};
        GetClientRect(handle_, &client);
        PaintColourBars(context, client);
    }
    RedrawOverlay();
}

} // namespace vistrame
