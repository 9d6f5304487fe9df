// DLLs of anybody's making beside the programs and in the current folder are left alone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>
// Needs the former.
#include <tlhelp32.h>

#include "tests/end_to_end/analyzer_run.h"
#include "tests/support/files.h"

namespace vistrame::test {
namespace {

// Modules of all running processes that come from the folder, without their paths.
std::vector<std::string> ModulesFrom(const std::string& folder) {
    std::vector<std::string> modules;
    PROCESSENTRY32 process{};
    process.dwSize = sizeof process;
    HANDLE processes = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    for (BOOL more = Process32First(processes, &process); more; more = Process32Next(processes, &process)) {
        MODULEENTRY32 module{};
        module.dwSize = sizeof module;
        HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, process.th32ProcessID);
        for (BOOL next = Module32First(all, &module); next; next = Module32Next(all, &module)) {
            if (_strnicmp(module.szExePath, folder.c_str(), folder.size()) == 0) {
                modules.emplace_back(module.szExePath + folder.size());
            }
        }
        CloseHandle(all);
    }
    CloseHandle(processes);
    return modules;
}

TEST(PlantedDlls, AreNotLoaded) {
    const RegisteredFilters filters;
    const std::string folder = NewDirectory("planted");
    ASSERT_TRUE(
        CopyFileA(BuiltFile("player\\vistrame.exe").c_str(), (folder + "vistrame.exe").c_str(), TRUE));
    // Some that are linked somewhere, and what comes with a graph.
    for (const char* name :
         {"bcrypt", "d3d9", "dsound", "quartz", "msacm32", "version", "winmm", "wined3d"}) {
        CopyFileA(BuiltFile("filters\\vistrame.ax").c_str(), (folder + name + ".dll").c_str(), TRUE);
    }
    char before[MAX_PATH];
    GetCurrentDirectoryA(MAX_PATH, before);
    SetCurrentDirectoryA(folder.c_str());
    AnalyzerRun run({"--player", folder + "vistrame.exe", "--set", "UseVMR9=1", VISTRAME_DEMO_STREAM},
                    "0 play 1\n+0 wait picture 25\n+5 quit\n");
    SetCurrentDirectoryA(before);
    EXPECT_TRUE(run.WaitForLine("picture programme 1", 30'000));
    EXPECT_THAT(ModulesFrom(folder), testing::ElementsAre("vistrame.exe"));
    EXPECT_EQ(run.WaitForExit(30'000), 0U) << run.Written("log");
}

} // namespace
} // namespace vistrame::test
