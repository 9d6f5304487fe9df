// The diagnostic log and the error report: real files, a real message box.
#include "app/error_report.h"

#include <algorithm>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "app/debug_log.h"
#include "app/process_state.h"
#include "app/settings.h"
#include "tests/support/files.h"
#include "tests/support/message_boxes.h"

namespace vistrame {
namespace {

using test::FileContents;

void SetErrorLogDir(const std::string& directory) {
    std::memcpy(ErrorLogDir, directory.c_str(), directory.size() + 1);
}

// Leaves most of a second for what must happen within one.
void WaitForNewSecond() {
    SYSTEMTIME start;
    SYSTEMTIME now;
    GetLocalTime(&start);
    do {
        Sleep(1);
        GetLocalTime(&now);
    } while (now.wSecond == start.wSecond);
}

TEST(DebugLog, IsSilentUntilOpenedThenAppendsWholeLinesAtOnce) {
    DeleteFileA(test::kDebugLogPath);
    EXPECT_EQ(DebugLog("before %d\r\n", 1), 0);
    EXPECT_EQ(FileContents(test::kDebugLogPath), "(none)");
    std::ofstream(test::kDebugLogPath, std::ios::binary) << "old";
    OpenDebugLog();
    DebugLog("Set Video: %04X\r\n", 0x1A2U);
    EXPECT_EQ(FileContents(test::kDebugLogPath), "oldSet Video: 01A2\r\n");
    // Another program may write the shared file as well.
    std::ofstream(test::kDebugLogPath, std::ios::binary | std::ios::app) << "other\r\n";
    const std::string tooLong(5000, 'x');
    DebugLog("%s", tooLong.c_str());
    EXPECT_EQ(FileContents(test::kDebugLogPath), "oldSet Video: 01A2\r\nother\r\n" + tooLong.substr(0, 1023));
}

TEST(ErrorLog, OneFileASecondUnderAPlainPrefixHoldsTheLaterText) {
    const std::string parent = test::NewDirectory("errors");
    SetErrorLogDir(parent + "Logs");
    WaitForNewSecond();
    WriteErrorLogFile("101 the first, longer text");
    WriteErrorLogFile("110 second\r\n");
    const auto names = test::FilesIn(parent);
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(FileContents(parent + names[0]), "110 second\r\n");
    EXPECT_EQ(CreateFileA((parent + names[0]).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr),
              INVALID_HANDLE_VALUE)
        << "the report keeps its file open";
    SYSTEMTIME now;
    GetLocalTime(&now);
    EXPECT_EQ(names[0].substr(0, 4), "Logs");
    EXPECT_EQ(names[0].substr(23), " " + std::to_string(now.wYear) + "  VistrameError.txt");

    WaitForNewSecond();
    WriteErrorLogFile("next");
    EXPECT_EQ(test::FilesIn(parent).size(), 2U);
    SetErrorLogDir(parent + "missing\\");
    WriteErrorLogFile("text");
    SetErrorLogDir(parent + std::string(259 - parent.size(), 'x'));
    WriteErrorLogFile("text"); // no room for a name: no file, and no harm
    EXPECT_EQ(test::FilesIn(parent).size(), 2U) << "a directory is never created";
}

TEST(ErrorReport, GoesToLogFileAndBoxInThisOrderAndGivesUp) {
    DeleteFileA(test::kDebugLogPath);
    OpenDebugLog();
    std::ofstream(test::kDebugLogPath, std::ios::trunc).close();
    const std::string directory = test::NewDirectory("report");
    SetErrorLogDir(directory);
    MainWindow = CreateWindowExA(0, "STATIC", "owner", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, nullptr, nullptr,
                                 nullptr, nullptr);
    const std::string text = "Unable to load" + std::string(2000, 'y');
    const auto shown = [&](const std::string& before) { return (before + text).substr(0, 1023); };
    test::MessageBoxes boxes;
    boxes.whileOpen = [&](HWND) { // the caller is blocked, log and file are complete
        EXPECT_EQ(FileContents(test::kDebugLogPath), shown("Error: 130 "));
        const auto names = test::FilesIn(directory);
        ASSERT_EQ(names.size(), 1U);
        EXPECT_EQ(FileContents(directory + names[0]), shown("130 "));
    };
    EXPECT_EQ(ReportError(130, text.c_str()), 0);
    const test::MessageBoxRecord box = {shown("TV playback failed\nReason: "), "Error", MB_OK | MB_ICONERROR,
                                        MainWindow};
    EXPECT_TRUE(boxes.shown == std::vector{box});
    DestroyWindow(MainWindow);
    MainWindow = nullptr;
}

} // namespace
} // namespace vistrame
