#pragma once

#include <array>

#include "transport/pes_assembler.h"
#include "transport/stream_handler.h"

namespace vistrame {

// The packets of one selected PID: watches their continuity, counts what is wrong with them and makes PES
// packets of the rest.
//
// Threads    none of its own, not thread-safe.
// Ownership  borrows its listener; finished packets are given to it.
// Errors     counted, and marked in the packet they concern. A repeated packet (same counter, same payload)
//            is dropped.
class PidStream {
public:
    // Both are called inside Push(), Finish() and Break(); Reset() and Break() may be called from them.
    class Listener {
    public:
        // The header of the packet being assembled has become known.
        virtual void OnPesHeader(PidStream& stream, const PesHeader& header) = 0;
        virtual void OnPes(PidStream& stream, PesAssembler::Packet&& packet) = 0;

    protected:
        ~Listener() = default;
    };

    PidStream(Pid pid, Listener& listener) : pid_(pid), listener_(listener) {}

    Pid PacketId() const { return pid_; }
    StreamCounters& Counters() { return counters_; }
    // See StreamDemultiplexer::EarlyUnits.
    void EarlyUnits(bool on) { early_ = on; }

    void Push(const PacketView& packet);
    // Gives out the packet being assembled.
    void Finish();
    // Finish(), and what comes then is no continuation.
    void Break();
    // There was no memory for the last packet: what is being assembled is lost, and the next says so.
    void Lose();
    void Reset();
    // Memory of a packet that is no longer needed.
    void Recycle(PesAssembler::Packet&& packet) { assembler_.Recycle(std::move(packet)); }

private:
    enum class Continuity : std::uint8_t { kContinues, kRepeated, kLost };

    Continuity Check(const PacketView& packet);
    void PushPayload(const PacketView& packet, bool lost);
    void OnTransportError(const PacketView& packet);
    void OnScrambled(const PacketView& packet);
    bool EndsEarly(const PacketView& packet) const;

    Pid pid_;
    Listener& listener_;
    PesAssembler assembler_;
    StreamCounters counters_;
    std::array<std::uint8_t, kPacketSize> lastPayload_{}; // to tell a repeated packet
    std::size_t lastPayloadSize_ = 0;
    unsigned counter_ = 0; // of the last packet with payload
    bool counterKnown_ = false;
    bool early_ = true;
    bool earlyProvedWrong_ = false;
    bool finishedEarly_ = false; // and no packet with payload since
};

} // namespace vistrame
