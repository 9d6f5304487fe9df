#include "player/app/error_report.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>

#include <windows.h>

#include "player/app/debug_log.h"
#include "player/app/error_file_name.h"
#include "player/app/process_state.h"
#include "player/app/settings.h"

namespace vistrame {
namespace {

constexpr std::size_t kTextSize = 1024; // for one code and text; longer ones are cut

// The system's clock, not the C library's: that one's 32-bit seconds end in 2038, and a TZ variable inherited
// from the analyzer would move it.
std::tm LocalTime() {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    std::tm time{};
    time.tm_year = now.wYear - 1900;
    time.tm_mon = now.wMonth - 1;
    time.tm_mday = now.wDay;
    time.tm_wday = now.wDayOfWeek;
    time.tm_hour = now.wHour;
    time.tm_min = now.wMinute;
    time.tm_sec = now.wSecond;
    return time;
}

} // namespace

int ReportError(int code, const char* text) {
    DebugLog("Error: %d %s\r\n", code, text);

    std::array<char, kTextSize> line{};
    (void)std::snprintf(line.data(), line.size(), "%d %s", code, text); // cut when too long
    WriteErrorLogFile(line.data());

    std::array<char, kTextSize> message{};
    (void)std::snprintf(message.data(), message.size(), "TV playback failed\nReason: %s", text);
    MessageBoxA(MainWindow, message.data(), "Error", MB_OK | MB_ICONERROR);
    return 0;
}

void WriteErrorLogFile(const char* text) {
    std::array<char, kErrorFileNameSize> name{};
    if (!FormatErrorFileName(name, ErrorLogDir, LocalTime())) {
        return;
    }
    HANDLE file = CreateFileA(name.data(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return;
    }
    DWORD written = 0;
    (void)WriteFile(file, text, static_cast<DWORD>(std::strlen(text)), &written,
                    nullptr); // failures are silent
}

} // namespace vistrame
