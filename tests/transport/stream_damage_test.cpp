// One good programme, damaged in one place per row. What comes of it is written as a list of what is not as
// it was sent, by picture, then by audio frame number, then as continuity errors, transport errors and
// scrambled packets:
//   5!  whole, with the discontinuity flag    5-  incomplete, with the flag    5?  incomplete, without it
//   5x  missing                               +!  the rest of a picture whose header was lost
#include <gtest/gtest.h>

#include "tests/transport/unit_recorder.h"

namespace vistrame {
namespace {

const ProgrammeRecipe kRecipe{.pictures = 24};
using Packets = std::vector<TsBuilder::Packet>;

// Packet `offset` of the PES packet number `unit` on this PID; its packets stand together.
Packets::iterator At(Packets& packets, Pid pid, int unit, int offset = 0) {
    return offset + std::ranges::find_if(packets, [&](const TsBuilder::Packet& packet) {
               const PacketView view(packet);
               return view.PacketId() == pid && view.UnitStart() && unit-- == 0;
           });
}

std::string Describe(const std::vector<UnitRecorder::Unit>& units, std::int64_t firstPts, std::int64_t step,
                     int count, Bytes (*payload)(int)) {
    std::string text;
    int next = 0;
    const auto missUpTo = [&](int number) {
        for (; next < number; ++next) {
            text += std::to_string(next) + "x ";
        }
    };
    for (const UnitRecorder::Unit& u : units) {
        if (!u.pts) {
            text += u.continued && u.discontinuity ? "+! " : "(no stamp) ";
            continue;
        }
        missUpTo(static_cast<int>((static_cast<std::int64_t>(u.pts->raw) - firstPts) / step));
        const bool whole = u.bytes == payload(next);
        EXPECT_TRUE(whole || u.cut || !u.discontinuity) << "where it is cut is known";
        if (!whole || u.discontinuity) {
            text += std::to_string(next) + (u.discontinuity ? whole ? "! " : "- " : "? ");
        }
        ++next;
    }
    missUpTo(count);
    return text;
}

std::string Demultiplex(const Packets& packets) {
    UnitRecorder recorder;
    FeedChunks(recorder.demultiplexer, Render(packets), 61);
    recorder.demultiplexer.Flush();
    const std::int64_t firstDts = kRecipe.start + kSendAhead;
    const StreamCounters v = recorder.demultiplexer.Counters(kVideo);
    const StreamCounters a = recorder.demultiplexer.Counters(kAudio);
    return Describe(recorder.Of(kVideo), firstDts + kPictureTicks, kPictureTicks, 24, PicturePayload) + "/ " +
           Describe(recorder.Of(kAudio), firstDts, kFrameTicks, 40, AudioPayload) + "/ " +
           std::to_string(v.continuityErrors + a.continuityErrors) + " " +
           std::to_string(v.transportErrors + a.transportErrors) + " " +
           std::to_string(v.scrambled + a.scrambled);
}

TEST(StreamDamage, IsMarkedWhereItIsAndCostsNothingElse) {
    struct Row {
        const char* name;
        std::function<void(Packets&)> damage;
        std::string result;
    };
    const auto lose = [](Pid pid, int unit, int offset, int count = 1) {
        return [=](Packets& p) {
            const auto at = At(p, pid, unit, offset);
            p.erase(at, at + count);
        };
    };
    const auto flip = [](Pid pid, int unit, int offset, std::size_t byte, std::uint8_t mask, int count = 1) {
        return [=](Packets& p) {
            std::for_each_n(At(p, pid, unit, offset), count, [&](auto& packet) { packet[byte] ^= mask; });
        };
    };
    // A second copy behind the packet, its byte changed.
    const auto repeat = [](Pid pid, int unit, int offset, std::size_t byte, std::uint8_t mask) {
        return [=](Packets& p) {
            const auto copy = p.insert(At(p, pid, unit, offset), *At(p, pid, unit, offset)) + 1;
            (*copy)[byte] ^= mask;
        };
    };
    const auto announcedInside = [&](Packets& p) {
        (*At(p, kVideo, 5, 4))[5] |= 0x80; // padded, so it has the flags
        (*At(p, kVideo, 5, 4))[3] ^= 0x05;
        p.erase(At(p, kVideo, 6));
    };
    const Row rows[] = {
        {"intact", [](Packets&) {}, "/ / 0 0 0"},
        {"packet lost inside", lose(kVideo, 5, 2), "5- / / 1 0 0"},
        {"last packet lost", lose(kVideo, 5, 4), "5- 6! / / 1 0 0"},
        {"first packet lost", lose(kVideo, 6, 0), "+! 6x / / 1 0 0"},
        {"audio: first packet lost", lose(kAudio, 9, 0), "/ 9x 10! / 1 0 0"},
        {"packet sent twice", repeat(kVideo, 5, 2, 3, 0), "/ / 0 0 0"},
        {"same counter, other bytes", repeat(kVideo, 5, 2, 100, 0x01), "5- / / 1 0 0"},
        {"transport error inside", flip(kVideo, 5, 2, 1, 0x80), "5- / / 0 1 0"},
        {"scrambled from the middle of a picture", flip(kVideo, 5, 2, 3, 0xC0, 3), "5- 6! / / 0 0 3"},
        {"audio: scrambled inside the PES packet", flip(kAudio, 9, 0, 4 + 6, 0x20), "/ 9x / 0 0 1"},
        {"announced break inside", announcedInside, "5! +! 6x / / 1 0 0"},
    };
    TsBuilder builder;
    AddProgramme(builder, kRecipe);
    for (const Row& row : rows) {
        Packets packets = builder.packets;
        row.damage(packets);
        EXPECT_EQ(Demultiplex(packets), row.result) << row.name;
    }
}

} // namespace
} // namespace vistrame
