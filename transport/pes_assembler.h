#pragma once

#include <optional>
#include <vector>

#include "transport/packet.h"

namespace vistrame {

// Header of one PES packet.
struct PesHeader {
    std::uint8_t streamId = 0;
    std::size_t size = 0;             // of the header: where the payload begins
    std::size_t total = 0;            // of the whole packet, 0: not bounded (video)
    std::optional<std::uint64_t> pts; // raw, 90 kHz
    std::optional<std::uint64_t> dts; // raw; equal to pts when the header has only that
    bool scrambled = false;
    bool aligned = false; // data_alignment_indicator
};

enum class PesHeaderState : std::uint8_t { kIncomplete, kValid, kInvalid };

// Reads the header at the beginning of `bytes`.
PesHeaderState ParsePesHeader(ByteSpan bytes, PesHeader& header);

// Puts the PES packets of one PID together. The continuity of the packets is the caller's to check.
//
// Units      bytes.
// Threads    none of its own, not thread-safe.
// Ownership  the packet in work and the finished one belong to the assembler; Take() gives the bytes away.
// Errors     payload before the first unit start, behind the end of a bounded packet and behind kMaxPes is
// dropped.
//            A packet with bytes missing inside is finished like any other and marked damaged.
class PesAssembler {
public:
    // An intra picture of ultra-high definition fits several times; a PID that never starts a unit stays
    // bounded.
    static constexpr std::size_t kMaxPes = std::size_t{4} << 20;

    struct Packet {
        PesHeader header;
        std::vector<std::uint8_t> bytes; // header included
        bool damaged = false;            // bytes are missing in it, or before it
        bool randomAccess = false;       // random access indicator of its first transport packet
        bool continued = false;          // rest of a packet that was finished too early; no header
        ByteSpan Payload() const { return ByteSpan(bytes).subspan(header.size); }
    };

    enum class Progress : std::uint8_t { kNone, kHeader, kFinished };

    // A unit start ends the packet in work: take it (FinishUnbounded) before pushing.
    Progress Push(const PacketView& packet);
    // Ends the packet in work; false when there is none with a valid header.
    bool Finish();
    void MarkDamaged();
    // Drops the packet in work; what follows up to the next unit start is dropped too.
    void Abandon();
    void Reset();

    const Packet& Current() const { return current_; }
    Packet Take();

private:
    Packet current_;
    bool collecting_ = false;
    bool headerKnown_ = false;
    bool damagedBefore_ = false;
};

} // namespace vistrame
