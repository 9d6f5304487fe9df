// Tables to programmes: sections of every make, damaged and repeated, and whole streams through the scanner.
#include "transport/programme_table.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/transport/ts_builder.h"

namespace vistrame {
namespace {

// One readable line per programme: "1 'name' pmt 100 pcr 101: 101 MPEG-2 video; 102 MPEG audio eng;".
std::string Describe(const ProgrammeTable& table) {
    std::ostringstream text;
    text << std::hex;
    for (const Programme& programme : table.Programmes()) {
        text << programme.number << " '" << programme.name << "' pmt " << programme.pmtPid << " pcr "
             << programme.pcrPid << ":";
        for (const ElementaryStream& stream : programme.streams) {
            text << ' ' << stream.pid << ' ' << CodingName(stream.coding)
                 << (stream.language.empty() ? "" : " ") << stream.language
                 << (stream.audioDescription ? " described" : "") << ';';
        }
        text << '\n';
    }
    return text.str();
}

TEST(ProgrammeScanner, FindsProgrammesInAStream) {
    TsBuilder builder;
    builder.AddSdt({{1, "First"}, {2, "\x05\xDDki"}});
    builder.AddPat({{1, 0x100}, {2, 0x200}});
    // Long enough for two packets.
    builder.AddPmt(0x200, 2, 0x1FFF, {{0x201, 0x1B, Bytes(200, 0xC0)}, {0x202, 0x06, {0x6A, 1, 0}}});
    ProgrammeScanner scanner;
    scanner.Feed(Render(builder.packets, 192));
    EXPECT_FALSE(scanner.Complete());
    builder.packets.clear();
    std::vector<TsBuilder::Stream> streams{
        {0x11, 0x03, {0x0A, 4, 'e', 'n', 'g', 3}},
        {0x12, 0x06, {0x0A, 4, 'd', 'e', 'u', 0, 0x7A, 1, 0}},
        {0x13, 0x06, {0x05, 4, 'A', 'C', '-', '3', 0x7F, 2, 6, 0x84}},
        {0x14, 0x06, {0x05, 4, 'E', 'A', 'C', '3'}},
        {0x15, 0x06, {0x05, 4, 'E', 'A', 'C', '3', 0x6A, 1, 0}}, // the descriptor counts more
        {0x16, 0x06, {0x6A, 9, 0}},                              // does not fit
        {0x17, 0x05, {0x6A, 1, 0}},
    };
    for (const std::uint8_t type : {0x01, 0x02, 0x24, 0x04, 0x0F, 0x11, 0x81, 0x87}) {
        streams.push_back({static_cast<Pid>(0x100 + type), type, {}});
    }
    builder.AddPmt(0x100, 1, 0x101, streams);
    scanner.Feed(Render(builder.packets, 192));
    scanner.Finish();
    EXPECT_TRUE(scanner.Complete());
    EXPECT_EQ(
        Describe(scanner.Table()),
        "1 'First' pmt 100 pcr 101: 11 MPEG audio eng described; 12 E-AC-3 deu; 13 AC-3 described; 14 "
        "E-AC-3; 15 AC-3; 16 other; "
        "17 other; 101 MPEG-1 video; 102 MPEG-2 video; 124 HEVC; 104 MPEG audio; 10f AAC ADTS; 111 AAC LATM; "
        "181 AC-3; "
        "187 E-AC-3;\n"
        "2 'İki' pmt 200 pcr 1fff: 201 H.264; 202 AC-3;\n");
    EXPECT_EQ(scanner.Table().FindProgrammeOf(0x202)->number, 2);
    EXPECT_EQ(scanner.Table().FindProgrammeOf(0x300), nullptr);
}

// Each row feeds good tables, then a section or a damaged one, then looks.
TEST(ProgrammeTable, FollowsChangesAndIgnoresDamage) {
    struct Row {
        const char* name;
        Pid pid;
        Bytes sections;
        std::string expected;
        std::size_t damaged = 0; // byte of the packet, and which of its bits
        std::uint8_t bits = 0;
    };
    const std::string before = "1 '' pmt 100 pcr 101: 101 MPEG-2 video;\n";
    const std::string after = "1 '' pmt 100 pcr 111: 111 H.264;\n";
    const Bytes pmt = MakeTable(2, 1, {0xE1, 0x11, 0xF0, 0, 0x1B, 0xE1, 0x11, 0xF0, 0});
    Bytes patBoth = MakeTable(0, 1, {0, 5, 0xE5, 0x00}, 1, 1, 0xC3);
    std::ranges::copy(MakeTable(0, 1, {0, 1, 0xE1, 0x00}, 0, 1, 0xC3), std::back_inserter(patBoth));
    Bytes channel{0, 1, 0, 'T', 0, 'V', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xF0, 0x1C, 0x02, 4, 0, 0, 0, 0, 0, 1};
    channel.insert(channel.end(), {0, 1, 0x0D, 0xC2, 0, 9, 0xFC, 0});
    const Row rows[] = {
        {"PMT with other PIDs", 0x100, pmt, after},
        {"PMT with a wrong CRC", 0x100, pmt, before, 17, 0x04}, // in the stream type
        {"PMT with a transport error", 0x100, pmt, before, 1, 0x80},
        {"PMT not in force yet", 0x100, MakeTable(2, 1, {0xE1, 0x11, 0xF0, 0}, 0, 0, 0xC0), before},
        {"PMT whose loops do not fit", 0x100, MakeTable(2, 1, {0xE1, 0x11, 0xF0, 9, 0, 0}), before},
        {"programme added", 0, MakeTable(0, 1, {0, 1, 0xE1, 0, 0, 2, 0xE2, 0}),
         before + "2 '' pmt 200 pcr 1fff:\n"},
        {"programme moved", 0, MakeTable(0, 1, {0, 1, 0xE3, 0}), "1 '' pmt 300 pcr 1fff:\n"},
        {"programme gone", 0, MakeTable(0, 1, {}), ""},
        {"ATSC channel", 0x1FFB, MakeTable(0xC8, 1, channel),
         "1 '7.2 TV' pmt 100 pcr 101: 101 MPEG-2 video;\n"},
        {"PAT in two sections", 0, patBoth, before + "5 '' pmt 500 pcr 1fff:\n"},
    };
    for (const Row& row : rows) {
        TsBuilder builder;
        builder.AddPat({{1, 0x100}});
        builder.AddPmt(0x100, 1, 0x101, {{0x101, 0x02, {}}});
        builder.AddSection(row.pid, row.sections);
        builder.packets.back()[row.damaged] ^= row.bits;
        ProgrammeTable programmes;
        for (const TsBuilder::Packet& packet : builder.packets) {
            (void)programmes.Push(PacketView(packet));
        }
        EXPECT_EQ(Describe(programmes), row.expected) << row.name;
    }
}

// Made-up tables: what is kept of them, and the time it takes, does not grow with them.
TEST(ProgrammeTable, KeepsNoMoreProgrammesAndNamesThanAMultiplexHas) {
    TsBuilder builder;
    for (unsigned section = 0; section < 256; ++section) {
        Bytes programmes;
        Bytes services{0, 1, 0xFF};
        for (unsigned i = 0; i < 250; ++i) {
            const unsigned number = section * 250 + i + 1;
            const auto high = static_cast<std::uint8_t>(number >> 8);
            const auto low = static_cast<std::uint8_t>(number);
            programmes.insert(programmes.end(), {high, low, 0xE1, low});
            services.insert(services.end(), {high, low, 0, 0x80, 7, 0x48, 5, 1, 0, 2, 'T', 'V'});
        }
        const auto position = static_cast<std::uint8_t>(section);
        builder.AddSection(kSdtPid, MakeTable(0x42, 1, services, position, 255));
        builder.AddSection(kPatPid, MakeTable(0, 1, programmes, position, 255));
    }
    ProgrammeTable table;
    for (const TsBuilder::Packet& packet : builder.packets) {
        (void)table.Push(PacketView(packet));
    }
    ASSERT_EQ(table.Programmes().size(), ProgrammeTable::kMaxProgrammes);
    EXPECT_EQ(table.Programmes().back().name, "TV");
    EXPECT_FALSE(table.NamesComplete());
}

} // namespace
} // namespace vistrame
