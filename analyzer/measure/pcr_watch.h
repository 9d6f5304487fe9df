#pragma once

#include <cstdint>
#include <deque>
#include <optional>

#include "transport/clock.h"

namespace vistrame {

// How regular the PCRs of one PID are.
//
// Jitter is how far a PCR lies from where the packets since the one before put it at the mean rate of the
// last ones: for a multiplex of constant rate the accuracy of its PCRs, otherwise the change of its rate.
//
// Units      27 MHz, packets of the whole stream; readings in milliseconds and microseconds.
// Threads    none of its own, not thread-safe.
class PcrWatch {
public:
    // ISO 13818-1 allows 100 ms between two PCRs; TR 101 290 counts what is longer, or jumps unannounced.
    static constexpr std::int64_t kLongest = kPcrPerSecond / 10;
    static constexpr std::size_t kKept = 240; // readings

    struct Reading {
        float intervalMsec = 0;
        float jitterMicroseconds = 0;
    };

    void OnPcr(std::uint64_t pcr, std::uint64_t packet, bool discontinuity);
    // What follows does not belong to what came before.
    void Break();

    // The last ones, the newest at the end.
    const std::deque<Reading>& Readings() const { return readings_; }
    std::uint64_t RepetitionErrors() const { return repetitionErrors_; }
    std::uint64_t DiscontinuityErrors() const { return discontinuityErrors_; }

private:
    std::optional<std::uint64_t> last_;
    std::uint64_t lastPacket_ = 0;
    double ticksPerPacket_ = 0; // mean of about the last second; 0: not known
    std::deque<Reading> readings_;
    std::uint64_t repetitionErrors_ = 0;
    std::uint64_t discontinuityErrors_ = 0;
};

} // namespace vistrame
