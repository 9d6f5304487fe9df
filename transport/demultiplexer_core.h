#pragma once

#include <array>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "transport/pid_stream.h"
#include "transport/programme_table.h"
#include "transport/stamp_placer.h"
#include "transport/stream_handler.h"

namespace vistrame {

// What StreamDemultiplexer does, without putting off what a handler asks for: its units, threads, ownership and errors are
// those described there. The handler may call anything but Feed() while it is called.
class DemultiplexerCore final : public PidStream::Listener {
public:
    explicit DemultiplexerCore(StreamHandler& handler);

    void Feed(ByteSpan chunk);
    void Flush();
    void Reset();
    void AnnounceDiscontinuity();
    void AddStream(Pid pid, StreamKind kind, Coding assumed);
    void RemoveStream(Pid pid);
    void RemoveAllStreams();
    void SetClockPid(std::optional<Pid> pid);
    void EarlyUnits(bool on);

    struct Stream {
        Stream(Pid pid, Listener& listener) : packets(pid, listener) {}
        PidStream packets;
        StreamKind kind = StreamKind::kElementary;
        Coding assumed = Coding::kOther;
        Coding coding = Coding::kOther;
        StampPlacer::History history;
        StampPlacer::Placement placement; // of the PES packet in work
        std::size_t held = 0;
    };

    Stream* Find(Pid pid) const { return pid < byPid_.size() ? byPid_[pid] : nullptr; }
    const std::vector<std::unique_ptr<Stream>>& Streams() const { return streams_; }
    const ProgrammeTable& Programmes() const { return programmes_; }
    Pid ClockPid() const { return clockPid_; }
    std::uint64_t Packets() const { return packets_; }
    std::uint64_t DroppedBytes() const { return cutter_.DroppedBytes(); }

private:
    struct HeldUnit {
        Pid pid;
        PesAssembler::Packet packet;
        StampPlacer::Placement placement;
    };

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
    Pid FindClockPid() const;

    StreamHandler& handler_;
    ProgrammeTable programmes_;
    StampPlacer placer_;
    std::vector<std::unique_ptr<Stream>> streams_; // in the order of selection
    std::vector<std::unique_ptr<Stream>> retired_; // deselected while their packet was in work
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
