#include "player/app/debug_log.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <windows.h>

namespace vistrame {
namespace {

constexpr char kLogPath[] = "C:\\Vistrame.txt";
constexpr std::size_t kLineSize = 1024; // terminator included

HANDLE logFile = INVALID_HANDLE_VALUE;

} // namespace

void OpenDebugLog() {
    logFile = CreateFileA(kLogPath, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                          OPEN_ALWAYS, 0, nullptr);
}

int DebugLog(const char* format, ...) {
    std::array<char, kLineSize> line{};
    std::va_list arguments;
    va_start(arguments, format);
    (void)std::vsnprintf(line.data(), line.size(), format, arguments); // a longer line is cut
    va_end(arguments);

    if (logFile == INVALID_HANDLE_VALUE) {
        return 0;
    }
    // The file is shared for writing, so the end may have moved since the last line.
    (void)SetFilePointer(logFile, 0, nullptr, FILE_END);
    DWORD written = 0;
    (void)WriteFile(logFile, line.data(), static_cast<DWORD>(std::strlen(line.data())), &written, nullptr);
    (void)FlushFileBuffers(logFile); // the process usually ends without notice
    return 0;
}

} // namespace vistrame
