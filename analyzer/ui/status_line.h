#pragma once

#include <string>

#include "analyzer/session/session.h"

namespace vistrame {

// The line that says what is being sent.
//
// Threads    none of its own, not thread-safe.
class StatusLine {
public:
    // `fileSeconds` is the length of the whole file.
    std::string Text(const Session::Status& status, double fileSeconds);

private:
    // For the bit rate: the mean of about a second.
    std::uint64_t sentBefore_ = 0;
    double sentAt_ = 0;
    double bitsPerSecond_ = 0;
};

} // namespace vistrame
