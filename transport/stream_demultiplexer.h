#pragma once

#include <array>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "transport/deferred_changes.h"
#include "transport/pid_stream.h"
#include "transport/programme_table.h"
#include "transport/stamp_placer.h"
#include "transport/stream_handler.h"

namespace vistrame {

// Takes a transport stream apart: selected PIDs become units, the PCR PID becomes a clock. Both demultiplexer
// filters are shells around it.
//
// Data flow  chunk → PacketCutter → per PID PES packets → OnUnit; PAT and PMT are followed to find the clock
//            PID and the codings. A bounded PES packet is delivered with its last byte, an unbounded one when
//            the next starts, or earlier (EarlyUnits). A unit whose stamps do not fit the clock - the stream
//            has jumped and its next PCR will tell where to - is held until that PCR, within kMaxHeldUnits
//            and kMaxHeldBytes.
// Units      stamps 90 kHz, PCR 27 MHz.
// Threads    none of its own, not thread-safe: the owner's streaming lock covers every call.
// Ownership  borrows the handler for its whole life; units lend their bytes to the handler, which may keep
//            them.
// Errors     damaged data is delivered and marked where its PES header is there, counted and dropped
//            otherwise. What there is no memory for is lost, the unit under way of its PID included, and that
//            PID's next unit carries the flag; the calls that select or announce throw std::bad_alloc
//            instead.
class StreamDemultiplexer final : private PidStream::Listener {
public:
    static constexpr std::size_t kMaxHeldUnits = 64;
    static constexpr std::size_t kMaxHeldBytes = std::size_t{4} << 20;

    explicit StreamDemultiplexer(StreamHandler& handler);
    StreamDemultiplexer(const StreamDemultiplexer&) = delete;
    StreamDemultiplexer& operator=(const StreamDemultiplexer&) = delete;
    ~StreamDemultiplexer() = default;

    void Feed(ByteSpan chunk);
    // Finishes and delivers what is under way (end of stream, last picture before a pause).
    void Flush();
    // Forgets the stream (tail, tables, units under way, clock, counters) but not what is selected.
    void Reset();
    // What follows is not the continuation of what came before: units under way are delivered as they are, no
    // continuity counter is compared across, the next unit of each PID carries the flag, a new segment
    // starts.
    void AnnounceDiscontinuity();

    // Selecting a PID again changes its kind and begins it anew. `assumed` is its coding until the PMT tells.
    void AddStream(Pid pid, StreamKind kind, Coding assumed = Coding::kOther);
    void RemoveStream(Pid pid);
    void RemoveAllStreams();
    // nullopt (at first): the PCR PID of the programme that holds the first selected PID; until its PMT is
    // in, a selected PID that carries a PCR.
    void SetClockPid(std::optional<Pid> pid);
    // Delivers an unbounded PES packet already with a transport packet that is padded, since multiplexers pad
    // only the last one: up to one picture earlier. A PID where that proves wrong falls back by itself. On at
    // first.
    void EarlyUnits(bool on);

    bool Selected(Pid pid) const { return Find(pid) != nullptr; }
    std::vector<Pid> SelectedPids() const;     // in the order of selection
    StreamCounters Counters(Pid pid) const;    // all zero when the PID is not selected
    Pid ClockPid() const { return clockPid_; } // kNullPid until one is found
    const ProgrammeTable& Programmes() const { return programmes_; }
    std::uint64_t Packets() const { return packets_; }
    std::uint64_t DroppedBytes() const { return cutter_.DroppedBytes(); }

private:
    struct Stream {
        Stream(Pid pid, StreamDemultiplexer& owner) : packets(pid, owner) {}
        PidStream packets;
        StreamKind kind = StreamKind::kElementary;
        Coding assumed = Coding::kOther;
        Coding coding = Coding::kOther;
        StampPlacer::History history;
        StampPlacer::Placement placement; // of the PES packet being assembled
        std::size_t held = 0;
    };

    struct HeldUnit {
        Pid pid;
        PesAssembler::Packet packet;
        StampPlacer::Placement placement;
    };

    // What the public functions ask for, once no handler is running.
    void DoFlush();
    void DoReset();
    void StartAnew();
    void Select(Pid pid, StreamKind kind, Coding assumed);
    void Deselect(Pid pid);
    void DeselectAll();
    void WantClockPid(std::optional<Pid> pid);
    void WantEarlyUnits(bool on);

    void OnPacket(const PacketView& packet);
    void TakePacket(const PacketView& packet);
    void OnPcr(const PacketView& packet, std::uint64_t pcr);
    void OnPesHeader(PidStream& packets, const PesHeader& header) override;
    void OnPes(PidStream& packets, PesAssembler::Packet&& packet) override;

    void Deliver(Stream& stream, PesAssembler::Packet&& packet, const StampPlacer::Placement& placement);
    void ReleaseHeld();
    void ForceHeld();
    void ForEachStream(const std::function<void(Stream&)>& visit);
    void UpdateCodings();
    void UpdateClockPid();
    Stream* Find(Pid pid) const { return pid < byPid_.size() ? byPid_[pid] : nullptr; }
    Pid FindClockPid() const;

    StreamHandler& handler_;
    DeferredChanges changes_;
    ProgrammeTable programmes_;
    StampPlacer placer_;
    std::vector<std::unique_ptr<Stream>> streams_; // in the order of selection
    std::vector<std::unique_ptr<Stream>> retired_; // deselected while their packet was being assembled
    std::array<Stream*, kPidCount> byPid_{};
    std::deque<HeldUnit> held_;
    std::size_t heldBytes_ = 0;
    std::optional<Pid> clockPidWanted_;
    Pid pcrSeenPid_ = kNullPid; // a selected PID with PCRs
    Pid clockPid_ = kNullPid;
    std::uint64_t packets_ = 0;
    bool earlyUnits_ = true;
    bool feeding_ = false;
    PacketCutter cutter_;
};

} // namespace vistrame
