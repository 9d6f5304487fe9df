// How the program ended: its exit code and, unless all went well, the one line that says why.
#pragma once

#include <string>

namespace vistrame {

enum class ExitCode : int {
    kOk = 0,
    kUsage = 1,       // command line or script
    kStream = 2,      // missing, unreadable, no transport stream
    kProgramme = 3,   // not in the stream, or nothing in it to play
    kPlayerStart = 4, // not started, or not announced
    kPlayerEnd = 5,   // ended unasked, hangs, or another exit code than expected
    kWait = 6,        // what a script waited for did not come
    kOutput = 7,      // log or report not written
};

struct Outcome {
    ExitCode code = ExitCode::kOk;
    std::string reason;

    bool Ok() const { return code == ExitCode::kOk; }
};

} // namespace vistrame
