// One good programme, damaged in one place per row. What comes of it is told as a list of what is not as it was sent,
// by picture (or audio frame) number:
//   5!  whole, with the discontinuity flag    5-  incomplete, with the flag    5?  incomplete, without it
//   5x  missing                               +!  the rest of a picture whose header was lost
#include <gtest/gtest.h>

#include "tests/transport/unit_recorder.h"
#include "transport/clock.h"

namespace vistrame {
namespace {

constexpr int kPictures = 24;
constexpr std::int64_t kAudioTicks = 2160;
const ProgrammeRecipe kRecipe{.pictures = kPictures};
using Packets = std::vector<TsBuilder::Packet>;

// Index of packet `offset` of the PES packet number `unit` on this PID.
std::size_t At(const Packets& packets, Pid pid, int unit, int offset = 0) {
    int units = -1;
    int within = 0;
    for (std::size_t i = 0; i < packets.size(); ++i) {
        const PacketView view(packets[i]);
        if (view.PacketId() != pid || !view.HasPayload()) {
            continue;
        }
        within = view.UnitStart() ? 0 : within + 1;
        units += view.UnitStart() ? 1 : 0;
        if (units == unit && within == offset) {
            return i;
        }
    }
    ADD_FAILURE() << "no packet " << unit << "/" << offset;
    return 0;
}

void Remove(Packets& packets, std::size_t at) {
    packets.erase(packets.begin() + static_cast<std::ptrdiff_t>(at));
}

std::string Describe(const std::vector<UnitRecorder::Unit>& units, std::int64_t firstPts, std::int64_t step,
                     int count, Bytes (*payload)(int)) {
    std::string text;
    int next = 0;
    const auto missing = [&](int upTo) {
        for (; next < upTo; ++next) {
            text += std::to_string(next) + "x ";
        }
    };
    for (const UnitRecorder::Unit& u : units) {
        if (!u.unit.pts) {
            text += u.unit.continued && u.unit.discontinuity ? "+! " : "(no stamp) ";
            continue;
        }
        const auto number = static_cast<int>((static_cast<std::int64_t>(u.unit.pts->raw) - firstPts) / step);
        missing(number);
        next = number + 1;
        const bool whole = u.data == payload(number);
        if (!whole || u.unit.discontinuity) {
            text += std::to_string(number) + (u.unit.discontinuity ? whole ? "! " : "- " : "? ");
        }
    }
    missing(count);
    return text;
}

struct Result {
    std::string video, audio;
    StreamCounters videoCounters, audioCounters;

    bool operator==(const Result& other) const { return video == other.video && audio == other.audio; }
};

Result Demultiplex(const Packets& packets, std::size_t chunk, std::size_t stride) {
    UnitRecorder recorder;
    StreamDemultiplexer demultiplexer(recorder);
    demultiplexer.AddStream(kRecipe.videoPid, StreamKind::kElementary);
    demultiplexer.AddStream(kRecipe.audioPid, StreamKind::kElementary);
    FeedChunks(demultiplexer, Render(packets, stride), chunk);
    demultiplexer.Flush();
    const std::int64_t firstDts = kRecipe.start + kSendAhead;
    return {.video = Describe(recorder.Of(kRecipe.videoPid), firstDts + kPictureTicks, kPictureTicks,
                              kPictures, PicturePayload),
            .audio = Describe(recorder.Of(kRecipe.audioPid), firstDts, kAudioTicks, 40, AudioPayload),
            .videoCounters = demultiplexer.Counters(kRecipe.videoPid),
            .audioCounters = demultiplexer.Counters(kRecipe.audioPid)};
}

TEST(StreamDamage, IsMarkedWhereItIsAndCostsNothingElse) {
    struct Row {
        const char* name;
        std::function<void(Packets&)> damage;
        std::string video, audio;
        unsigned continuity, transport, scrambled; // both PIDs together
    };
    const Pid video = kRecipe.videoPid;
    const Pid audio = kRecipe.audioPid;
    const auto edit = [](Pid pid, int unit, int offset, std::size_t byte, std::uint8_t mask) {
        return [=](Packets& p) { p[At(p, pid, unit, offset)][byte] ^= mask; };
    };
    const auto lose = [](Pid pid, int unit, int offset, int count) {
        return [=](Packets& p) {
            for (int i = count - 1; i >= 0; --i) {
                Remove(p, At(p, pid, unit, offset + i));
            }
        };
    };
    const Row rows[] = {
        {"intact", [](Packets&) {}, "", "", 0, 0, 0},
        {"packet lost inside", lose(video, 5, 2, 1), "5- ", "", 1, 0, 0},
        {"three packets lost inside an I picture", lose(video, 12, 7, 3), "12- ", "", 1, 0, 0},
        {"last packet lost", lose(video, 5, 4, 1), "5- 6! ", "", 1, 0, 0},
        {"first packet lost", lose(video, 6, 0, 1), "+! 6x ", "", 1, 0, 0},
        {"whole picture lost", lose(video, 6, 0, 5), "6x 7! ", "", 1, 0, 0},
        {"audio: packet lost inside", lose(audio, 9, 1, 1), "", "9- ", 1, 0, 0},
        {"audio: first packet lost", lose(audio, 9, 0, 1), "", "9x 10! ", 1, 0, 0},
        {"audio: last packet lost", lose(audio, 9, 3, 1), "", "9- 10! ", 1, 0, 0},
        {"every packet sent twice",
         [](Packets& p) {
             Packets twice;
             for (const auto& packet : p) {
                 twice.insert(twice.end(), 2, packet);
             }
             p = twice;
         },
         "", "", 0, 0, 0},
        {"sent twice, with another PCR",
         [&](Packets& p) {
             const std::size_t at = At(p, video, 6);
             p.insert(p.begin() + static_cast<std::ptrdiff_t>(at), p[at]);
             p[at + 1][10] ^= 0x01;
         },
         "", "", 0, 0, 0},
        {"same counter, other bytes",
         [&](Packets& p) {
             const std::size_t at = At(p, video, 5, 2);
             p.insert(p.begin() + static_cast<std::ptrdiff_t>(at), p[at]);
             p[at + 1][100] ^= 0x01;
         },
         "5- ", "", 1, 0, 0},
        {"transport error inside", edit(video, 5, 2, 1, 0x80), "5- ", "", 0, 1, 0},
        {"transport error in the first packet", edit(video, 6, 0, 1, 0x80), "6x 7! ", "", 0, 1, 0},
        {"audio: transport error", edit(audio, 9, 1, 1, 0x80), "", "9- ", 0, 1, 0},
        {"scrambled for two pictures",
         [&](Packets& p) {
             for (int unit = 5; unit < 7; ++unit) {
                 for (int i = 0; i < 5; ++i) {
                     p[At(p, video, unit, i)][3] |= 0x80;
                 }
             }
         },
         "5x 6x 7! ", "", 0, 0, 10},
        {"scrambled from the middle of a picture",
         [&](Packets& p) {
             for (int i = 2; i < 5; ++i) {
                 p[At(p, video, 5, i)][3] |= 0xC0;
             }
         },
         "5- 6! ", "", 0, 0, 3},
        {"audio: scrambled inside the PES packet", edit(audio, 9, 0, 4 + 6, 0x20), "", "9x ", 0, 0, 1},
        {"wrong PID", edit(video, 5, 2, 2, 0x80), "5- ", "", 1, 0, 0},
        {"sync byte damaged", edit(video, 5, 2, 0, 0x01), "5- ", "", 1, 0, 0},
        {"PES start code damaged", edit(video, 6, 0, 14, 0x01), "6x 7! ", "", 0, 0, 0},
        {"bit error in the picture (nobody can tell)", edit(video, 5, 2, 90, 0x01), "5? ", "", 0, 0, 0},
        {"announced break inside",
         [&](Packets& p) {
             auto& packet = p[At(p, video, 5, 4)]; // padded, so it has the flags
             packet[5] |= 0x80;
             packet[3] ^= 0x05;
             Remove(p, At(p, video, 6));
         },
         "5! +! 6x ", "", 1, 0, 0},
        {"announced break between",
         [&](Packets& p) {
             p[At(p, video, 6)][5] |= 0x80;
             Remove(p, At(p, video, 5, 4));
         },
         "5? 6! ", "", 0, 0, 0},
    };
    TsBuilder builder;
    AddProgramme(builder, kRecipe);
    for (const Row& row : rows) {
        Packets packets = builder.packets;
        row.damage(packets);
        SCOPED_TRACE(row.name);
        const Result result = Demultiplex(packets, packets.size() * kPacketSize, 188);
        EXPECT_EQ(result.video, row.video);
        EXPECT_EQ(result.audio, row.audio);
        const StreamCounters& v = result.videoCounters;
        const StreamCounters& a = result.audioCounters;
        EXPECT_EQ(v.continuityErrors + a.continuityErrors, row.continuity);
        EXPECT_EQ(v.transportErrors + a.transportErrors, row.transport);
        EXPECT_EQ(v.scrambled + a.scrambled, row.scrambled);
        for (const std::size_t stride : {188U, 192U, 204U}) {
            for (const std::size_t chunk : {std::size_t{61}, stride, 7 * stride}) {
                EXPECT_EQ(Demultiplex(packets, chunk, stride), result) << stride << " in chunks of " << chunk;
            }
        }
    }
}

// Any bytes may be broken anywhere: what comes out keeps the rules that decoders rely on.
TEST(StreamDamage, RandomBreakageNeverReordersOrInvents) {
    TsBuilder builder;
    AddProgramme(builder, kRecipe);
    std::uint32_t state = 1;
    const auto random = [&](std::size_t below) {
        state = state * 1664525U + 1013904223U;
        return static_cast<std::size_t>(state >> 8) % below;
    };
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        Bytes bytes = Render(builder.packets);
        for (std::size_t i = 0; i < 1 + random(30); ++i) {
            const auto at = static_cast<std::ptrdiff_t>(random(bytes.size() - 600));
            switch (random(3)) {
                case 0:
                    bytes[static_cast<std::size_t>(at)] ^= static_cast<std::uint8_t>(1U << random(8));
                    break;
                case 1:
                    bytes.erase(bytes.begin() + at,
                                bytes.begin() + at + static_cast<std::ptrdiff_t>(random(500)));
                    break;
                default:
                    bytes.insert(bytes.begin() + at, random(500), static_cast<std::uint8_t>(random(256)));
            }
        }
        UnitRecorder recorder;
        StreamDemultiplexer demultiplexer(recorder);
        demultiplexer.AddStream(kRecipe.videoPid, StreamKind::kElementary);
        demultiplexer.AddStream(kRecipe.audioPid, StreamKind::kElementary);
        FeedChunks(demultiplexer, bytes, 1 + random(3000));
        demultiplexer.Flush();
        EXPECT_LE(demultiplexer.Packets() * kPacketSize + demultiplexer.DroppedBytes(), bytes.size());
        EXPECT_GT(recorder.units.size(), 20U);
        std::uint64_t delivered = 0;
        for (const UnitRecorder::Unit& u : recorder.units) {
            delivered += u.data.size();
            if (u.unit.pts) {
                EXPECT_NEAR(static_cast<double>(u.unit.pts->timeline - u.unit.dts->timeline),
                            static_cast<double>(TickDifference(u.unit.pts->raw, u.unit.dts->raw)), 0);
            }
        }
        EXPECT_LE(delivered, bytes.size());
    }
}

} // namespace
} // namespace vistrame
