// Whole units come out of pieces however these are cut.
#include <algorithm>
#include <random>
#include <ranges>

#include <gtest/gtest.h>

#include "filters/decoders/access_unit_splitter.h"
#include "tests/filters/decoders/stream_fixture.h"

namespace vistrame::test {

namespace {

struct Unit {
    std::vector<std::uint8_t> data;
    std::optional<std::int64_t> time;
    bool operator==(const Unit&) const = default;
};

// Zeros between units may go with either.
bool SameButForZeros(const Unit& a, const Unit& b) {
    const auto core = [](const Unit& unit) {
        const auto isData = [](std::uint8_t byte) { return byte != 0; };
        return std::ranges::subrange(std::ranges::find_if(unit.data, isData),
                                     std::find_if(unit.data.rbegin(), unit.data.rend(), isData).base());
    };
    return a.time == b.time && std::ranges::equal(core(a), core(b));
}

class Collector {
public:
    explicit Collector(Coding coding)
        : splitter(coding, [this](const AccessUnit& unit) {
              units.push_back({{unit.data.begin(), unit.data.end()}, unit.time});
          }) {}
    std::vector<Unit> units;
    AccessUnitSplitter splitter;
};

TEST(AccessUnitSplitter, PiecesCutAnywhereGiveTheUnitsOfWholePackets) {
    struct Row {
        const char* file;
        Coding coding;
        std::size_t units;
    };
    const Row rows[] = {
        {"mpeg2_576i.ts", Coding::kMpeg2Video, 75},
        {"h264_1080i.ts", Coding::kH264, 50}, // frames of both fields together
        {"h264_720p.ts", Coding::kH264, 100},
        {"hevc_1080p.ts", Coding::kHevc, 50},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.file);
        const std::vector<StreamPiece> pieces = ReadStream(row.file, true);
        Collector whole(row.coding);
        for (const StreamPiece& piece : pieces) {
            const std::size_t before = whole.units.size();
            whole.splitter.Feed(piece.data, piece.time);
            EXPECT_GT(whole.units.size(), before) << "a whole packet gives its unit at once";
        }
        ASSERT_EQ(whole.units.size(), row.units);

        std::minstd_rand random(7); // NOLINT(cert-msc51-cpp): the same cuts in every run
        for (const std::size_t longest : {9u, 184u, 5000u}) {
            Collector cut(row.coding);
            for (const StreamPiece& piece : pieces) {
                ByteSpan rest = piece.data;
                for (auto time = piece.time; !rest.empty(); time.reset()) {
                    const std::size_t bytes = std::min(rest.size(), 1 + random() % longest);
                    cut.splitter.Feed(rest.first(bytes), time);
                    rest = rest.subspan(bytes);
                }
            }
            cut.splitter.Flush();
            // Until a piece has shown that pieces are no packets, the first one passes for a whole unit.
            ASSERT_GE(cut.units.size() + 1, whole.units.size());
            cut.units.erase(cut.units.begin(), cut.units.end() - static_cast<std::ptrdiff_t>(row.units - 1));
            EXPECT_TRUE(std::ranges::equal(cut.units, whole.units | std::views::drop(1), SameButForZeros))
                << "pieces of up to " << longest << " bytes";
        }
    }
}

// A picture of one slice; structure: 1 top field, 2 bottom field, 3 frame.
std::vector<std::uint8_t> MpegPicture(unsigned reference, unsigned structure) {
    std::vector<std::uint8_t> picture{0, 0, 1, 0x00, 0, 8, 0xFF, 0xF8, 0, 0, 1, 0xB5, 0x8F, 0xFF, 0xF0, 0x80};
    picture[5] = static_cast<std::uint8_t>(reference << 6 | 8);
    picture[14] = static_cast<std::uint8_t>(0xF0 | structure);
    picture.insert(picture.end(), {0, 0, 1, 0x01, 0x12, 0x34, 0x56, 0x78});
    return picture;
}

std::vector<std::uint8_t> Joined(std::vector<std::uint8_t> a, const std::vector<std::uint8_t>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// Two fields are one unit, also across pieces.
TEST(AccessUnitSplitter, FieldsOfAnMpegFrameStayTogether) {
    Collector collector(Coding::kMpeg2Video);
    collector.splitter.Feed(Joined(MpegPicture(0, 1), MpegPicture(0, 2)), 100); // both fields in one piece
    EXPECT_EQ(collector.units.size(), 1u);
    collector.splitter.Feed(MpegPicture(1, 2), 200); // one each
    EXPECT_EQ(collector.units.size(), 1u);
    collector.splitter.Feed(MpegPicture(1, 1), 220);
    collector.splitter.Feed(MpegPicture(2, 1), 300); // its second field is lost
    collector.splitter.Feed(MpegPicture(3, 3), 340);
    ASSERT_EQ(collector.units.size(), 4u);
    EXPECT_EQ(collector.units[1], (Unit{Joined(MpegPicture(1, 2), MpegPicture(1, 1)), 200}));
    EXPECT_EQ(collector.units[2], (Unit{MpegPicture(2, 1), 300}));
    EXPECT_EQ(collector.units[3].time, 340);
}

// A unit whose first slice is lost still ends where the next one starts.
TEST(AccessUnitSplitter, AUnitWithoutItsBeginningDoesNotSwallowTheNext) {
    const std::vector<std::uint8_t> delimiter{0, 0, 0, 1, 0x09, 0xF0};
    const std::vector<std::uint8_t> first{0, 0, 1, 0x41, 0x9A, 0x22, 0x33};
    const std::vector<std::uint8_t> later{0, 0, 1, 0x41, 0x04, 0x22, 0x33}; // not at macroblock 0
    Collector collector(Coding::kH264);
    collector.splitter.Feed(Joined(delimiter, later), 10);
    collector.splitter.Feed(Joined(delimiter, first), 20);
    ASSERT_EQ(collector.units.size(), 2u);
    EXPECT_EQ(collector.units[1], (Unit{Joined(delimiter, first), 20}));
}

} // namespace
} // namespace vistrame::test
