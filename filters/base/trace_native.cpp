#include <cstdio>
#include <cstdlib>

#include "filters/base/trace.h"

namespace vistrame {

bool TraceIsWanted() noexcept {
    return std::getenv("VISTRAME_TRACE") != nullptr;
}

void WriteTraceLine(const char* line) noexcept {
    (void)std::fputs(line, stderr); // nobody can do anything about a lost line
}

} // namespace vistrame
