#include "tests/end_to_end/analyzer_run.h"

#include <algorithm>

#include <objbase.h>

#include <gtest/gtest.h>

#include "tests/support/files.h"

namespace vistrame::test {

AnalyzerRun::AnalyzerRun(const std::vector<std::string>& arguments, const std::string& script)
    : folder_(NewDirectory("analyzer")) {
    std::string command = '"' + BuiltFile("analyzer\\vistrame-analyzer.exe") + '"';
    command += " --log \"" + folder_ + "log\" --report \"" + folder_ + "report\"";
    if (std::ranges::find(arguments, "--player") == arguments.end()) {
        command += " --player \"" + BuiltFile("player\\vistrame.exe") + '"';
    }
    if (!script.empty()) {
        std::ofstream(folder_ + "script") << script;
        command += " --script \"" + folder_ + "script\"";
    }
    for (const std::string& argument : arguments) {
        command += " \"" + argument + '"';
    }
    process_.emplace(command, folder_);
}

bool AnalyzerRun::WaitForLine(const std::string& begin, DWORD limitMsec) {
    const DWORD start = GetTickCount();
    for (;;) {
        const bool ended = !process_->IsRunning();
        const std::string log = Written("log");
        for (std::size_t end; (end = log.find('\n', logRead_)) != std::string::npos;) {
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

std::string AnalyzerRun::Written(const std::string& name) const {
    return FileContents(folder_ + name);
}

namespace {

using Entry = HRESULT(WINAPI*)();

// Through a neutral pointer: the entry points of a server have a result of their own.
Entry Find(HMODULE server, const char* name) {
    return reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(server, name)));
}

} // namespace

RegisteredFilters::RegisteredFilters() : server_(LoadLibraryA(BuiltFile("filters\\vistrame.ax").c_str())) {
    EXPECT_HRESULT_SUCCEEDED(CoInitialize(nullptr)); // the filter mapper is asked
    const Entry enter = Find(server_, "DllRegisterServer");
    EXPECT_HRESULT_SUCCEEDED(enter != nullptr ? enter() : HRESULT_FROM_WIN32(GetLastError()));
}

RegisteredFilters::~RegisteredFilters() {
    const Entry leave = Find(server_, "DllUnregisterServer");
    EXPECT_TRUE(leave != nullptr && SUCCEEDED(leave()));
    FreeLibrary(server_);
    CoUninitialize();
}

} // namespace vistrame::test
