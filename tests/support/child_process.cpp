#include "tests/support/child_process.h"

#include <array>

#include <gtest/gtest.h>

#include "tests/support/messages.h"

namespace vistrame::test {

ChildProcess::ChildProcess(std::string commandLine) {
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    EXPECT_TRUE(CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                               &startup, &started))
        << commandLine;
    CloseHandle(started.hThread);
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
    if (!PumpUntil([this] { return !IsRunning(); }, limitMsec)) {
        return std::nullopt;
    }
    DWORD code = 0;
    GetExitCodeProcess(process_, &code);
    return code;
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

std::string PlayerCommandLine(const std::string& arguments) {
    // Tests lie in tests/<area>/ of the build, the player in app/.
    std::array<char, MAX_PATH> program{};
    GetModuleFileNameA(nullptr, program.data(), static_cast<DWORD>(program.size()));
    const std::string path = program.data();
    return '"' + path.substr(0, path.rfind('\\')) + R"(\..\..\app\vistrame.exe" )" + arguments;
}

} // namespace vistrame::test
