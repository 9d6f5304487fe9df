#include "tests/support/child_process.h"

#include <array>
#include <numeric>
#include <utility>

#include <gtest/gtest.h>

#include "tests/support/messages.h"

namespace vistrame::test {

ChildProcess::ChildProcess(const std::string& commandLine, const std::string& folder)
    : ChildProcess(std::accumulate(commandLine.begin(), commandLine.end(), std::wstring(),
                                   [](std::wstring line, unsigned char letter) {
                                       return std::move(line += wchar_t{letter});
                                   }),
                   folder) {}

ChildProcess::ChildProcess(std::wstring commandLine, const std::string& folder) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    if (!folder.empty()) {
        SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
        startup.dwFlags = STARTF_USESTDHANDLES;
        for (const auto& [handle, name] :
             {std::pair(&startup.hStdOutput, "output"), {&startup.hStdError, "error"}}) {
            *handle = CreateFileA((folder + name).c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inheritable,
                                  CREATE_ALWAYS, 0, nullptr);
        }
    }
    PROCESS_INFORMATION started{};
    EXPECT_TRUE(CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, !folder.empty(), 0, nullptr,
                               nullptr, &startup, &started));
    for (HANDLE handle : {startup.hStdOutput, startup.hStdError, started.hThread}) {
        CloseHandle(handle);
    }
    process_ = started.hProcess;
    id_ = started.dwProcessId;
}

ChildProcess::~ChildProcess() {
    if (IsRunning()) {
        TerminateProcess(process_, 1);
        WaitForSingleObject(process_, 5000);
    }
    CloseHandle(process_);
}

std::optional<DWORD> ChildProcess::WaitForExit(DWORD limitMsec) {
    DWORD code = 0;
    const bool ended = PumpUntil([this] { return !IsRunning(); }, limitMsec);
    return ended && GetExitCodeProcess(process_, &code) != FALSE ? std::optional(code) : std::nullopt;
}

HWND ChildProcess::WaitForWindow(const char* title, DWORD limitMsec) const {
    HWND window = nullptr;
    const auto found = [&] {
        DWORD process = 0;
        do {
            window = FindWindowExA(nullptr, window, nullptr, title);
            GetWindowThreadProcessId(window, &process);
        } while (window != nullptr && (process != id_ || IsWindowVisible(window) == FALSE));
        return window != nullptr;
    };
    EXPECT_TRUE(PumpUntil(found, limitMsec)) << "no window \"" << title << '"';
    return window;
}

std::string BuiltFile(const std::string& path) {
    std::array<char, MAX_PATH> program{};
    GetModuleFileNameA(nullptr, program.data(), static_cast<DWORD>(program.size()));
    const std::string own = program.data();
    return own.substr(0, own.rfind("\\tests\\") + 1) + path; // tests lie below tests/ of the build
}

} // namespace vistrame::test
