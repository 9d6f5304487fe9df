#pragma once

#include <optional>
#include <string>
#include <vector>

#include <windows.h>

#include "tests/support/child_process.h"

namespace vistrame::test {

// The analyzer of this build, run as whoever calls it from a command line would.
//
// Its log is followed, so that a test can act when something happens; the player it starts is the one of this
// build unless the arguments name another.
//
// Ownership  a run that is still going when the object goes is terminated; its player follows, as the pipe
//            breaks.
// Errors     an analyzer that cannot be started fails the running test.
class AnalyzerRun {
public:
    // `script`, unless it is empty, becomes a file that --script names.
    explicit AnalyzerRun(const std::vector<std::string>& arguments, const std::string& script = "");

    // Waits for the next log line that begins like this behind its time; false: none up to the end.
    bool WaitForLine(const std::string& begin, DWORD limitMsec);

    std::optional<DWORD> WaitForExit(DWORD limitMsec) { return process_->WaitForExit(limitMsec); }

    // What it wrote: "output", "error", "log" or "report".
    std::string Written(const std::string& name) const;

private:
    std::string folder_;
    std::optional<ChildProcess> process_;
    std::size_t logRead_ = 0;
};

// The companion filters of this build are registered while the object lives.
class RegisteredFilters {
public:
    RegisteredFilters();
    RegisteredFilters(const RegisteredFilters&) = delete;
    RegisteredFilters& operator=(const RegisteredFilters&) = delete;
    ~RegisteredFilters();

private:
    HMODULE server_ = nullptr;
};

} // namespace vistrame::test
