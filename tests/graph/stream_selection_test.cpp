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
        bool video;
        std::uint32_t pid;
        bool keepStopped;
        int unmapped, mapped; // -1: none
    };
    const Row rows[] = {
        {true, 0x0100, true, 0x1FFF, 0x0100},
        {false, 0x0101, false, 0x1FFF, 0x0101},
        // Only the low 16 bits count; a repeated video PID is mapped anew, a repeated audio PID is not.
        {true, 0xABCD0100, false, 0x0100, 0x0100},
        {false, 0xABCD0101, false, -1, -1},
        {false, 0x1FFF, false, -1, -1},
        {false, 0xFFFF1FFF, false, -1, -1},
        // A stored video PID of 0 is not unmapped, a stored audio PID of 0 is.
        {true, 0, true, 0x0100, 0},
        {true, 0x0200, true, -1, 0x0200},
        {false, 0, true, 0x0101, 0},
        {false, 0x0201, true, 0, 0x0201},
        {true, 0x1FFF, false, 0x0200, 0x1FFF},
    };
    BuildBench bench;
    ASSERT_EQ(bench.Build(), 1);
    std::string log;
    for (const auto& [video, pid, keepStopped, unmapped, mapped] : rows) {
        SCOPED_TRACE(Line("%s %08X", video ? "Video" : "Audio", pid));
        bench.Calls();
        video ? bench.player.SetVideoPid(pid, keepStopped) : bench.player.SetAudioPid(pid, keepStopped);
        const std::string pin = video ? "demux/Video Out." : "demux/Audio Out.";
        Lines calls = {"graph.Stop", Line("%sUnmapPID(%d)", pin.c_str(), unmapped),
                       Line("%sMapPID(%d)", pin.c_str(), mapped), keepStopped ? "" : "graph.Run"};
        std::erase_if(calls, [mapped](const auto& call) {
            return mapped < 0 || call.empty() || call.ends_with("(-1)");
        });
        EXPECT_EQ(bench.Calls(), calls);
        log += !video && (pid & 0xFFFF) == kNullPid
                   ? ""
                   : Line("Set %s: %04X\r\n", video ? "Video" : "Audio", pid & 0xFFFF);
        EXPECT_EQ(bench.Log(), log);
    }
    // The remembered PIDs outlive the graph: the next one's first mapping undoes them on the new pin.
    bench.player.ReleaseGraph();
    ASSERT_EQ(bench.Build(), 1);
    bench.Calls();
    bench.player.SetVideoPid(768, 1);
    bench.player.SetAudioPid(0x0201, 0); // unchanged, so the graph stays stopped
    EXPECT_THAT(bench.Calls(),
                ElementsAre("graph.Stop", "demux/Video Out.UnmapPID(8191)", "demux/Video Out.MapPID(768)"));
}

TEST(StreamSelection, KorvixDemultiplexerHearsOfBothPids) {
    BuildBench bench;
    KorvixCodec = 1;
    ASSERT_EQ(bench.Build(), 1);
    bench.Calls();
    bench.player.SetVideoPid(0x0100, 1);
    bench.player.SetAudioPid(0x0101, 0);
    EXPECT_THAT(bench.Calls(), ElementsAre("graph.Stop", "korvix demux.SetPids(256, 8191, 256)", "graph.Stop",
                                           "korvix demux.SetPids(256, 257, 256)", "graph.Run"));
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
    bench.Calls();
    bench.player.SetVideoPid(0x0100, 1);
    bench.player.SetAudioPid(0x0101, 1);
    EXPECT_THAT(
        bench.Calls(),
        ElementsAre("graph.Stop", "demux/Video Out.UnmapPID(8191)", "demux/Video Out.MapPID(256)",
                    "korvix demux.SetPids(256, 8191, 256)", "graph.Stop", "demux/Audio Out.UnmapPID(8191)",
                    "korvix demux.SetPids(256, 257, 256)", "demux/Audio Out.MapPID(257)"));
}

TEST(StreamSelection, WithoutAGraphPidsAreOnlyRemembered) {
    BuildBench bench;
    bench.player.SetVideoPid(0x12340111, 0);
    bench.player.SetAudioPid(0x0112, 0);
    EXPECT_EQ(bench.player.videoPid, 0x0111U);
    EXPECT_EQ(bench.player.audioPid, 0x0112U);
    EXPECT_EQ(bench.Log(), "Set Video: 0111\r\nSet Audio: 0112\r\n");
    EXPECT_THAT(bench.Calls(), IsEmpty());
}

} // namespace
} // namespace vistrame::test
