#pragma once

#include <array>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "analyzer/measure/pcr_watch.h"
#include "transport/packet_cutter.h"
#include "transport/picture_headers.h"
#include "transport/programme_table.h"

namespace vistrame {

// A PID that has been seen. Counts are since the beginning.
struct PidReading {
    Pid pid = kNullPid;
    std::uint64_t packets = 0;
    double bitsPerSecond = 0; // of the last whole second
    double silentMsec = 0;    // since its last packet with payload; `now` when there was none
    bool scrambled = false;   // its last packet with payload
    std::uint64_t continuityErrors = 0;
    std::uint64_t transportErrors = 0;
};

inline constexpr std::size_t kHistorySeconds = 60;

struct ProgrammeReading {
    Programme programme;
    double mappedMsec = 0;           // how long its map has been as it is, or has been waited for
    std::vector<PidReading> streams; // of the programme's elementary streams, in their order
    double pcrSilentMsec = 0;        // since its last PCR, or since the map came
    double bitsPerSecond = 0;        // of the last whole second
    std::array<float, kHistorySeconds> history{}; // bit/s of each second, the newest last
    std::vector<PcrWatch::Reading> pcrs;
    std::optional<PictureShape> shape; // of its first video
    std::string picture;               // likewise, in words; empty while nothing is known
};

// Counts of ETSI TR 101 290: priority 1, and what of the others is measured here.
struct ErrorCounts {
    std::uint64_t syncLoss = 0;   // TS_sync_loss
    std::uint64_t syncByte = 0;   // Sync_byte_error
    std::uint64_t pat = 0;        // PAT_error
    std::uint64_t continuity = 0; // Continuity_count_error
    std::uint64_t pmt = 0;        // PMT_error
    std::uint64_t pid = 0;        // PID_error
    std::uint64_t transport = 0;  // Transport_error
    std::uint64_t pcrRepetition = 0;
    std::uint64_t pcrDiscontinuity = 0;
};

struct MultiplexReading {
    bool tables = false; // a PAT has been seen
    std::vector<ProgrammeReading> programmes;
    std::vector<PidReading> pids; // ascending
    ErrorCounts errors;
    double bitsPerSecond = 0;
};

// Measures a multiplex as it is sent: its programmes as the tables say at this moment, and what their PIDs
// carry.
//
// Units      milliseconds of any clock that does not run back; it is always passed in.
// Threads    any; one lock around each operation, which takes microseconds but for Read (about a
//            millisecond).
class MultiplexMonitor {
public:
    // Whole packets, and what was found between them when they were cut. A packet among them without its sync
    // byte counts as well.
    void Push(std::span<const std::uint8_t> packets, double now, SyncErrors between = {});
    // The next packets do not continue the former: the file begins again, or is left for another place.
    void Break();

    // Goes up with each change of the tables.
    std::uint64_t Revision();
    // What the tables say of the programme now; nothing: no PAT yet, or none with a map.
    std::optional<Programme> Mapped(std::uint16_t number);
    MultiplexReading Read(double now);

private:
    struct PidWatch {
        std::uint64_t packets = 0;
        std::uint64_t continuityErrors = 0;
        std::uint64_t transportErrors = 0;
        double lastMsec = 0;     // of a packet with payload
        double lastPcrMsec = -1; // none yet
        bool scrambled = false;
        std::optional<unsigned> counter;
        bool repeated = false; // the last packet had the counter of the one before
        std::uint32_t now = 0; // packets of the second under way
        std::array<std::uint32_t, kHistorySeconds> seconds{}; // a ring, see slot_
        PcrWatch pcrs;
        std::optional<PictureHeaders> headers; // of a video
    };
    struct MapWatch {
        Programme programme;
        double sinceMsec = 0;   // as it is
        double lastMapMsec = 0; // a packet of its PMT
        bool pmtLate = false;   // counted already
        bool pidsLate = false;
    };

    void OnPacket(const PacketView& packet, double now);
    bool CheckSync(const PacketView& packet);
    void CheckContinuity(PidWatch& watch, const PacketView& packet);
    void OnTables(double now);
    void Advance(double now);
    void CheckTables(double now);
    PidReading Reading(Pid pid, const PidWatch& watch, double now) const;
    ProgrammeReading Reading(const MapWatch& map, double now) const;

    std::mutex lock_; // guards everything
    ProgrammeTable table_;
    std::map<Pid, PidWatch> pids_;
    std::map<std::uint16_t, MapWatch> maps_;
    ErrorCounts errors_;
    std::uint64_t revision_ = 0;
    std::uint64_t packets_ = 0;
    double begun_ = -1;       // no packet yet
    double secondBegun_ = 0;  // of the second under way
    bool syncMissed_ = false; // by the last packet
    bool lost_ = false;       // by the last two, counted
    std::size_t slot_ = 0;    // of the newest whole second in each ring
    double lastPat_ = 0;
    bool patLate_ = false;
};

} // namespace vistrame
