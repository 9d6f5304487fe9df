#include "tests/end_to_end/analyzer_run.h"

#include <algorithm>
#include <filesystem>

#include <objbase.h>

#include <gtest/gtest.h>

#include "tests/support/files.h"

namespace vistrame::test {
namespace {

// Tests lie in tests/<area>/ of the build.
std::string BuiltFile(const std::string& path) {
    char own[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, own, MAX_PATH);
    const std::string program = own;
    return program.substr(0, program.rfind('\\')) + R"(\..\..\)" + path;
}

HANDLE NewInheritableFile(const std::string& path) {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    return CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inheritable, CREATE_ALWAYS, 0, nullptr);
}

} // namespace

AnalyzerRun::AnalyzerRun(const std::vector<std::string>& arguments) : folder_(NewDirectory("analyzer")) {
    std::string command = '"' + BuiltFile("analyzer\\vistrame-analyzer.exe") + '"';
    command += " --log \"" + folder_ + "log\" --report \"" + folder_ + "report\"";
    if (std::ranges::find(arguments, "--player") == arguments.end()) {
        command += " --player \"" + BuiltFile("app\\vistrame.exe") + '"';
    }
    for (const std::string& argument : arguments) {
        command += " \"" + argument + '"';
    }
    HANDLE output = NewInheritableFile(folder_ + "output");
    HANDLE error = NewInheritableFile(folder_ + "error");
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output;
    startup.hStdError = error;
    PROCESS_INFORMATION started{};
    EXPECT_TRUE(CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                               &started))
        << command;
    CloseHandle(output);
    CloseHandle(error);
    CloseHandle(started.hThread);
    process_ = started.hProcess;
}

AnalyzerRun::~AnalyzerRun() {
    if (WaitForSingleObject(process_, 0) == WAIT_TIMEOUT) {
        TerminateProcess(process_, 99);
        WaitForSingleObject(process_, 5000);
    }
    CloseHandle(process_);
    std::error_code ignored; // an open file stays behind in the temporary folder
    std::filesystem::remove_all(folder_, ignored);
}

bool AnalyzerRun::WaitForLine(const std::string& begin, DWORD limitMsec) {
    const DWORD start = GetTickCount();
    for (;;) {
        const bool ended = WaitForSingleObject(process_, 0) == WAIT_OBJECT_0;
        const std::string log = Log();
        while (log.find('\n', logRead_) != std::string::npos) {
            const std::size_t end = log.find('\n', logRead_);
            const std::string line = log.substr(logRead_, end - logRead_);
            logRead_ = end + 1;
            if (line.substr(line.find(' ') + 1).starts_with(begin)) {
                return true;
            }
        }
        if (ended || GetTickCount() - start > limitMsec) {
            return false;
        }
        Sleep(20);
    }
}

std::optional<DWORD> AnalyzerRun::WaitForExit(DWORD limitMsec) {
    DWORD code = 0;
    if (WaitForSingleObject(process_, limitMsec) != WAIT_OBJECT_0 || !GetExitCodeProcess(process_, &code)) {
        return std::nullopt;
    }
    return code;
}

std::string AnalyzerRun::Output() const {
    return FileContents(folder_ + "output");
}

std::string AnalyzerRun::Error() const {
    return FileContents(folder_ + "error");
}

std::string AnalyzerRun::Log() const {
    const std::string log = FileContents(folder_ + "log");
    return log == "(none)" ? std::string() : log;
}

std::string AnalyzerRun::Report() const {
    return FileContents(folder_ + "report");
}

ScriptFile::ScriptFile(const std::string& text) {
    static int made = 0;
    path_ = NewDirectory("script" + std::to_string(++made) + "-") + "a.script";

    std::ofstream(path_) << text;
}

ScriptFile::~ScriptFile() {
    std::error_code ignored;
    std::filesystem::remove_all(std::filesystem::path(path_).parent_path(), ignored);
}

RegisteredFilters::RegisteredFilters() : server_(LoadLibraryA(BuiltFile("filters\\vistrame.ax").c_str())) {
    EXPECT_HRESULT_SUCCEEDED(CoInitialize(nullptr)); // the filter mapper is asked
    const auto enter = reinterpret_cast<HRESULT(WINAPI*)()>(GetProcAddress(server_, "DllRegisterServer"));
    EXPECT_HRESULT_SUCCEEDED(enter != nullptr ? enter() : HRESULT_FROM_WIN32(GetLastError()));
}

RegisteredFilters::~RegisteredFilters() {
    const auto leave = reinterpret_cast<HRESULT(WINAPI*)()>(GetProcAddress(server_, "DllUnregisterServer"));
    EXPECT_TRUE(leave != nullptr && SUCCEEDED(leave()));
    FreeLibrary(server_);
    CoUninitialize();
}

} // namespace vistrame::test
