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
};

// Zeros between units may go with either.
bool SameButForZeros(const Unit& a, const Unit& b) {
    const auto core = [](const Unit& unit) {
        return unit.data | std::views::filter([](std::uint8_t byte) { return byte != 0; });
    };
    return a.time == b.time && std::ranges::equal(core(a), core(b));
}

struct Collector {
    std::vector<Unit> units;
    AccessUnitSplitter splitter;

    explicit Collector(Coding coding)
        : splitter(coding, [this](const AccessUnit& unit) {
              units.push_back({{unit.data.begin(), unit.data.end()}, unit.time});
          }) {}
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

} // namespace
} // namespace vistrame::test
