#pragma once

#include <optional>
#include <vector>

#include "transport/packet.h"

namespace vistrame {

// Header of one PES packet.
struct PesHeader {
    std::uint8_t streamId = 0;
    std::size_t size = 0;             // of the header, bytes: where the payload begins
    std::size_t total = 0;            // of header and payload; 0: not bounded (video)
    std::optional<std::uint64_t> pts; // raw, 90 kHz
    std::optional<std::uint64_t> dts; // raw; equal to pts when the header has only that
    bool scrambled = false;
};

enum class PesHeaderState : std::uint8_t { kIncomplete, kValid, kInvalid };

// Reads the header at the beginning of `bytes`. A time stamp whose marker bits are damaged reads as absent.
PesHeaderState ParsePesHeader(ByteSpan bytes, PesHeader& header);

// Puts the PES packets of one PID together. The continuity of the transport packets is the caller's to check.
//
// Units      bytes.
// Threads    none of its own, not thread-safe.
// Ownership  the packet being assembled belongs to the assembler; Take() gives the finished one away,
//            Recycle() brings its memory back.
// Errors     payload before the first unit start, behind the end of a bounded packet and beyond kMaxPes is
//            dropped, also a packet whose header does not hold together. One with bytes missing is marked
//            damaged.
class PesAssembler {
public:
    // An intra picture of ultra-high definition fits several times; a PID that never starts a unit stays
    // bounded.
    static constexpr std::size_t kMaxPes = std::size_t{4} << 20;

    struct Packet {
        PesHeader header;
        std::vector<std::uint8_t> bytes; // header included
        bool damaged = false;            // bytes are missing in it or before it
        bool cut = false;                // in it, or may be (see MayBeCut)
        bool randomAccess = false;       // random access indicator of its first transport packet
        bool continued = false;          // rest of a packet that was finished too early; has no header
        ByteSpan Payload() const { return ByteSpan(bytes).subspan(header.size); }
    };

    struct Progress {
        bool header = false;   // the header has just become known
        bool finished = false; // the last byte is in: Take() it before the next Push
    };

    // A unit start drops the packet being assembled: Finish() and Take() it before.
    Progress Push(const PacketView& packet);
    // Ends the packet being assembled; true when it can be taken.
    bool Finish();
    // Begins a packet without header, for what goes on behind a packet that was finished too early.
    void Continue();
    // Bytes are missing here: marks the packet being assembled, or else the next.
    void MarkDamaged();
    // What follows does not continue the packet being assembled, which may be whole: only a bounded one says
    // where it ends.
    void MayBeCut() { current_.cut = true; }
    // Drops the packet being assembled and what follows up to the next unit start.
    void Abandon();
    void Reset();

    // The packet being assembled, once its header is known.
    const Packet& Current() const { return current_; }
    bool Collecting() const { return collecting_; }
    Packet Take();
    void Recycle(Packet&& packet);

private:
    void Begin();

    Packet current_;
    bool collecting_ = false;
    bool headerKnown_ = false;
    bool nextDamaged_ = false;
};

} // namespace vistrame
