// Programs under test as processes of their own.
//
// Ownership  a process that still runs when the object goes is terminated.
// Errors     a process that cannot be started fails the running test.
#pragma once

#include <optional>
#include <string>

#include <windows.h>

namespace vistrame::test {

class ChildProcess {
public:
    // `commandLine` as CreateProcess takes it, the quoted program first. With `folder` the standard outputs
    // go to its files "output" and "error".
    explicit ChildProcess(const std::string& commandLine, const std::string& folder = ""); // Latin-1
    explicit ChildProcess(std::wstring commandLine, const std::string& folder = "");
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    // The exit code, or nothing when it still runs after `limitMsec`. Messages of this thread are dispatched
    // meanwhile, so that a window of this thread can be the process's parent.
    std::optional<DWORD> WaitForExit(DWORD limitMsec);

    bool IsRunning() const { return WaitForSingleObject(process_, 0) == WAIT_TIMEOUT; }
    HANDLE Handle() const { return process_; }

    // A visible top-level window or message box of the process; waits for it.
    HWND WaitForWindow(const char* title, DWORD limitMsec) const;

private:
    HANDLE process_ = nullptr;
    DWORD id_ = 0;
};

// A file of this build by its path in the build folder.
std::string BuiltFile(const std::string& path);

} // namespace vistrame::test
