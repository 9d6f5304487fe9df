#include "filters/demux/status_text.h"

#include <array>
#include <cstdio>
#include <string_view>

#include "filters/base/reference_time.h"
#include "filters/demux/stall_counter.h"
#include "transport/packet.h"

namespace vistrame {

namespace {

template <class... Arguments>
std::string Line(const char* format, Arguments... arguments) {
    std::array<char, 160> text{};
    (void)std::snprintf(text.data(), text.size(), format, arguments...); // bounded; longer is cut
    return std::string(text.data()) + "\r\n";
}

double Megabits(std::uint64_t packets, std::int64_t time) {
    const double megabits = static_cast<double>(packets * kPacketSize * 8) / 1e6;
    return time > 0 ? megabits * static_cast<double>(kUnitsPerSecond) / static_cast<double>(time) : 0;
}

// Empty when the stream moves.
std::string_view WhyNothingMoves(const DemuxStatus::Stream& now, const DemuxStatus::Stream& before,
                                 bool anyData) {
    const auto grew = [&](std::uint64_t StreamCounters::*counter) {
        return now.counters.*counter > before.counters.*counter;
    };
    if (!anyData) {
        return "no data";
    }
    if (now.counters.packets == 0) {
        return "no such PID in the stream";
    }
    if (!grew(&StreamCounters::packets)) {
        return "no more packets of this PID";
    }
    if (grew(&StreamCounters::scrambled) && !grew(&StreamCounters::units)) {
        return "scrambled";
    }
    if (now.awaitsRandomAccess) {
        return "no random-access picture yet";
    }
    return grew(&StreamCounters::units) ? "" : "no access units";
}

std::string StreamLines(const char* name, const DemuxStatus::Stream& now, const DemuxStatus::Stream& before,
                        bool running, bool anyData, std::int64_t interval) {
    if (now.pid == kNullPid) {
        return Line("%s: no PID selected", name);
    }
    const std::uint64_t packets = now.counters.packets - before.counters.packets;
    std::string lines = Line("%s: PID %04X  %.3f Mbit/s", name, now.pid, Megabits(packets, interval));
    if (now.stall != StallCounter::kNone) {
        lines += Line("%s: stall count %u", name, now.stall);
    }
    if (now.counters.continuityErrors != 0 || now.counters.transportErrors != 0) {
        lines += Line("%s: PID %04X  %llu continuity errors, %llu transport errors", name, now.pid,
                      static_cast<unsigned long long>(now.counters.continuityErrors),
                      static_cast<unsigned long long>(now.counters.transportErrors));
    }
    const std::string_view reason = running ? WhyNothingMoves(now, before, anyData) : "not running";
    return reason.empty() ? lines : lines + Line("%s: %s", name, reason.data());
}

} // namespace

std::string StatusText(const DemuxStatus& now, const DemuxStatus& before) {
    const std::int64_t interval = now.time - before.time;
    const bool anyData = now.packets > before.packets;
    std::string text = Line("Stream: %.3f Mbit/s", Megabits(now.packets - before.packets, interval));
    // Counters of another PID are no ground to tell anything against.
    const auto streamBefore = [](const DemuxStatus::Stream& stream, const DemuxStatus::Stream& earlier) {
        return stream.pid == earlier.pid && stream.counters.packets >= earlier.counters.packets
                   ? earlier
                   : DemuxStatus::Stream{};
    };
    text += StreamLines("Video", now.video, streamBefore(now.video, before.video), now.running, anyData,
                        interval);
    text += StreamLines("Audio", now.audio, streamBefore(now.audio, before.audio), now.running, anyData,
                        interval);
    if (now.clockPid != kNullPid) {
        text += Line("Clock: PID %04X", now.clockPid);
    }
    if (now.delay) {
        text += Line("Delay against the clock: %lld ms",
                     static_cast<long long>(MillisecondsFromReference(*now.delay)));
    }
    return text;
}

} // namespace vistrame
