#include <windows.h>

#include "filters/base/trace.h"

namespace vistrame {

bool TraceIsWanted() noexcept {
    return GetEnvironmentVariableW(L"VISTRAME_TRACE", nullptr, 0) != 0;
}

void WriteTraceLine(const char* line) noexcept {
    OutputDebugStringA(line);
}

} // namespace vistrame
