// The diagnostic log and the error report: real files, a real message box.
#include "player/app/error_report.h"

#include <cstring>
#include <ctime>
#include <string>

#include <gtest/gtest.h>

#include "player/app/debug_log.h"
#include "player/app/process_state.h"
#include "player/app/settings.h"
#include "tests/support/files.h"
#include "tests/support/message_boxes.h"

namespace vistrame {
namespace {

using test::FileContents;

void SetErrorLogDir(const std::string& directory) {
    std::memcpy(ErrorLogDir, directory.c_str(), directory.size() + 1);
}

// A log that somebody else holds, or that is none, is done without. First of all: a log that is open once
// stays so.
TEST(DebugLog, ThatCannotBeOpenedIsSilent) {
    DeleteFileA(test::kDebugLogPath);
    HANDLE held = CreateFileA(test::kDebugLogPath, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    OpenDebugLog();
    EXPECT_EQ(DebugLog("held\r\n"), 0);
    CloseHandle(held);
    EXPECT_EQ(FileContents(test::kDebugLogPath), "");
    DeleteFileA(test::kDebugLogPath);
    ASSERT_TRUE(CreateDirectoryA(test::kDebugLogPath, nullptr));
    OpenDebugLog();
    EXPECT_EQ(DebugLog("a folder\r\n"), 0);
    RemoveDirectoryA(test::kDebugLogPath);
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
    const std::time_t start = std::time(nullptr);
    while (std::time(nullptr) == start) { // leaves a whole second for what must happen within one
        Sleep(1);
    }
    WriteErrorLogFile("101 the first, longer text");
    WriteErrorLogFile("110 second\r\n");
    const auto names = test::FilesIn(parent);
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(FileContents(parent + names[0]), "110 second\r\n");
    EXPECT_TRUE(names[0].starts_with("Logs"));
    SetErrorLogDir(parent + "missing\\");
    WriteErrorLogFile("text");
    EXPECT_EQ(test::FilesIn(parent).size(), 1U) << "a directory is never created";
}

// A TZ variable that the analyzer happens to have would move the C library's clock by hours.
TEST(ErrorLog, IsNamedByTheSystemsLocalTime) {
    _putenv("TZ=AAA-7:30");
    _tzset();
    const std::string directory = test::NewDirectory("time");
    SetErrorLogDir(directory);
    const auto minutesNow = [] {
        SYSTEMTIME now{};
        GetLocalTime(&now);
        return now.wHour * 60 + now.wMinute;
    };
    const int before = minutesNow();
    WriteErrorLogFile("text");
    const int after = minutesNow();
    _putenv("TZ=");
    _tzset();
    const auto names = test::FilesIn(directory);
    ASSERT_EQ(names.size(), 1U);
    int day = 0;
    int hour = 0;
    int minute = 0;
    ASSERT_EQ(std::sscanf(names[0].c_str(), "%*s %*s %d %d.%d", &day, &hour, &minute), 3) << names[0];
    EXPECT_TRUE(hour * 60 + minute == before || hour * 60 + minute == after) << names[0];
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
    boxes.whileOpen = [&] { // the caller is blocked, log and file are complete
        EXPECT_EQ(FileContents(test::kDebugLogPath), shown("Error: 130 "));
        const auto names = test::FilesIn(directory);
        ASSERT_EQ(names.size(), 1U);
        EXPECT_EQ(FileContents(directory + names[0]), shown("130 "));
    };
    EXPECT_EQ(ReportError(130, text.c_str()), 0);
    const test::MessageBoxRecord box = {shown("TV playback failed\nReason: "), "Error", MainWindow};
    EXPECT_TRUE(boxes.shown == std::vector{box});
    DestroyWindow(MainWindow);
    MainWindow = nullptr;
}

} // namespace
} // namespace vistrame
