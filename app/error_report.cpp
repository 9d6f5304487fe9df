#include "app/error_report.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>

#include <windows.h>

#include "app/debug_log.h"
#include "app/error_file_name.h"
#include "app/process_state.h"
#include "app/settings.h"

namespace vistrame {
namespace {

constexpr std::size_t kTextSize = 1024; // for one code and text; longer ones are cut

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
    const std::time_t now = std::time(nullptr);
    std::tm localTime{};
    std::array<char, kErrorFileNameSize> name{};
    if (localtime_s(&localTime, &now) != 0 || !FormatErrorFileName(name, ErrorLogDir, localTime)) {
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
