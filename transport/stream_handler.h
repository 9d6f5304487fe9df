#pragma once

#include <optional>
#include <vector>

#include "transport/coding.h"

namespace vistrame {

// What of a PID is delivered.
enum class StreamKind : std::uint8_t {
    kElementary, // payload of each PES packet
    kPes,        // each PES packet with its header
};

// A time stamp, 90 kHz: as transmitted (33 bits) and on the timeline of PcrClock, which neither wraps nor
// jumps.
struct TimeStamp {
    std::uint64_t raw = 0;
    std::int64_t timeline = 0;
};

// One PES packet (with video one access unit, with audio some of them).
struct StreamUnit {
    Pid pid = kNullPid;
    StreamKind kind = StreamKind::kElementary;
    Coding coding = Coding::kOther; // kOther until the PMT is in
    ByteSpan data;                  // borrowed until the handler returns
    // What data lies in, for a handler that keeps the unit: it may take it and leave an empty one, at best
    // one that it no longer needs, whose capacity then serves the next unit.
    std::vector<std::uint8_t>* memory = nullptr;
    std::optional<TimeStamp> pts;
    std::optional<TimeStamp> dts; // present when pts is; equal to it when the stream carries only that
    std::uint32_t segment = 0;    // time base of the stamps; another than the unit's before: the clock jumped
    bool discontinuity = false;   // bytes are missing in it or before it, or a discontinuity was announced
    bool cut = false;             // bytes are missing in it, or may be: where it ends was not seen
    bool randomAccess = false;    // decoding can begin here (indicator in the stream, or seen in the video)
    bool continued = false;       // rest of the unit before, which was delivered too early (see EarlyUnits)
};

// A PCR of the clock PID.
struct ClockReference {
    Pid pid = kNullPid;
    std::uint64_t raw = 0;     // 27 MHz, 42 bits
    std::int64_t timeline = 0; // 27 MHz; the stamps of the units divide it by kPcrPerTick
    std::uint32_t segment = 0;
    bool jump = false;        // first PCR of a new segment
    std::uint64_t packet = 0; // packets of the stream before this one
};

// Since the PID was selected, or Reset(). A display reads from them why nothing moves: no packets at all,
// scrambled, continuity errors, no random-access point.
struct StreamCounters {
    std::uint64_t packets = 0; // carrying this PID, damaged ones included
    std::uint64_t bytes = 0;   // delivered
    std::uint64_t continuityErrors = 0;
    std::uint64_t transportErrors = 0;
    std::uint64_t scrambled = 0; // scrambled transport packets, and PES packets scrambled inside
    std::uint64_t units = 0;     // delivered
    std::uint64_t randomAccessPoints = 0;
};

// Receives what StreamDemultiplexer finds, on the thread that calls it. May call it back: what changes it is
// carried out after the handler returns. Must not call Feed.
class StreamHandler {
public:
    StreamHandler() = default;
    StreamHandler(const StreamHandler&) = delete;
    StreamHandler& operator=(const StreamHandler&) = delete;
    virtual ~StreamHandler() = default;

    virtual void OnUnit(const StreamUnit& unit) = 0;
    virtual void OnClock(const ClockReference& clock) = 0;
    // Programmes() has changed.
    virtual void OnProgrammes() {}
};

} // namespace vistrame
