#pragma once

#include <optional>

#include "transport/bytes.h"

namespace vistrame {

inline constexpr std::size_t kPacketSize = 188; // MPEG-2 systems
inline constexpr std::uint8_t kSyncByte = 0x47;

// One transport packet with its fields by name.
//
// Units      PCR in 27 MHz; the continuity counter counts 0 to 15.
// Threads    a view: as safe as the bytes it borrows.
// Ownership  borrows kPacketSize bytes from whoever made it; cheap to copy.
// Errors     an adaptation field that does not fit the packet reads as absent, with no payload behind it.
class PacketView {
public:
    explicit PacketView(std::span<const std::uint8_t, kPacketSize> bytes) : bytes_(bytes.data()) {}

    ByteSpan Bytes() const { return {bytes_, kPacketSize}; }

    bool TransportError() const { return (bytes_[1] & 0x80) != 0; }
    // Payload unit start: a PES packet or the first section of a group begins in this payload.
    bool UnitStart() const { return (bytes_[1] & 0x40) != 0; }
    Pid PacketId() const { return static_cast<Pid>((bytes_[1] & 0x1F) << 8 | bytes_[2]); }
    // 0: in the clear; 2 and 3: even and odd key.
    unsigned ScramblingControl() const { return bytes_[3] >> 6; }
    bool Scrambled() const { return ScramblingControl() != 0; }
    unsigned ContinuityCounter() const { return bytes_[3] & 0x0F; }
    // The counter advances only on packets that carry payload, also an empty one.
    bool HasPayload() const { return (bytes_[3] & 0x10) != 0; }
    ByteSpan Payload() const;

    bool DiscontinuityIndicator() const { return (AdaptationFlags() & 0x80) != 0; }
    bool RandomAccessIndicator() const { return (AdaptationFlags() & 0x40) != 0; }
    std::optional<std::uint64_t> Pcr() const;
    // Bytes of the adaptation field that none of its flags accounts for: what a multiplexer puts in front of
    // the last bytes of a PES packet.
    std::size_t AdaptationStuffing() const;

private:
    // The adaptation field behind its length byte; empty when there is none.
    ByteSpan Adaptation() const;
    unsigned AdaptationFlags() const;

    const std::uint8_t* bytes_;
};

} // namespace vistrame
