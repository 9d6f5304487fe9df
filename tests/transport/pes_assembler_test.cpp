// PES headers field by field, and packets that do not keep to them. What damage does to whole streams is tested with
// the demultiplexer.
#include "transport/pes_assembler.h"

#include <gtest/gtest.h>

#include "tests/transport/unit_recorder.h"
#include "transport/clock.h"

namespace vistrame {
namespace {

TEST(PesHeader, Fields) {
    struct Row {
        const char* name;
        Bytes bytes;
        PesHeaderState state;
        std::size_t size, total;
        std::optional<std::uint64_t> pts, dts;
    };
    using enum PesHeaderState;
    constexpr std::int64_t kTop = kTickWrap - 1;
    const Bytes both = MakePes({.pts = kTop, .dts = 0x1'2345'6789, .bounded = true}, Bytes(10));
    const auto flipped = [&](std::size_t at, std::uint8_t mask) {
        Bytes bytes = both;
        bytes[at] ^= mask;
        return bytes;
    };
    const Row rows[] = {
        {"both stamps, bounded", both, kValid, 19, 29, kTop, 0x1'2345'6789},
        {"PTS only, unbounded", MakePes({.pts = 7}, {}), kValid, 14, 0, 7, 7},
        {"no stamps", MakePes({}, {1}), kValid, 9, 0, {}, {}},
        {"marker of the PTS damaged", flipped(9, 1), kValid, 19, 29, {}, {}},
        {"marker of the DTS damaged", flipped(16, 1), kValid, 19, 29, kTop, kTop},
        {"header shorter than its stamps", flipped(8, 0x09), kValid, 12, 29, {}, {}},
        {"no start code", flipped(2, 1), kInvalid, 0, 0, {}, {}},
        {"no marker bits", flipped(6, 0x80), kInvalid, 0, 0, {}, {}},
        {"shorter than its header", flipped(5, 0x13), kInvalid, 0, 0, {}, {}},
        {"private stream 2 has no fields", {0, 0, 1, 0xBF, 0, 2, 0x55, 0x66}, kValid, 6, 8, {}, {}},
        {"cut", Bytes(both.begin(), both.begin() + 18), kIncomplete, 0, 0, {}, {}},
    };
    for (const Row& row : rows) {
        PesHeader header;
        ASSERT_EQ(ParsePesHeader(row.bytes, header), row.state) << row.name;
        const auto fields = [](const auto& from) {
            return std::tuple(from.size, from.total, from.pts, from.dts);
        };
        EXPECT_TRUE(row.state != kValid || fields(header) == fields(row)) << row.name;
    }
}

// A header that is longer than one transport packet, and a picture that never ends: it does not eat the memory.
TEST(PesAssembler, TakesLongHeadersAndNoEndlessPackets) {
    Bytes pes = MakePes({.pts = 90'000}, {});
    pes[8] = 250;
    pes.resize(9 + 250, 0xFF);
    pes.insert(pes.end(), {'d', 'a', 't', 'a'});
    TsBuilder builder;
    const std::size_t first = builder.AddPacket(kVideo, true, pes);
    builder.AddPacket(kVideo, false, ByteSpan(pes).subspan(first));
    builder.AddPes(kVideo, {.pts = 93'600}, Bytes(2 * PesAssembler::kMaxPes, 0x55));
    UnitRecorder recorder;
    recorder.demultiplexer.Feed(Render(builder.packets));
    ASSERT_EQ(recorder.units.size(), 2U);
    EXPECT_EQ(recorder.units[0].bytes, (Bytes{'d', 'a', 't', 'a'}));
    EXPECT_EQ(recorder.units[0].pts->raw, 90'000U);
    EXPECT_TRUE(recorder.units[1].discontinuity);
    EXPECT_LT(recorder.units[1].bytes.size(), PesAssembler::kMaxPes + kPacketSize);
}

} // namespace
} // namespace vistrame
