#include "tests/transport/ts_builder.h"

#include <algorithm>

#include "transport/clock.h"
#include "transport/crc32.h"

namespace vistrame {
namespace {

constexpr std::size_t kHeader = 4;
constexpr std::uint8_t kPcrFlag = 0x10;
constexpr std::uint8_t kRandomAccessFlag = 0x40;
constexpr std::uint8_t kDiscontinuityFlag = 0x80;

void Append16(Bytes& bytes, unsigned value) {
    bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    bytes.push_back(static_cast<std::uint8_t>(value));
}

void Append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

std::uint64_t Wrapped(std::int64_t value, std::int64_t wrap) {
    return static_cast<std::uint64_t>((value % wrap + wrap) % wrap);
}

void AppendStamp(Bytes& bytes, unsigned prefix, std::int64_t stamp) {
    const std::uint64_t value = Wrapped(stamp, kTickWrap);
    bytes.push_back(static_cast<std::uint8_t>(prefix << 4 | (value >> 30 & 7) << 1 | 1));
    Append16(bytes, static_cast<unsigned>((value >> 15 & 0x7FFF) << 1 | 1));
    Append16(bytes, static_cast<unsigned>((value & 0x7FFF) << 1 | 1));
}

Bytes PcrField(std::int64_t pcr) {
    const std::uint64_t value = Wrapped(pcr, kPcrWrap);
    const std::uint64_t base = value / kPcrPerTick;
    const std::uint64_t extension = value % kPcrPerTick;
    Bytes field;
    Append16(field, static_cast<unsigned>(base >> 17));
    Append16(field, static_cast<unsigned>(base >> 1));
    Append16(field, static_cast<unsigned>((base & 1) << 15 | 0x7E00 | extension));
    return field;
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
        Append(adaptation, pcr ? PcrField(*pcr) : Bytes{});
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
    unsigned& counter = counters_[pid];
    packet[3] = static_cast<std::uint8_t>(control | counter);
    counter = taken > 0 ? (counter + 1) & 0x0F : counter;
    std::copy_n(payload.begin(), taken, packet.end() - static_cast<std::ptrdiff_t>(taken));
    packets.push_back(packet);
    return taken;
}

void TsBuilder::AddPes(Pid pid, const Pes& pes, const Bytes& payload) {
    const Bytes packet = MakePes(pes, payload);
    std::size_t at =
        AddPacket(pid, true, packet, pes.randomAccess ? kRandomAccessFlag : std::uint8_t{0}, pes.pcr);
    while (at < packet.size()) {
        at += AddPacket(pid, false, ByteSpan(packet).subspan(at));
    }
}

void TsBuilder::AddPcr(Pid pid, std::int64_t pcr, bool discontinuity) {
    AddPacket(pid, false, {}, discontinuity ? kDiscontinuityFlag : std::uint8_t{0}, pcr);
    // The counter of a packet without payload repeats the last one.
    packets.back()[3] =
        static_cast<std::uint8_t>((packets.back()[3] & 0xF0) | ((counters_[pid] + 15) & 0x0F));
}

void TsBuilder::AddSection(Pid pid, Bytes section) {
    section.insert(section.begin(), 0); // pointer field
    bool start = true;
    for (std::size_t at = 0; at < section.size(); start = false) {
        Bytes payload(section.begin() + static_cast<std::ptrdiff_t>(at), section.end());
        payload.resize(std::max(payload.size(), kPacketSize - kHeader), 0xFF);
        at += AddPacket(pid, start, payload);
    }
}

void TsBuilder::AddPat(const std::map<std::uint16_t, Pid>& programmes) {
    Bytes body;
    Append16(body, 0); // the network's entry, which is no programme
    Append16(body, 0xE010);
    for (const auto& [number, pid] : programmes) {
        Append16(body, number);
        Append16(body, 0xE000U | pid);
    }
    AddSection(kPatPid, MakeTable(0x00, 1, body));
}

void TsBuilder::AddPmt(Pid pid, std::uint16_t programme, Pid pcrPid, const std::vector<Stream>& streams) {
    Bytes body;
    Append16(body, 0xE000U | pcrPid);
    Append16(body, 0xF000);
    for (const Stream& stream : streams) {
        body.push_back(stream.streamType);
        Append16(body, 0xE000U | stream.pid);
        Append16(body, 0xF000U | static_cast<unsigned>(stream.descriptors.size()));
        Append(body, stream.descriptors);
    }
    AddSection(pid, MakeTable(0x02, programme, body));
}

void TsBuilder::AddSdt(const std::map<std::uint16_t, std::string>& names) {
    Bytes body{0x00, 0x01, 0xFF};
    for (const auto& [number, name] : names) {
        Bytes service{0x01, 0x02, 'P', 'r', static_cast<std::uint8_t>(name.size())};
        service.insert(service.end(), name.begin(), name.end());
        Append16(body, number);
        body.push_back(0xFC);
        Append16(body, 0x8000U | static_cast<unsigned>(service.size() + 2));
        body.push_back(0x48);
        body.push_back(static_cast<std::uint8_t>(service.size()));
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
    Append16(packet, pes.bounded ? static_cast<unsigned>(3 + fields.size() + payload.size()) : 0);
    packet.push_back(0x80);
    packet.push_back(static_cast<std::uint8_t>((pes.pts ? 0x80 : 0) | (pes.dts ? 0x40 : 0)));
    packet.push_back(static_cast<std::uint8_t>(fields.size()));
    Append(packet, fields);
    Append(packet, payload);
    return packet;
}

Bytes MakeSection(Bytes section) {
    const std::size_t length = section.size() - 3 + 4;
    section[1] = static_cast<std::uint8_t>((section[1] & 0xF0) | length >> 8);
    section[2] = static_cast<std::uint8_t>(length);
    const std::uint32_t crc = Crc32Mpeg(section);
    Append16(section, crc >> 16);
    Append16(section, crc & 0xFFFF);
    return section;
}

Bytes MakeTable(std::uint8_t tableId, std::uint16_t extension, const Bytes& body, std::uint8_t number,
                std::uint8_t last, std::uint8_t version) {
    Bytes section{tableId, 0xB0, 0};
    Append16(section, extension);
    section.push_back(static_cast<std::uint8_t>(0xC1 | version << 1));
    section.push_back(number);
    section.push_back(last);
    Append(section, body);
    return MakeSection(section);
}

Bytes PicturePayload(int picture) {
    const bool intra = picture % 12 == 0;
    Bytes payload;
    if (intra) {
        Append(payload, {0, 0, 1, 0xB3, 0x2D, 0x02, 0x40, 0x33});
    }
    const std::uint8_t type = intra ? 1 : 2;
    Append(payload, {0, 0, 1, 0x00, 0x10, static_cast<std::uint8_t>(type << 3), 0x12, 0x34});
    Append(payload, {0, 0, 1, 0x01});
    Append(payload, Filler(intra ? 3990 : 800, static_cast<unsigned>(picture)));
    return payload;
}

Bytes AudioPayload(int frame) {
    return Filler(576, static_cast<unsigned>(frame) + 100'000);
}

void AddProgramme(TsBuilder& builder, const ProgrammeRecipe& recipe) {
    constexpr std::int64_t kAudioTicks = 2160;
    const auto pcrAt = [&](std::int64_t ticks) { return (recipe.start + ticks) * kPcrPerTick; };
    std::int64_t audio = (recipe.firstPicture * kPictureTicks + kAudioTicks - 1) / kAudioTicks;
    for (int i = 0; i < recipe.pictures; ++i) {
        const int picture = recipe.firstPicture + i;
        const std::int64_t now = picture * kPictureTicks;
        if (i % 3 == 0) {
            builder.AddPat({{recipe.number, recipe.pmtPid}});
            builder.AddPmt(
                recipe.pmtPid, recipe.number, recipe.pcrPid.value_or(recipe.videoPid),
                {{recipe.videoPid, 0x02, {}}, {recipe.audioPid, 0x03, {0x0A, 4, 'e', 'n', 'g', 0}}});
        }
        TsBuilder::Pes video;
        video.dts = recipe.start + now + kSendAhead;
        video.pts = *video.dts + kPictureTicks;
        if (recipe.pcrPid) {
            builder.AddPcr(*recipe.pcrPid, pcrAt(now));
        } else {
            video.pcr = pcrAt(now);
        }
        builder.AddPes(recipe.videoPid, video, PicturePayload(picture));
        for (; audio * kAudioTicks < now + kPictureTicks; ++audio) {
            TsBuilder::Pes sound;
            sound.streamId = 0xC0;
            sound.pts = recipe.start + audio * kAudioTicks + kSendAhead;
            sound.bounded = true;
            builder.AddPes(recipe.audioPid, sound, AudioPayload(static_cast<int>(audio)));
        }
    }
}

} // namespace vistrame
