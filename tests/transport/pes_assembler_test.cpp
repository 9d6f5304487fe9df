// PES headers field by field, and packets that do not keep to them. What damage does to whole streams is tested with
// the demultiplexer.
#include "transport/pes_assembler.h"

#include <gtest/gtest.h>

#include "tests/transport/ts_builder.h"
#include "transport/clock.h"

namespace vistrame {
namespace {

TEST(PesHeader, Fields) {
    const std::int64_t top = kTickWrap - 1;
    struct Row {
        const char* name;
        Bytes bytes;
        PesHeaderState state;
        std::size_t size, total;
        std::optional<std::uint64_t> pts, dts;
    };
    using enum PesHeaderState;
    const Bytes both = MakePes({.pts = top, .dts = 0x1'2345'6789, .bounded = true}, Bytes(10));
    const auto edited = [&](std::size_t at, std::uint8_t value) {
        Bytes bytes = both;
        bytes[at] = value;
        return bytes;
    };
    const Row rows[] = {
        {"both stamps, bounded", both, kValid, 19, 29, top, 0x1'2345'6789},
        {"PTS only, unbounded", MakePes({.pts = 7}, {}), kValid, 14, 0, 7, 7},
        {"no stamps", MakePes({}, {1}), kValid, 9, 0, {}, {}},
        {"marker of the PTS damaged", edited(9, both[9] & 0xFE), kValid, 19, 29, {}, {}},
        {"marker of the DTS damaged", edited(16, both[16] & 0xFE), kValid, 19, 29, top, top},
        {"header shorter than its stamps", edited(8, 3), kValid, 12, 29, {}, {}},
        {"no start code", edited(2, 0), kInvalid, 0, 0, {}, {}},
        {"no marker bits", edited(6, 0x00), kInvalid, 0, 0, {}, {}},
        {"shorter than its header", edited(5, 4), kInvalid, 0, 0, {}, {}},
        {"private stream 2 has no fields", {0, 0, 1, 0xBF, 0, 2, 0x55, 0x66}, kValid, 6, 8, {}, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        PesHeader header;
        ASSERT_EQ(ParsePesHeader(row.bytes, header), row.state);
        if (row.state == kValid) {
            EXPECT_EQ(header.size, row.size);
            EXPECT_EQ(header.total, row.total);
            EXPECT_EQ(header.pts, row.pts);
            EXPECT_EQ(header.dts, row.dts);
        }
    }
    for (std::size_t size = 0; size < 19; ++size) {
        PesHeader header;
        EXPECT_EQ(ParsePesHeader(ByteSpan(both).first(size), header), kIncomplete) << size;
    }
}

// A header that is longer than one transport packet.
TEST(PesAssembler, ReadsAHeaderAcrossPackets) {
    Bytes pes = MakePes({.pts = 90'000}, {});
    pes[8] = 250;
    pes.resize(9 + 250, 0xFF);
    pes.insert(pes.end(), {'d', 'a', 't', 'a'});
    TsBuilder builder;
    const std::size_t first = builder.AddPacket(0x100, true, pes);
    builder.AddPacket(0x100, false, ByteSpan(pes).subspan(first));
    PesAssembler assembler;
    EXPECT_FALSE(assembler.Push(PacketView(builder.packets[0])).header);
    EXPECT_TRUE(assembler.Push(PacketView(builder.packets[1])).header);
    ASSERT_TRUE(assembler.Finish());
    const PesAssembler::Packet packet = assembler.Take();
    EXPECT_EQ(Bytes(packet.Payload().begin(), packet.Payload().end()), (Bytes{'d', 'a', 't', 'a'}));
    EXPECT_EQ(packet.header.pts, 90'000U);
}

// A PID whose unit starts are lost for good does not eat the memory.
TEST(PesAssembler, GivesOutWhatIsTooLong) {
    TsBuilder builder;
    builder.AddPes(0x100, {}, Bytes(400, 0x55));
    const PacketView middle(builder.packets[1]);
    PesAssembler assembler;
    (void)assembler.Push(PacketView(builder.packets[0]));
    std::size_t pushed = 0;
    while (!assembler.Push(middle).finished) {
        ASSERT_LT(++pushed, PesAssembler::kMaxPes / 184 + 2);
    }
    const PesAssembler::Packet packet = assembler.Take();
    EXPECT_TRUE(packet.damaged);
    EXPECT_LT(packet.bytes.size(), PesAssembler::kMaxPes + kPacketSize);
    EXPECT_FALSE(assembler.Push(middle).finished);
    EXPECT_FALSE(assembler.Finish());
}

} // namespace
} // namespace vistrame
