// What a new graph shows of a stream that an earlier graph of the process was fed.
#include <thread>
#include <utility>

#include "filters/kept/kept_stream.h"
#include "filters/pictures/picture_types.h"
#include "tests/filters/play/playing_graph.h"

namespace vistrame::test {

namespace {

constexpr ULONG kVideoPid = 0x100, kAudioPid = 0x101; // as FFmpeg numbers them

using Size = std::pair<int, int>;

void KeepAStream() {
    KeptStreamOfProcess().Forget();
    const CoInitialized com;
    const auto feed = MakeObject<FeedFilter>(); // of an earlier graph
    Broadcast().Send(*feed.Get(), 1500);
}

} // namespace

TEST(KeptPicture, ANewGraphShowsItBeforeAnyData) {
    KeepAStream();
    PlayingGraph play; // selects the programme
    play.graph.Run();
    EXPECT_TRUE(WaitUntil([&] { return play.pictures->Count() >= 1; }));
    EXPECT_EQ(play.pictures->firstWidth, 720);
    EXPECT_EQ(play.pictures->timed, 0) << "a still, to be shown at once";
    EXPECT_EQ(play.sound->Count(), 0U) << "sound comes from the live edge only";

    // What follows does not continue it: nothing moves before the next picture that can be decoded by itself.
    Broadcast later;
    later.Send(*play.feed, 1500);
    EXPECT_TRUE(WaitUntil([&] { return play.pictures->timed > 10; }));
    play.graph.Stop();
}

// The segment goes ahead of everything, and a renderer may still have it when the graph runs.
TEST(KeptPicture, IsShownAsSoonAsTheSegmentHasPassed) {
    KeepAStream();
    PlayingGraph play;
    std::atomic<bool> underWay = false, runs = false;
    play.pictures->atSegment = [&] {
        underWay = true;
        EXPECT_TRUE(WaitUntil([&] { return runs.load(); }));
    };
    play.graph.Pause();
    EXPECT_TRUE(WaitUntil([&] { return underWay.load(); }));
    play.graph.Run();
    EXPECT_EQ(play.pictures->Count(), 0U);
    runs = true;
    EXPECT_TRUE(play.pictures->Await(1));
    EXPECT_EQ(play.pictures->firstWidth, 720) << "not black";
    play.graph.Stop();
}

TEST(KeptPicture, OfAnotherStreamIsNotShown) {
    struct Row {
        const char* what;
        ULONG videoPid;
        bool announced; // that another stream begins
    };
    for (const auto& [what, videoPid, announced] :
         {Row{"a PID without pictures", 0x1F0, false}, Row{"a jump of the stream", kVideoPid, true}}) {
        SCOPED_TRACE(what);
        KeptStreamOfProcess().Forget();
        PlayingGraph play;
        Broadcast().Send(*play.feed, 1000);
        if (announced) {
            EXPECT_EQ(play.feed->SendDiscontinuity(), S_OK);
        }
        EXPECT_EQ(play.demux->SetPids(kNullPid, kAudioPid, kNullPid), S_OK);
        EXPECT_EQ(play.demux->SetPids(videoPid, kAudioPid, videoPid), S_OK);
        play.graph.Run();
        EXPECT_TRUE(play.pictures->Await(1)) << "black";
        EXPECT_EQ(play.pictures->firstWidth, 1920) << "nothing is known of it";
        play.graph.Stop();
    }
}

// Wine's VMR9 shows all pictures in the size of its first connection, which comes before the programme.
TEST(KeptPicture, RenderersThatKeepTheirSizeGetTheStreams) {
    struct Row {
        const char* what;
        DWORD before,
            during; // milliseconds of the stream, sent before the connection and from shortly before
        Size expected;
    };
    for (const auto& [what, before, during, expected] :
         {Row{"nothing is known", 0, 0, {1920, 1080}}, Row{"a stream is kept", 1500, 0, {720, 576}},
          Row{"a stream begins", 0, 1000, {720, 576}}}) {
        SCOPED_TRACE(what);
        KeptStreamOfProcess().Forget();
        PlayingGraph play;
        const ComPtr<IPin> input = play.AddVmr9();
        Broadcast().Send(*play.feed, before);
        std::jthread sender([&, length = during] { Broadcast().Send(*play.feed, length); });
        Sleep(during == 0 ? 0 : 50);
        EXPECT_EQ(play.graph.Connect(&play.video->Output(), input.Get()), S_OK);
        const auto picture = ReadPictureType(play.video->Output().Type());
        ASSERT_TRUE(picture);
        EXPECT_EQ((Size{picture->width, picture->height}), expected);
    }
}

} // namespace vistrame::test
