#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "transport/stream_handler.h"

namespace vistrame {

// What the maker's demultiplexer knows about itself at one moment.
struct DemuxStatus {
    struct Stream {
        Pid pid = kNullPid;
        StreamCounters counters;
        std::uint32_t stall = 0; // ticks, StallCounter::kNone: no count
        bool awaitsRandomAccess = false;
    };

    std::int64_t time = 0; // 100 ns
    bool running = false;
    std::uint64_t packets = 0; // of the whole stream
    Pid clockPid = kNullPid;
    std::optional<std::int64_t> delay; // 100 ns from a PCR's arrival to its showing
    Stream video;
    Stream audio;
};

// The lines to show, each ending in "\r\n": PIDs, bit rates, stall counts, and for a stream that does not
// move the reason. `before` is an earlier moment, which rates and reasons are measured against.
std::string StatusText(const DemuxStatus& now, const DemuxStatus& before);

} // namespace vistrame
