#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace vistrame::live {

// The analyzer of the build under test, carrying out a script, inside the session this program was started in.
//
// Units      seconds of Now().
// Threads    the caller's; call Poll often (every few milliseconds): the log's times are put on our clock by when its
//            lines come in.
// Ownership  a run that is still going when the object goes is killed.
// Errors     Failed tells the analyzer's own line and exit code.
class AnalyzerProcess {
public:
    struct Line {
        double time = 0;
        std::string text; // behind the time
    };

    AnalyzerProcess(const std::string& build, const std::vector<std::string>& options,
                    const std::string& script, const std::string& stream);
    AnalyzerProcess(const AnalyzerProcess&) = delete;
    AnalyzerProcess& operator=(const AnalyzerProcess&) = delete;
    ~AnalyzerProcess();

    // False when it has ended and all lines are in.
    bool Poll();
    // Polls to the end. Nothing, or how it failed.
    std::string Finish(double limit);

    // In the log's order; times are good to a few milliseconds once the end is reached.
    std::vector<Line> Lines() const;
    // Times of the lines that begin like this.
    std::vector<double> Times(const std::string& begin) const;
    // The first such line's rest.
    std::string Rest(const std::string& begin) const;

private:
    void ReadLog();

    std::string folder_;
    pid_t process_ = -1;
    int status_ = -1;
    std::size_t read_ = 0;
    std::string part_;
    std::vector<Line> lines_; // with the analyzer's times
    double offset_ = 1e18;    // ours minus the analyzer's: the least that any line took
};

// Registers the filters of the build under test in the session's Wine (or takes them out again).
bool RegisterFilters(const std::string& build, bool in);

} // namespace vistrame::live
