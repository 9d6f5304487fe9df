#include "tests/transport/ts_builder.h"

#include <algorithm>

#include "transport/clock.h"
#include "transport/crc32.h"

namespace vistrame {
namespace {

constexpr std::size_t kHeader = 4;
constexpr std::uint8_t kPcrFlag = 0x10;

// The low `size` bytes of the value, big-endian.
void Append(Bytes& bytes, std::uint64_t value, unsigned size) {
    while (size-- > 0) {
        bytes.push_back(static_cast<std::uint8_t>(value >> 8 * size));
    }
}

void Append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

void AppendStamp(Bytes& bytes, std::uint64_t prefix, std::int64_t stamp) {
    const std::uint64_t value = static_cast<std::uint64_t>(stamp % kTickWrap);
    Append(bytes,
           prefix << 36 | (value >> 30) << 33 | (value >> 15 & 0x7FFF) << 17 | (value & 0x7FFF) << 1 |
               0x100010001,
           5);
}

void AppendPcr(Bytes& bytes, std::int64_t pcr) {
    const std::uint64_t value = static_cast<std::uint64_t>(pcr % kPcrWrap);
    Append(bytes, value / kPcrPerTick << 15 | 0x7E00 | value % kPcrPerTick, 6);
}

// Bytes that look like nothing else: never a start code.
Bytes Filler(std::size_t size, unsigned seed) {
    Bytes bytes(size);
    std::uint32_t state = seed * 2654435761U + 1;
    for (std::uint8_t& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<std::uint8_t>(state >> 24 | 0x10);
    }
    return bytes;
}

} // namespace

std::size_t TsBuilder::AddPacket(Pid pid, bool unitStart, ByteSpan payload, std::uint8_t adaptationFlags,
                                 std::optional<std::int64_t> pcr) {
    Bytes adaptation;
    if (adaptationFlags != 0 || pcr) {
        adaptation.push_back(static_cast<std::uint8_t>(adaptationFlags | (pcr ? kPcrFlag : 0)));
        if (pcr) {
            AppendPcr(adaptation, *pcr);
        }
    }
    const std::size_t overhead = adaptation.empty() ? 0 : adaptation.size() + 1;
    const std::size_t taken = std::min(payload.size(), kPacketSize - kHeader - overhead);
    const std::size_t stuffing = kPacketSize - kHeader - overhead - taken;

    Packet packet{};
    packet.fill(0xFF);
    packet[0] = kSyncByte;
    packet[1] = static_cast<std::uint8_t>((unitStart ? 0x40 : 0) | pid >> 8);
    packet[2] = static_cast<std::uint8_t>(pid);
    unsigned control = taken > 0 ? 0x10 : 0;
    if (overhead + stuffing > 0) {
        control |= 0x20;
        const std::size_t length = overhead + stuffing - 1;
        packet[kHeader] = static_cast<std::uint8_t>(length);
        if (adaptation.empty() && length > 0) {
            adaptation.push_back(0);
        }
        std::ranges::copy(adaptation, packet.begin() + kHeader + 1);
    }
    // The counter of a packet without payload repeats the last one.
    unsigned& next = counters_[pid];
    packet[3] = static_cast<std::uint8_t>(control | ((taken > 0 ? next++ : next - 1) & 0x0F));
    std::copy_n(payload.begin(), taken, packet.end() - static_cast<std::ptrdiff_t>(taken));
    packets.push_back(packet);
    return taken;
}

void TsBuilder::AddPes(Pid pid, const Pes& pes, const Bytes& payload) {
    const Bytes packet = MakePes(pes, payload);
    std::size_t at = AddPacket(pid, true, packet, 0, pes.pcr);
    while (at < packet.size()) {
        at += AddPacket(pid, false, ByteSpan(packet).subspan(at));
    }
}

void TsBuilder::AddPcr(Pid pid, std::int64_t pcr) {
    AddPacket(pid, false, {}, 0, pcr);
}

void TsBuilder::AddSection(Pid pid, Bytes section) {
    section.insert(section.begin(), 0); // pointer field
    constexpr std::size_t kPayload = kPacketSize - kHeader;
    section.resize((section.size() + kPayload - 1) / kPayload * kPayload, 0xFF);
    for (std::size_t at = 0; at < section.size();) {
        at += AddPacket(pid, at == 0, ByteSpan(section).subspan(at));
    }
}

void TsBuilder::AddPat(const std::map<std::uint16_t, Pid>& programmes) {
    Bytes body{0, 0, 0xE0, 0x10}; // the network's entry, which is no programme
    for (const auto& [number, pid] : programmes) {
        Append(body, std::uint64_t{number} << 16 | 0xE000U | pid, 4);
    }
    AddSection(kPatPid, MakeTable(0x00, 1, body));
}

void TsBuilder::AddPmt(Pid pid, std::uint16_t programme, Pid pcrPid, const std::vector<Stream>& streams) {
    Bytes body;
    Append(body, (0xE000U | pcrPid) << 16 | 0xF000U, 4);
    for (const Stream& stream : streams) {
        Append(body,
               std::uint64_t{stream.streamType} << 32 | (0xE000U | stream.pid) << 16 | 0xF000U |
                   stream.descriptors.size(),
               5);
        Append(body, stream.descriptors);
    }
    AddSection(pid, MakeTable(0x02, programme, body));
}

void TsBuilder::AddSdt(const std::map<std::uint16_t, std::string>& names) {
    Bytes body{0x00, 0x01, 0xFF};
    for (const auto& [number, name] : names) {
        Bytes service{0x01, 0x02, 'P', 'r', static_cast<std::uint8_t>(name.size())};
        service.insert(service.end(), name.begin(), name.end());
        Append(body, number, 2);
        Append(body, 0xFC8000 + service.size() + 2, 3);
        Append(body, 0x4800 + service.size(), 2);
        Append(body, service);
    }
    AddSection(kSdtPid, MakeTable(0x42, 1, body));
}

Bytes Render(const std::vector<TsBuilder::Packet>& packets, std::size_t stride) {
    Bytes bytes;
    for (const TsBuilder::Packet& packet : packets) {
        bytes.resize(bytes.size() + (stride == 192 ? 4 : 0), 0x11);
        bytes.insert(bytes.end(), packet.begin(), packet.end());
        bytes.resize(bytes.size() + (stride == 204 ? 16 : 0), 0x22);
    }
    return bytes;
}

Bytes MakePes(const TsBuilder::Pes& pes, const Bytes& payload) {
    Bytes fields;
    if (pes.pts) {
        AppendStamp(fields, pes.dts ? 3 : 2, *pes.pts);
    }
    if (pes.dts) {
        AppendStamp(fields, 1, *pes.dts);
    }
    Bytes packet{0, 0, 1, pes.streamId};
    Append(packet, pes.bounded ? 3 + fields.size() + payload.size() : 0, 2);
    Append(packet, 0x800000U | (pes.pts ? 0x8000U : 0) | (pes.dts ? 0x4000U : 0) | fields.size(), 3);
    Append(packet, fields);
    Append(packet, payload);
    return packet;
}

Bytes MakeTable(std::uint8_t tableId, std::uint16_t extension, const Bytes& body, std::uint8_t number,
                std::uint8_t last, std::uint8_t flags) {
    Bytes section{tableId};
    Append(section, 0xB000 + 5 + body.size() + 4, 2);
    Append(section, extension, 2);
    Append(section, {flags, number, last});
    Append(section, body);
    Append(section, Crc32Mpeg(section), 4);
    return section;
}

Bytes PicturePayload(int picture) {
    const bool intra = picture % 12 == 0;
    Bytes payload = intra ? Bytes{0, 0, 1, 0xB3, 0x2D, 0x02, 0x40, 0x33} : Bytes{};
    const std::uint8_t type = intra ? 0x08 : 0x10;
    Append(payload, {0, 0, 1, 0x00, 0x10, type, 0x12, 0x34, 0, 0, 1, 0x01});
    Append(payload, Filler(intra ? 3990 : 800, static_cast<unsigned>(picture)));
    return payload;
}

Bytes AudioPayload(int frame) {
    return Filler(576, static_cast<unsigned>(frame) + 100'000);
}

void AddProgramme(TsBuilder& builder, const ProgrammeRecipe& recipe) {
    std::int64_t frame = (recipe.firstPicture * kPictureTicks + kFrameTicks - 1) / kFrameTicks;
    for (int i = 0; i < recipe.pictures; ++i) {
        const int picture = recipe.firstPicture + i;
        const std::int64_t now = recipe.start + picture * kPictureTicks;
        if (i % 3 == 0) {
            builder.AddPat({{1, 0x100}});
            builder.AddPmt(
                0x100, 1, recipe.pcrPid.value_or(recipe.videoPid),
                {{recipe.videoPid, 0x02, {}}, {recipe.audioPid, 0x03, {0x0A, 4, 'e', 'n', 'g', 0}}});
        }
        const std::int64_t dts = now + kSendAhead;
        TsBuilder::Pes video{.pts = dts + kPictureTicks, .dts = dts};
        if (recipe.pcrPid) {
            builder.AddPcr(*recipe.pcrPid, now * kPcrPerTick);
        } else {
            video.pcr = now * kPcrPerTick;
        }
        builder.AddPes(recipe.videoPid, video, PicturePayload(picture));
        for (; recipe.start + frame * kFrameTicks < now + kPictureTicks; ++frame) {
            builder.AddPes(
                recipe.audioPid,
                {.streamId = 0xC0, .pts = recipe.start + frame * kFrameTicks + kSendAhead, .bounded = true},
                AudioPayload(static_cast<int>(frame)));
        }
    }
}

} // namespace vistrame
