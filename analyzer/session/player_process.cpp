#include "analyzer/session/player_process.h"

#include "analyzer/base/patience.h"
#include "analyzer/base/text.h"
#include "analyzer/base/utf8.h"
#include "contract/commands.h"

namespace vistrame {

namespace {

// The player itself tries for 2 s to reach the pipe; the rest is for a machine that is busy.
constexpr DWORD kAnnounceMsec = 15'000;
// A graph is built within a second or two; its first build after a fresh start of Wine takes longer.
constexpr UINT kAnswerMsec = 30'000;
constexpr UINT kSeamAnswerMsec = 100;

} // namespace

PlayerProcess::PlayerProcess(EventLog& log)
    : log_(log),
      message_(RegisterWindowMessageA(kControlMessageName)),
      announced_(CreateEventA(nullptr, TRUE, FALSE, nullptr)) {}

Outcome PlayerProcess::Start(const std::string& path, const LaunchLine& line) {
    Release();
    const std::string fields = FormatLaunchLine(line);
    std::wstring command = Widen("\"" + path + "\" " + fields);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(Widen(path).c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &started)) {
        return {ExitCode::kPlayerStart,
                "the player " + path + " cannot be started: " + ErrorText(GetLastError())};
    }
    (void)CloseHandle(started.hThread);
    process_ = Handle(started.hProcess);
    processId_ = started.dwProcessId;
    log_.Line("player started fields \"" + fields + "\"");
    const HANDLE events[] = {announced_.get(), process_.get()};
    switch (WaitForMultipleObjects(2, events, FALSE, Patiently(kAnnounceMsec))) {
        case WAIT_OBJECT_0:
            return {};
        case WAIT_OBJECT_0 + 1:
            return {ExitCode::kPlayerStart,
                    "the player " + path + " ended with exit code " +
                        Format("0x%08X", static_cast<unsigned>(WaitExit(0).value_or(0))) +
                        " before it announced its window"};
        default:
            Terminate();
            return {ExitCode::kPlayerStart, "the player " + path + " did not announce its window"};
    }
}

void PlayerProcess::OnAnnounced(HWND window) {
    window_ = window;
    log_.Line(
        Format("player announced window %08X", static_cast<unsigned>(reinterpret_cast<UINT_PTR>(window))));
    (void)SetEvent(announced_.get()); // fails only on a handle that is none
}

bool PlayerProcess::Send(std::uint32_t code, std::uint32_t argument) {
    const double begin = EventLog::Now();
    DWORD_PTR result = 0;
    const bool answered = SendMessageTimeoutA(window_, message_, code, static_cast<LPARAM>(argument),
                                              SMTO_NORMAL, Patiently(kAnswerMsec), &result) != 0;
    const std::string name(CommandName(static_cast<CommandCode>(code)));
    log_.Line(Format("command %s argument %08X msec %.0f%s",
                     name.empty() ? Format("%u", static_cast<unsigned>(code)).c_str() : name.c_str(),
                     static_cast<unsigned>(argument), EventLog::Now() - begin,
                     answered ? "" : " unanswered"));
    return answered;
}

void PlayerProcess::SendDiscontinuity() {
    if (HWND window = window_) {
        DWORD_PTR result = 0;
        // Late is better than never: it stays in the queue.
        (void)SendMessageTimeoutA(window, message_, static_cast<WPARAM>(CommandCode::SendDisc), 0,
                                  SMTO_NORMAL, kSeamAnswerMsec, &result);
        log_.Line("discontinuity announced");
    }
}

std::optional<std::uint32_t> PlayerProcess::WaitExit(std::uint32_t msec) {
    DWORD code = 0;
    if (!process_ || WaitForSingleObject(process_.get(), msec) != WAIT_OBJECT_0 ||
        !GetExitCodeProcess(process_.get(), &code)) {
        return std::nullopt;
    }
    return code;
}

void PlayerProcess::Terminate() {
    if (process_) {
        (void)TerminateProcess(process_.get(), 1); // it may have ended by itself just now
        (void)WaitForSingleObject(process_.get(), Patiently(kAnnounceMsec));
    }
}

void PlayerProcess::Release() {
    window_ = nullptr;
    processId_ = 0;
    process_.reset();
    (void)ResetEvent(announced_.get()); // fails only on a handle that is none
}

} // namespace vistrame
