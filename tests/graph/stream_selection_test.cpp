// PID selection: what is mapped, told and run, in the two operations' differing orders.

#include "tests/graph/build_bench.h"

#include <gmock/gmock.h>

namespace vistrame::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Two selections on a fresh graph, as the analyzer's commands make them, then the repeats that do less.
TEST(StreamSelection, PlatformDemultiplexer) {
    struct Row {
        void (*select)(PlayerGraph& player);
        std::string log;
        std::vector<std::string> calls;
    };
    using Player = PlayerGraph&;
    const std::string video = "demux/Video Out.";
    const std::string audio = "demux/Audio Out.";
    const Row rows[] = {
        {[](Player player) { player.SetVideoPid(0x0100, 1); },
         "Set Video: 0100\r\n",
         {"graph.Stop", video + "UnmapPID(1FFF)", video + "MapPID(0100)"}},
        {[](Player player) { player.SetAudioPid(0x0101, 0); },
         "Set Audio: 0101\r\n",
         {"graph.Stop", audio + "UnmapPID(1FFF)", audio + "MapPID(0101)", "graph.Run"}},
        // Only the low 16 bits count; a repeated video PID is mapped anew, a repeated audio PID is not.
        {[](Player player) { player.SetVideoPid(0xABCD0100, 0); },
         "Set Video: 0100\r\n",
         {"graph.Stop", video + "UnmapPID(0100)", video + "MapPID(0100)", "graph.Run"}},
        {[](Player player) { player.SetAudioPid(0xABCD0101, 0); }, "Set Audio: 0101\r\n", {}},
        {[](Player player) { player.SetAudioPid(0x1FFF, 0); }, "", {}},
        {[](Player player) { player.SetAudioPid(0xFFFF1FFF, 0); }, "", {}},
        // A stored video PID of 0 is not unmapped, a stored audio PID of 0 is.
        {[](Player player) { player.SetVideoPid(0, 1); },
         "Set Video: 0000\r\n",
         {"graph.Stop", video + "UnmapPID(0100)", video + "MapPID(0000)"}},
        {[](Player player) { player.SetVideoPid(0x0200, 1); },
         "Set Video: 0200\r\n",
         {"graph.Stop", video + "MapPID(0200)"}},
        {[](Player player) { player.SetAudioPid(0, 1); },
         "Set Audio: 0000\r\n",
         {"graph.Stop", audio + "UnmapPID(0101)", audio + "MapPID(0000)"}},
        {[](Player player) { player.SetAudioPid(0x0201, 1); },
         "Set Audio: 0201\r\n",
         {"graph.Stop", audio + "UnmapPID(0000)", audio + "MapPID(0201)"}},
        {[](Player player) { player.SetVideoPid(0x1FFF, 0); },
         "Set Video: 1FFF\r\n",
         {"graph.Stop", video + "UnmapPID(0200)", video + "MapPID(1FFF)", "graph.Run"}},
    };
    BuildBench bench;
    ASSERT_EQ(bench.Build(), 1);
    std::string log;
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        bench.platform.record.lines.clear();
        row.select(bench.player);
        EXPECT_EQ(bench.platform.record.lines, row.calls);
        log += row.log;
        EXPECT_EQ(bench.Log(), log);
    }
    // The remembered PIDs outlive the graph: the next one's first mapping undoes them on the new pin.
    bench.player.ReleaseGraph();
    ASSERT_EQ(bench.Build(), 1);
    bench.platform.record.lines.clear();
    bench.player.SetVideoPid(0x0300, 1);
    bench.player.SetAudioPid(0x0201, 0); // unchanged, so the graph stays stopped
    EXPECT_THAT(bench.platform.record.lines,
                ElementsAre("graph.Stop", video + "UnmapPID(1FFF)", video + "MapPID(0300)"));
}

TEST(StreamSelection, KorvixDemultiplexerHearsOfBothPids) {
    BuildBench bench;
    KorvixCodec = 1;
    ASSERT_EQ(bench.Build(), 1);
    bench.platform.record.lines.clear();
    bench.player.SetVideoPid(0x0100, 1);
    bench.player.SetAudioPid(0x0101, 0);
    EXPECT_THAT(bench.platform.record.lines,
                ElementsAre("graph.Stop", "korvix demux.SetPids(0100, 1FFF, 0100)", "graph.Stop",
                            "korvix demux.SetPids(0100, 0101, 0100)", "graph.Run"));
}

// With both kinds of demultiplexer in the graph the two operations show their orders: the video's mapping comes
// before the maker's demultiplexer is told, the audio's after.
TEST(StreamSelection, OrderOfMappingAndTelling) {
    BuildBench bench;
    KorvixCodec = 1;
    ASSERT_EQ(bench.Build(), 1);
    bench.player.ReleaseGraph(); // keeps the maker's demultiplexer
    KorvixCodec = 0;
    ASSERT_EQ(bench.Build(), 1);
    bench.platform.record.lines.clear();
    bench.player.SetVideoPid(0x0100, 1);
    bench.player.SetAudioPid(0x0101, 1);
    EXPECT_THAT(
        bench.platform.record.lines,
        ElementsAre("graph.Stop", "demux/Video Out.UnmapPID(1FFF)", "demux/Video Out.MapPID(0100)",
                    "korvix demux.SetPids(0100, 1FFF, 0100)", "graph.Stop", "demux/Audio Out.UnmapPID(1FFF)",
                    "korvix demux.SetPids(0100, 0101, 0100)", "demux/Audio Out.MapPID(0101)"));
}

TEST(StreamSelection, WithoutAGraphPidsAreOnlyRemembered) {
    BuildBench bench;
    bench.player.SetVideoPid(0x12340111, 0);
    bench.player.SetAudioPid(0x0112, 0);
    EXPECT_EQ(bench.player.videoPid, 0x0111U);
    EXPECT_EQ(bench.player.audioPid, 0x0112U);
    EXPECT_EQ(bench.Log(), "Set Video: 0111\r\nSet Audio: 0112\r\n");
    EXPECT_THAT(bench.platform.record.lines, IsEmpty());
}

} // namespace
} // namespace vistrame::test
