#pragma once

#include <cstdint>
#include <deque>
#include <fstream>
#include <vector>

#include "analyzer/stream/pace_meter.h"
#include "analyzer/stream/stream_file.h"

namespace vistrame {

// Packets that follow each other at an even pace: from one PCR up to the next.
struct Stretch {
    std::vector<std::uint8_t> bytes;  // whole packets
    std::int64_t duration = 0;        // 27 MHz; packet i of n is due at i/n of it
    double fileSeconds = 0;           // where it begins, since the file's beginning
    std::optional<std::uint64_t> pcr; // that it begins with, as transmitted
    SyncErrors sync;                  // found in the file up to a little behind its end, not handed on before

    std::size_t Packets() const { return bytes.size() / kPacketSize; }
};

// Reads a file as stretches, each with the time it takes by the PCRs.
//
// Threads    none of its own, not thread-safe.
// Ownership  owns the open file; borrows what is known of it for its own life.
// Errors     a file that cannot be read any more has ended.
class PacedReader {
public:
    explicit PacedReader(const StreamFile& file);

    // False at the end of the file; `stretch` is unchanged then.
    bool Next(Stretch& stretch);
    // From the file's beginning again.
    void Rewind();
    // The next stretch is the first that ends after this time of the file; false: there is none, and the
    // reader stands at the end. Reads some megabytes, wherever the place is: it is found by the mean rate and
    // then by the PCRs there. In a file whose clock jumps in between the mean rate alone has to do.
    bool Seek(double seconds);

private:
    struct Reference {
        std::size_t at = 0; // bytes into pending_
        std::uint64_t pcr = 0;
        bool discontinuity = false;
    };

    bool Read(Stretch& stretch);
    // Reads on until `pending_` holds a PCR behind its first packet, and says at how many bytes; otherwise
    // everything that is pending, at most kLongest.
    std::size_t FindEnd();
    bool Fill();
    // The next packets are those behind so many; reads until a PCR is among them, as far as one can be
    // expected.
    void LandAt(std::uint64_t packet);
    // Where the reader has landed, by the first PCR there; nothing when there is none.
    std::optional<std::int64_t> LandedTicks() const;
    bool FindPlace(std::int64_t ticks);
    void OnPacket(const PacketView& packet);

    const StreamFile& source_;
    Pid clockPid_;
    std::ifstream file_;
    std::vector<std::uint8_t> chunk_;
    PaceMeter meter_;
    std::vector<std::uint8_t> pending_;
    std::deque<Reference> references_; // PCRs in pending_
    std::uint64_t sinceReference_ = 0; // packets already handed on since the last PCR
    std::int64_t fileTicks_ = 0;       // 27 MHz, where pending_ begins
    bool fresh_ = true;                // nothing was read before pending_
    std::optional<Stretch> found_;     // by Seek, not handed on yet
    SyncErrors handedOn_;              // of the cutter's
    PacketCutter cutter_{[this](const PacketView& packet) { OnPacket(packet); }};
};

} // namespace vistrame
