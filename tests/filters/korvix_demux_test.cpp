// The maker's demultiplexer: stall counts, its state on a display. What its numbers stand for is played in
// tests/live.
#include <gmock/gmock.h>

#include "filters/demux/korvix_demux.h"
#include "filters/demux/status_text.h"
#include "tests/filters/live_programme.h"

namespace vistrame::test {

namespace {

struct Korvix : DemuxFixture<KorvixDemuxFilter> {
    Korvix() : DemuxFixture(L"TS In") {}
    void Select() {
        const auto& recipe = programme.recipe;
        EXPECT_EQ(demux->SetPids(recipe.videoPid, recipe.audioPid, recipe.videoPid), S_OK);
    }
    ULONG Stall(ULONG stream) {
        ULONG count = 0;
        EXPECT_EQ(demux->GetStallCount(stream, &count), S_OK);
        return count;
    }
};

} // namespace

TEST(KorvixDemux, PlaysThePairItIsGivenAndCountsStalls) {
    Korvix korvix;
    korvix.ConnectBoth();
    EXPECT_EQ(korvix.Stall(0), StallCounter::kNone);
    korvix.Select();
    EXPECT_EQ(korvix.Stall(0), StallCounter::kNone) << "not running";
    korvix.graph.Run();
    korvix.programme.Send(20);
    ASSERT_TRUE(korvix.video->Await(15) && korvix.audio->Await(20));
    EXPECT_LE(korvix.Stall(0), 2u);
    ULONG count = 0;
    EXPECT_EQ(korvix.demux->GetStallCount(2, &count), E_INVALIDARG);
    EXPECT_EQ(count, StallCounter::kNone);

    korvix.programme.recipe.videoPid = 0x1F2; // the selected video stops
    korvix.programme.Send(20);
    EXPECT_GE(korvix.Stall(0), 6u);
    EXPECT_LE(korvix.Stall(1), 2u);
    korvix.graph.Stop();
    EXPECT_EQ(korvix.Stall(0), StallCounter::kNone);
    korvix.graph.Run();
    EXPECT_GE(korvix.Stall(0), 6u) << "restarting the graph does not bring the stream back";
    EXPECT_EQ(korvix.demux->SetPids(kNullPid, kNullPid, kNullPid), S_OK);
    EXPECT_EQ(korvix.Stall(0), StallCounter::kNone);
}

TEST(KorvixDemux, ShowsItsStateTwiceASecondUntilDetached) {
    Korvix korvix;
    korvix.programme.recipe.pcrPid = 0x1F0; // as the table says; the caller says the video PID
    korvix.ConnectBoth();
    const auto display = MakeObject<Display>();
    const auto shows = [&](const char* text) {
        return WaitUntil([&] { return display->Text().find(text) != std::string::npos; });
    };
    EXPECT_EQ(korvix.demux->AttachOsd(display.Get()), S_OK);
    EXPECT_TRUE(shows("Video: no PID selected\r\n")) << display->Text();
    korvix.Select();
    korvix.graph.Run();
    EXPECT_TRUE(shows("Video: no data\r\n")) << display->Text();
    const std::size_t before = display->Texts().size();
    korvix.programme.Send(40);
    EXPECT_GE(display->Texts().size(), before + 2);
    EXPECT_TRUE(shows("Video: PID 0101")) << display->Text();
    EXPECT_TRUE(shows("Clock: PID 01F0\r\n")) << display->Text();
    EXPECT_TRUE(shows("Delay against the clock: ")) << display->Text();
    EXPECT_EQ(korvix.demux->AttachOsd(nullptr), S_OK);
    const std::size_t last = display->Texts().size();
    Sleep(700);
    EXPECT_EQ(display->Texts().size(), last);
    EXPECT_EQ(korvix.demux->AttachOsd(display.Get()), S_OK);
    // The graph's end finds no reference left, the display's either.
}

TEST(StatusText, NamesWhyNothingMoves) {
    DemuxStatus before;
    before.packets = 1000;
    before.video.pid = 0x100;
    before.video.counters.packets = 100;
    struct Row {
        const char* expected;
        void (*change)(DemuxStatus&);
    };
    const Row rows[] = {
        {"Video: PID 0100  1.504 Mbit/s\r\n", [](DemuxStatus&) {}},
        {"Video: not running\r\n", [](DemuxStatus& now) { now.running = false; }},
        {"Video: no data\r\n", [](DemuxStatus& now) { now.packets = 1000; }},
        {"Video: no such PID in the stream\r\n", [](DemuxStatus& now) { now.video.counters = {}; }},
        {"Video: no more packets of this PID\r\n", [](auto& now) { now.video.counters.packets = 100; }},
        {"Video: scrambled\r\n", [](DemuxStatus& now) { now.video.counters.scrambled = 500; }},
        {"Video: no random-access picture yet\r\n", [](auto& now) { now.video.awaitsRandomAccess = true; }},
        {"  3 continuity errors", [](DemuxStatus& now) { now.video.counters.continuityErrors = 3; }},
    };
    for (const Row& row : rows) {
        DemuxStatus now = before;
        now.time = before.time + 500 * kMs;
        now.running = true;
        now.packets = 2000;
        now.video.counters.packets = 600;
        row.change(now);
        EXPECT_THAT(StatusText(now, before), testing::HasSubstr(row.expected));
    }
}

} // namespace vistrame::test
