#pragma once

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "transport/packet.h"

namespace vistrame {

using Bytes = std::vector<std::uint8_t>;

// Makes small transport streams for tests, packet by packet, so that a test can damage a good one.
//
// Units      PTS and DTS 90 kHz, PCR 27 MHz; values beyond what a stream carries are wrapped.
// Errors     none: tests ask for what fits.
class TsBuilder {
public:
    using Packet = std::array<std::uint8_t, kPacketSize>;

    struct Stream {
        Pid pid;
        std::uint8_t streamType;
        Bytes descriptors;
    };

    struct Pes {
        std::uint8_t streamId = 0xE0;
        std::optional<std::int64_t> pts = std::nullopt;
        std::optional<std::int64_t> dts = std::nullopt;
        bool bounded = false;
        std::optional<std::int64_t> pcr = std::nullopt; // in its first packet
    };

    void AddPat(const std::map<std::uint16_t, Pid>& programmes);
    void AddPmt(Pid pid, std::uint16_t programme, Pid pcrPid, const std::vector<Stream>& streams);
    // Names as transmitted, with their selection byte.
    void AddSdt(const std::map<std::uint16_t, std::string>& names);
    // Packs it, CRC and all, into as many packets as it takes; several sections behind each other are
    // possible.
    void AddSection(Pid pid, Bytes section);
    void AddPes(Pid pid, const Pes& pes, const Bytes& payload);
    void AddPcr(Pid pid, std::int64_t pcr);

    // One packet; what the payload leaves free becomes adaptation stuffing. Returns how much of it went in.
    std::size_t AddPacket(Pid pid, bool unitStart, ByteSpan payload, std::uint8_t adaptationFlags = 0,
                          std::optional<std::int64_t> pcr = std::nullopt);

    std::vector<Packet> packets;

private:
    std::map<Pid, unsigned> counters_;
};

// Packets as bytes, `stride` apart: 188, 192 with a time stamp in front of each, 204 with a code behind it.
Bytes Render(const std::vector<TsBuilder::Packet>& packets, std::size_t stride = kPacketSize);

Bytes MakePes(const TsBuilder::Pes& pes, const Bytes& payload);
// A long section: header fields, body, CRC. The flags hold the version and whether it is in force.
Bytes MakeTable(std::uint8_t tableId, std::uint16_t extension, const Bytes& body, std::uint8_t number = 0,
                std::uint8_t last = 0, std::uint8_t flags = 0xC1);

// Programme 1 as a broadcaster would send it, its PMT on PID 0x100: tables every 0.1 s, MPEG-2 video at 25
// pictures/s (groups of 12, I pictures of 22 packets, P pictures of 5, PCR with every picture) and MPEG audio
// every 24 ms (4 packets).
struct ProgrammeRecipe {
    Pid videoPid = 0x101;
    Pid audioPid = 0x102;
    std::optional<Pid> pcrPid = std::nullopt; // other than the video's: PCRs stand on their own
    std::int64_t start = 1'000'000;           // first PCR, in 90 kHz ticks
    int pictures = 25;
    int firstPicture = 0; // to continue a programme
};
inline constexpr std::int64_t kPictureTicks = 3600;
inline constexpr std::int64_t kFrameTicks = 2160;  // of audio
inline constexpr std::int64_t kSendAhead = 45'000; // DTS after PCR
// Every picture and every audio packet holds different bytes, so that a mix-up shows.
Bytes PicturePayload(int picture);
Bytes AudioPayload(int frame);
void AddProgramme(TsBuilder& builder, const ProgrammeRecipe& recipe);

template <typename Reader>
void FeedChunks(Reader& reader, ByteSpan bytes, std::size_t chunk) {
    for (; !bytes.empty(); bytes = bytes.subspan(std::min(chunk, bytes.size()))) {
        reader.Feed(bytes.first(std::min(chunk, bytes.size())));
    }
}

} // namespace vistrame
