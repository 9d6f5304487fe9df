// Tables to programmes: sections of every make, damaged and repeated, and whole streams through the scanner.
#include "transport/programme_table.h"

#include <gtest/gtest.h>

#include <functional>

#include "tests/transport/ts_builder.h"

namespace vistrame {
namespace {

// One readable line per programme: "1 'name' pmt 100 pcr 101: 101 MPEG-2 video, 102 MPEG audio eng".
std::string Describe(const ProgrammeTable& table) {
    std::string text;
    char buffer[64];
    for (const Programme& programme : table.Programmes()) {
        (void)std::snprintf(buffer, sizeof buffer, " pmt %x pcr %x:", programme.pmtPid, programme.pcrPid);
        text += std::to_string(programme.number) + " '" + programme.name + "'" + buffer;
        for (const ElementaryStream& stream : programme.streams) {
            (void)std::snprintf(buffer, sizeof buffer, " %x ", stream.pid);
            text += buffer + std::string(CodingName(stream.coding)) + (stream.language.empty() ? "" : " ") +
                    stream.language + ";";
        }
        text += "\n";
    }
    return text;
}

void Feed(ProgrammeTable& table, const std::vector<TsBuilder::Packet>& packets) {
    for (const TsBuilder::Packet& packet : packets) {
        (void)table.Push(PacketView(packet));
    }
}

TEST(ProgrammeTable, CodingsByStreamTypeAndDescriptors) {
    struct Row {
        std::uint8_t streamType;
        Coding coding;
        Bytes descriptors;
    };
    const Row rows[] = {
        {0x01, Coding::kMpeg1Video, {}},
        {0x02, Coding::kMpeg2Video, {}},
        {0x1B, Coding::kH264, {}},
        {0x24, Coding::kHevc, {}},
        {0x03, Coding::kMpegAudio, {}},
        {0x04, Coding::kMpegAudio, {}},
        {0x0F, Coding::kAacAdts, {}},
        {0x11, Coding::kAacLatm, {}},
        {0x81, Coding::kAc3, {}},
        {0x87, Coding::kEac3, {}},
        {0x06, Coding::kOther, {}},
        {0x06, Coding::kAc3, {0x0A, 4, 'd', 'e', 'u', 0, 0x6A, 1, 0}},
        {0x06, Coding::kEac3, {0x7A, 1, 0}},
        {0x06, Coding::kAc3, {0x05, 4, 'A', 'C', '-', '3'}},
        {0x06, Coding::kEac3, {0x05, 4, 'E', 'A', 'C', '3'}},
        {0x06, Coding::kAc3, {0x05, 4, 'E', 'A', 'C', '3', 0x6A, 1, 0}}, // the descriptor counts more
        {0x06, Coding::kOther, {0x6A, 9, 0}},                            // does not fit
        {0x06, Coding::kOther, {0x56, 0}},
        {0x05, Coding::kOther, {0x6A, 1, 0}},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(CodingOf(row.streamType, row.descriptors), row.coding) << int(row.streamType);
    }
}

TEST(ProgrammeScanner, FindsProgrammesInAStream) {
    TsBuilder builder;
    builder.AddSdt({{1, "First"}, {2, "\x05\xDDki"}});
    builder.AddPat({{1, 0x100}, {2, 0x200}});
    // Long enough for two packets.
    builder.AddPmt(0x200, 2, 0x1FFF, {{0x201, 0x1B, Bytes(200, 0xC0)}, {0x202, 0x06, {0x6A, 1, 0}}});
    ProgrammeScanner scanner;
    const Bytes first = Render(builder.packets, 192);
    builder.packets.clear();
    builder.AddPmt(0x100, 1, 0x101, {{0x101, 0x02, {}}, {0x102, 0x03, {0x0A, 4, 'e', 'n', 'g', 0}}});
    const Bytes second = Render(builder.packets, 192);

    scanner.Feed(first);
    EXPECT_FALSE(scanner.Complete());
    scanner.Feed(second);
    scanner.Finish();
    EXPECT_TRUE(scanner.Complete());
    EXPECT_EQ(Describe(scanner.Table()),
              "1 'First' pmt 100 pcr 101: 101 MPEG-2 video; 102 MPEG audio eng;\n"
              "2 'İki' pmt 200 pcr 1fff: 201 H.264; 202 AC-3;\n");
    EXPECT_EQ(scanner.Table().FindProgrammeOf(0x202)->number, 2);
    EXPECT_EQ(scanner.Table().FindProgrammeOf(0x300), nullptr);
}

// Each row feeds good tables, then something else, then looks.
TEST(ProgrammeTable, FollowsChangesAndIgnoresDamage) {
    const std::string before = "1 '' pmt 100 pcr 101: 101 MPEG-2 video;\n";
    struct Row {
        const char* name;
        std::function<void(TsBuilder&)> more;
        std::string expected;
    };
    const auto flip = [](TsBuilder& b, std::size_t byte) { b.packets.back()[byte] ^= 0x04; };
    const Row rows[] = {
        {"nothing", [](TsBuilder&) {}, before},
        {"PMT with other PIDs",
         [](TsBuilder& b) {
             b.AddPmt(0x100, 1, 0x111, {{0x111, 0x1B, {}}});
         },
         "1 '' pmt 100 pcr 111: 111 H.264;\n"},
        {"PMT with a wrong CRC",
         [&](TsBuilder& b) {
             b.AddPmt(0x100, 1, 0x111, {{0x111, 0x1B, {}}});
             flip(b, 17); // the stream type
         },
         before},
        {"PMT with a transport error",
         [](TsBuilder& b) {
             b.AddPmt(0x100, 1, 0x111, {{0x111, 0x1B, {}}});
             b.packets.back()[1] |= 0x80;
         },
         before},
        {"PMT of another programme on this PID",
         [](TsBuilder& b) {
             b.AddPmt(0x100, 9, 0x111, {{0x111, 0x1B, {}}});
         },
         before},
        {"PMT not in force yet",
         [](TsBuilder& b) {
             Bytes pmt = MakeTable(0x02, 1, {0xE1, 0x11, 0xF0, 0x00});
             pmt.resize(pmt.size() - 4);
             pmt[5] &= 0xFE;
             b.AddSection(0x100, MakeSection(pmt));
         },
         before},
        {"PMT whose loops do not fit",
         [](TsBuilder& b) {
             b.AddSection(0x100, MakeTable(0x02, 1, {0xE1, 0x11, 0xF0, 0x09, 0, 0}));
         },
         before},
        {"programme added",
         [](TsBuilder& b) {
             b.AddPat({{1, 0x100}, {2, 0x200}});
         },
         before + "2 '' pmt 200 pcr 1fff:\n"},
        {"programme moved",
         [](TsBuilder& b) {
             b.AddPat({{1, 0x300}});
         },
         "1 '' pmt 300 pcr 1fff:\n"},
        {"programme gone", [](TsBuilder& b) { b.AddPat({}); }, ""},
        {"PAT in two sections, only one of them there",
         [](TsBuilder& b) {
             b.AddSection(kPatPid, MakeTable(0, 1, {0, 5, 0xE5, 0x00}, 0, 1, 1));
         },
         before},
        {"PAT in two sections",
         [](TsBuilder& b) {
             b.AddSection(kPatPid, MakeTable(0, 1, {0, 5, 0xE5, 0x00}, 1, 1, 1));
             b.AddSection(kPatPid, MakeTable(0, 1, {0, 1, 0xE1, 0x00}, 0, 1, 1));
         },
         before + "5 '' pmt 500 pcr 1fff:\n"},
        {"two sections in one packet, the second goes on in the next",
         [](TsBuilder& b) {
             Bytes both{0};
             const Bytes other = MakeTable(0xC0, 1, Bytes(100, 0));
             Bytes pmt{0xE1, 0x11, 0xF0, 100};
             pmt.resize(pmt.size() + 100, 0xC0);
             pmt.insert(pmt.end(), {0x1B, 0xE1, 0x11, 0xF0, 0x00});
             pmt = MakeTable(0x02, 1, pmt);
             both.insert(both.end(), other.begin(), other.end());
             both.insert(both.end(), pmt.begin(), pmt.end());
             both.resize(std::size_t{2} * 184, 0xFF);
             b.AddPacket(0x100, true, both);
             b.AddPacket(0x100, false, ByteSpan(both).subspan(184));
         },
         "1 '' pmt 100 pcr 111: 111 H.264;\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        TsBuilder builder;
        builder.AddPat({{1, 0x100}});
        builder.AddPmt(0x100, 1, 0x101, {{0x101, 0x02, {}}});
        row.more(builder);
        ProgrammeTable table;
        Feed(table, builder.packets);
        EXPECT_EQ(Describe(table), row.expected);
    }
}

// Names in two sections are waited for once the first is there.
TEST(ProgrammeTable, IsCompleteWithAllNames) {
    TsBuilder builder;
    builder.AddPat({{1, 0x100}});
    builder.AddPmt(0x100, 1, 0x101, {});
    ProgrammeTable table;
    Feed(table, builder.packets);
    EXPECT_TRUE(table.Complete());
    for (const std::uint8_t number : {0, 1}) {
        builder.packets.clear();
        builder.AddSection(kSdtPid, MakeTable(0x42, 1, {0, 1, 0xFF}, number, 1));
        Feed(table, builder.packets);
        EXPECT_EQ(table.Complete(), number == 1);
    }
}

// A section of several packets survives a repeated packet and not a lost one.
TEST(ProgrammeTable, LongSectionsNeedEveryPacket) {
    for (const bool lose : {false, true}) {
        TsBuilder builder;
        builder.AddPat({{1, 0x100}});
        builder.AddPmt(0x100, 1, 0x101, {{0x101, 0x1B, Bytes(250, 0xC0)}, {0x102, 0x0F, Bytes(250, 0xC0)}});
        ASSERT_EQ(builder.packets.size(), 4U);
        builder.packets.insert(builder.packets.begin() + 2, builder.packets[2]);
        if (lose) {
            builder.packets.erase(builder.packets.begin() + 2, builder.packets.begin() + 4);
        }
        ProgrammeTable table;
        Feed(table, builder.packets);
        EXPECT_EQ(table.Complete(), !lose);
    }
}

} // namespace
} // namespace vistrame
