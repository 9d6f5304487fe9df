#pragma once

#include <optional>
#include <string>
#include <vector>

#include <windows.h>

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
    explicit AnalyzerRun(const std::vector<std::string>& arguments);
    AnalyzerRun(const AnalyzerRun&) = delete;
    AnalyzerRun& operator=(const AnalyzerRun&) = delete;
    ~AnalyzerRun();

    // Waits for the next log line that begins like this behind its time; false when there is none up to the end.
    bool WaitForLine(const std::string& begin, DWORD limitMsec);

    // Waits for the end. The exit code, or nothing.
    std::optional<DWORD> WaitForExit(DWORD limitMsec);

    // After the end.
    std::string Output() const;
    std::string Error() const;
    std::string Log() const;
    std::string Report() const;

private:
    std::string folder_;
    HANDLE process_ = nullptr;
    std::size_t logRead_ = 0;
};

// A script for --script, in a file that lives as long as the object.
class ScriptFile {
public:
    explicit ScriptFile(const std::string& text);
    ScriptFile(const ScriptFile&) = delete;
    ScriptFile& operator=(const ScriptFile&) = delete;
    ~ScriptFile();
    const std::string& Path() const { return path_; }

private:
    std::string path_;
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
