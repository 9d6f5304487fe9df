// The video decoder between a source and a renderer that looks at the pictures.
#include <algorithm>
#include <ranges>
#include <thread>

#include "filters/decoders/video_decoder_filter.h"
#include "tests/filters/decoders/picture_sink.h"
#include "tests/filters/decoders/stream_fixture.h"

namespace vistrame::test {

namespace {

constexpr REFERENCE_TIME kHour = 3'600'000 * kMs;
constexpr std::size_t kAtOnce = 2; // times the first picture, for renderers that wait for a next one
constexpr int kBarStep = 8;        // pixels from source picture to source picture, see make_streams.sh

const MediaType kMpeg2(MEDIATYPE_Video, MEDIASUBTYPE_MPEG2_VIDEO);
const MediaType kH264(MEDIATYPE_Video, FourCcSubtype("H264"));
const MediaType kHevc(MEDIATYPE_Video, FourCcSubtype("HEVC"));

struct Playback : DecoderFixture<VideoDecoderFilter, PictureSinkFilter> {
    // Without a clock nothing is ever late, however busy the machine.
    explicit Playback(const MediaType& type, const std::function<void(PictureSinkFilter&)>& prepare = {},
                      bool clock = false) {
        if (prepare) {
            prepare(*sink);
        }
        Connect(type);
        ComPtr<IMediaFilter> filter;
        EXPECT_EQ(graph.graph.As(&filter), S_OK);
        EXPECT_TRUE(clock || filter->SetSyncSource(nullptr) == S_OK);
        graph.Run();
        sink->AwaitWarmUp();
    }
    std::vector<SeenPicture> Finish() {
        EXPECT_EQ(source->Output().DeliverEndOfStream(), S_OK); // waits for what is queued
        EXPECT_EQ(sink->Seen().ends, 1);
        return sink->Pictures();
    }
};

// The parts of an access unit from start code to start code, each kept or not as `keep` says of its first
// byte.
Bytes Parts(const Bytes& unit, const std::function<bool(int)>& keep) {
    const Bytes code{0, 0, 1};
    Bytes kept;
    auto part = std::ranges::search(unit, code).begin();
    while (part != unit.end()) {
        const auto next = std::search(part + 3, unit.end(), code.begin(), code.end());
        if (keep(part[3])) {
            kept.insert(kept.end(), part, next);
        }
        part = next;
    }
    return kept;
}

// A stream refreshed piece by piece that never says where to begin, or says it with every picture.
std::vector<StreamPiece> RefreshedH264(bool everyPicture) {
    constexpr int kSei = 6;
    const Bytes recoveryPoint{0, 0, 1, kSei, 6, 2, 0x19, 0x10, 0x80}; // whole 11 pictures later
    std::vector<StreamPiece> pieces = ReadStream("h264_refresh.ts", true);
    pieces.erase(pieces.begin(), pieces.begin() + 12); // to the second parameter sets
    for (StreamPiece& piece : pieces) {
        Bytes bare = Parts(piece.data, [](int type) { return (type & 0x1F) != kSei; });
        if (everyPicture) {
            // behind the delimiter and the parameter sets, if any: in front of the first slice
            const Bytes slice{0, 0, 1, 0x41};
            bare.insert(std::ranges::search(bare, slice).begin(), recoveryPoint.begin(), recoveryPoint.end());
        }
        piece.data = bare;
    }
    return pieces;
}

// Calls `change` with the bytes behind each start code whose first byte is `code`.
void ForEachPart(Bytes& unit, int code, const std::function<void(std::uint8_t*)>& change) {
    for (std::size_t at = 0; at + 12 < unit.size(); ++at) {
        if (unit[at] == 0 && unit[at + 1] == 0 && unit[at + 2] == 1 && unit[at + 3] == code) {
            change(unit.data() + at + 4);
        }
    }
}

// Film as a broadcast of more pictures than it has carries it: every second one asks for one of its fields
// again.
std::vector<StreamPiece> FilmMpeg2() {
    std::vector<StreamPiece> pieces = ReadStream("mpeg2_288p.ts", true);
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        ForEachPart(pieces[i].data, 0xB5, [i](std::uint8_t* extension) {
            if (extension[0] >> 4 == 1) {
                extension[1] &= ~0x08; // of the sequence: no longer all progressive
            } else if (extension[0] >> 4 == 8) {
                extension[3] = static_cast<std::uint8_t>((extension[3] & ~0x02) | (i % 2 == 0 ? 0x02 : 0));
            }
        });
        pieces[i].time = static_cast<REFERENCE_TIME>(i / 2 * 100 + i % 2 * 60) * kMs;
    }
    return pieces;
}

class Bits {
public:
    explicit Bits(std::uint8_t* bytes, std::size_t at) : bytes_(bytes), at_(at) {}
    bool Take() { return (bytes_[at_ / 8] >> (7 - at_++ % 8) & 1) != 0; }
    unsigned Golomb() {
        unsigned zeros = 0;
        while (!Take()) {
            ++zeros;
        }
        unsigned value = 1;
        for (; zeros > 0; --zeros) {
            value = value * 2 + (Take() ? 1 : 0);
        }
        return value - 1;
    }
    void Set() { bytes_[at_ / 8] |= static_cast<std::uint8_t>(0x80 >> at_ % 8); }

private:
    std::uint8_t* bytes_;
    std::size_t at_;
};

// Its B pictures, to which others refer, have been left out on the way, as the sequence says they may be.
std::vector<StreamPiece> ThinnedH264() {
    std::vector<StreamPiece> pieces = ReadStream("h264_layers.ts", true);
    std::erase_if(pieces, [](StreamPiece& piece) {
        bool bidirectional = false;
        for (const int slice : {0x21, 0x01}) { // of B pictures, others refer to the former
            ForEachPart(piece.data, slice, [&](std::uint8_t* header) {
                Bits bits(header, 0);
                (void)bits.Golomb(); // first macroblock
                bidirectional = bits.Golomb() % 5 == 1;
            });
        }
        return bidirectional;
    });
    for (StreamPiece& piece : pieces) {
        ForEachPart(piece.data, 0x67, [](std::uint8_t* parameters) {
            Bits bits(parameters, 24); // behind profile and level
            for (int i = 0; i < 4; ++i) {
                (void)bits.Golomb(); // identifier, chroma, depths
            }
            EXPECT_FALSE(bits.Take() || bits.Take()); // no scaling lists
            for (int i = 0; i < 4; ++i) {
                (void)bits.Golomb(); // frame numbers, order (of type 0), reference pictures
            }
            bits.Set();
        });
    }
    return pieces;
}

bool AllHaveColumns(std::span<const SeenPicture> seen) {
    return std::ranges::all_of(seen, &SeenPicture::columns);
}

} // namespace

TEST(VideoDecoder, PicturesComeOutInOrderWithTheirColoursSizesAndTimes) {
    struct Row {
        const char* file;
        MediaType type;
        int width, height;
        int pictures;
        REFERENCE_TIME duration;
        int barStep;
        std::size_t timed = 1000; // pieces; times that are missing are counted on
    };
    const Row rows[] = {
        {"mpeg2_576i.ts", kMpeg2, 720, 576, 150, 20 * kMs, kBarStep},
        {"mpeg2_576i.ts", kMpeg2, 720, 576, 150, 20 * kMs, kBarStep, 5},
        {"h264_1080i.ts", kH264, 1920, 1080, 100, 20 * kMs, kBarStep},
        {"h264_720p.ts", kH264, 1280, 720, 100, 20 * kMs, kBarStep},
        {"hevc_1080p.ts", kHevc, 1920, 1080, 50, 40 * kMs, kBarStep},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.file);
        Playback playback(row.type);
        std::vector<StreamPiece> pieces = ReadStream(row.file, true);
        for (StreamPiece& piece : pieces | std::views::drop(row.timed)) {
            piece.time.reset();
        }
        playback.Send(pieces);
        const std::vector<SeenPicture> seen = playback.Finish();
        ASSERT_EQ(seen.size(), static_cast<std::size_t>(row.pictures) + kAtOnce);
        EXPECT_FALSE(seen[0].time || seen[1].time) << "the first picture is shown at once";
        EXPECT_EQ(seen[0].bar, seen[kAtOnce].bar) << "and at its time";
        EXPECT_TRUE(seen[0].discontinuity);
        for (int i = 0; i < row.pictures; ++i) {
            const SeenPicture& picture = seen[static_cast<std::size_t>(i) + kAtOnce];
            SCOPED_TRACE(i);
            ASSERT_TRUE(picture.time.has_value());
            EXPECT_NEAR(*picture.time - *seen[kAtOnce].time, i * row.duration, 200);
            EXPECT_NEAR(picture.stop - *picture.time, row.duration, 200);
            ASSERT_TRUE(picture.columns);
            ASSERT_NEAR(picture.bar, (seen[kAtOnce].bar + i * row.barStep) % (row.width - 32), 2)
                << "order of display";
            EXPECT_EQ(picture.combed, 0);
            EXPECT_EQ(picture.width, row.width);
            EXPECT_EQ(picture.height, row.height);
            EXPECT_EQ(picture.aspect, (Aspect{16, 9}));
        }
    }
}

// What no renderer of standard range knows is brought to it as what each knows.
TEST(VideoDecoder, HighDynamicRangeComesToTheRendererAsStandardRange) {
    Playback playback(kHevc);
    playback.Send(ReadStream("hevc_hlg.ts", true));
    const std::vector<SeenPicture> seen = playback.Finish();
    ASSERT_GE(seen.size(), 25u);
    for (const SeenPicture& picture : seen) {
        EXPECT_TRUE(IsNear(picture.left, {255, 0, 0})) << "red of 0.75 is brighter than the monitor's";
        EXPECT_TRUE(IsNear(picture.top, {0, 240, 0}));
    }
}

TEST(VideoDecoder, DamageNeitherStopsNorFreezesIt) {
    struct Row {
        const char* file;
        MediaType type;
        REFERENCE_TIME group; // length of a group of pictures
        int lossPerMille;
    };
    const Row rows[] = {
        {"mpeg2_576i.ts", kMpeg2, 480 * kMs, 50},
        {"h264_1080i.ts", kH264, 960 * kMs, 20},
        {"hevc_1080p.ts", kHevc, 1000 * kMs, 30},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.file);
        std::vector<StreamPiece> damaged = ReadStream(row.file, true, row.lossPerMille);
        for (std::size_t i = 0; i < damaged.size(); i += 5) { // and a bit is wrong here and there
            damaged[i].data[damaged[i].data.size() / 2] ^= 0x10;
        }
        Playback playback(row.type);
        playback.Send(damaged);
        EXPECT_GT(playback.sink->Count(), damaged.size() / 2)
            << "pictures are concealed rather than left out";
        const REFERENCE_TIME later = *damaged.back().time + 40 * kMs;
        playback.Send(ReadStream(row.file, true), later);
        const std::vector<SeenPicture> seen = playback.Finish();
        for (std::size_t i = kAtOnce + 1; i < seen.size(); ++i) {
            EXPECT_LE(*seen[i].time - *seen[i - 1].time, row.group + 100 * kMs);
        }
        const auto clean = std::ranges::find_if(
            seen, [&](const SeenPicture& picture) { return picture.time > later + row.group + 100 * kMs; });
        ASSERT_NE(clean, seen.end());
        EXPECT_TRUE(AllHaveColumns({clean, seen.end()}))
            << "one group of pictures later nothing is left of the damage";
    }
}

// Fields are made into pictures when the next picture is there; of a still none comes.
TEST(VideoDecoder, WhatIsHeldForTheNextPictureIsShownWhenNoneComes) {
    Playback playback(kMpeg2);
    playback.Send(ReadStream("mpeg2_576i.ts", true));
    // The decoder itself keeps the last one for reordering.
    EXPECT_TRUE(playback.sink->Await(kAtOnce + 2 * (75 - 1)));
}

// The stream changes from 720 x 576, 16:9, to 352 x 288, 4:3, and back.
TEST(VideoDecoder, SizeAndAspectMayChangeInMidStream) {
    struct Row {
        const char* what;
        bool reconnects, acceptsAspect;
        SIZE first, second;
        Aspect secondAspect;
        bool bars = false; // at the left and right of the second
        int padding = 0;   // of each line
        bool holds = false;
    };
    const SIZE connected{PictureOutput::kLargest.width, PictureOutput::kLargest.height};
    const Row rows[] = {
        {"a renderer that reconnects", true, true, {720, 576}, {352, 288}, {4, 3}},
        {"one that wants longer lines", true, true, {720, 576}, {352, 288}, {4, 3}, false, 128},
        {"one that keeps its last picture", true, true, {720, 576}, {352, 288}, {4, 3}, false, 0, true},
        {"one that takes another aspect", false, true, connected, connected, {4, 3}},
        {"one that takes nothing", false, false, connected, connected, {16, 9}, true},
    };
    const std::vector<StreamPiece> large = ReadStream("mpeg2_576i.ts", true);
    const std::vector<StreamPiece> small = ReadStream("mpeg2_288p.ts", true);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Playback playback(kMpeg2, [&](PictureSinkFilter& sink) {
            sink.reconnects = row.reconnects;
            sink.acceptsAspect = row.acceptsAspect;
            sink.padding = row.padding;
            sink.holds = row.holds;
        });
        playback.Send(large);
        playback.Send(small, 3000 * kMs);
        playback.Send(large, 5000 * kMs);
        const std::vector<SeenPicture> seen = playback.Finish();
        ASSERT_GT(seen.size(), 196u);
        for (const SeenPicture& picture : seen) {
            const REFERENCE_TIME at = picture.time.value_or(0) - *seen[kAtOnce].time;
            const bool second = at > 2990 * kMs && at < 4990 * kMs;
            SCOPED_TRACE(at / kMs);
            EXPECT_EQ(picture.width, second ? row.second.cx : row.first.cx);
            EXPECT_EQ(picture.height, second ? row.second.cy : row.first.cy);
            EXPECT_EQ(picture.aspect, second ? row.secondAspect : (Aspect{16, 9}));
            const bool bars = second && row.bars;
            EXPECT_TRUE(IsNear(picture.left, bars ? kBlack : kColumns[0]));
            EXPECT_TRUE(IsNear(picture.top, kColumns[1]));
            EXPECT_TRUE(picture.columns || bars);
        }
    }
}

// Nothing to begin with comes, but there is something to see. (MPEG-2 begins with any sequence header.)
TEST(VideoDecoder, StreamsRefreshedPieceByPieceAreShown) {
    for (const bool marked : {false, true}) {
        SCOPED_TRACE(marked ? "every picture marked" : "nothing marked");
        const std::vector<StreamPiece> pieces = RefreshedH264(marked);
        Playback playback(kH264);
        playback.Send(pieces);
        if (!marked) {
            Sleep(VideoDecoderFilter::kPatience / std::chrono::milliseconds(1));
            playback.Send(pieces, 5000 * kMs);
        }
        const std::vector<SeenPicture> seen = playback.Finish();
        EXPECT_GT(seen.size(), pieces.size() / 2);
        EXPECT_TRUE(!seen.empty() && seen.back().columns) << "come together in the end";
    }
}

TEST(VideoDecoder, FilmInAStreamOfMoreFieldsIsShownEvenly) {
    Playback playback(kMpeg2);
    playback.Send(FilmMpeg2());
    const std::vector<SeenPicture> seen = playback.Finish();
    ASSERT_EQ(seen.size(), 50 + kAtOnce);
    for (std::size_t i = 0; i < 50; ++i) {
        const SeenPicture& picture = seen[i + kAtOnce];
        SCOPED_TRACE(i);
        EXPECT_EQ(*picture.time, static_cast<REFERENCE_TIME>(i) * 50 * kMs);
        EXPECT_EQ(picture.stop - *picture.time, 50 * kMs);
    }
}

TEST(VideoDecoder, GapsInTheFrameNumbersAreBridged) {
    const std::vector<StreamPiece> pieces = ThinnedH264();
    ASSERT_LT(pieces.size(), 35u);
    Playback playback(kH264);
    playback.Send(pieces);
    const std::vector<SeenPicture> seen = playback.Finish();
    ASSERT_EQ(seen.size(), pieces.size() + kAtOnce);
    EXPECT_TRUE(AllHaveColumns(seen));
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        const SeenPicture& picture = seen[i + kAtOnce];
        EXPECT_EQ(picture.time, pieces[i].time);
        const REFERENCE_TIME sources = *pieces[i].time / (40 * kMs);
        EXPECT_NEAR(picture.bar, (seen[0].bar + sources * kBarStep) % (352 - 32), 2) << i;
    }
}

// Far behind the clock only some pictures are shown; back in time, all of them are again.
TEST(VideoDecoder, LatePicturesAreLeftOutAndThenItCatchesUp) {
    const std::vector<StreamPiece> pieces = ReadStream("h264_720p.ts", true);
    Playback playback(kH264, {}, true);
    playback.Send(pieces, -kHour);
    const std::size_t late = playback.sink->Count();
    EXPECT_GE(late, 1u);
    EXPECT_LT(late, pieces.size() / 2);
    playback.Send(pieces, kHour);
    playback.Finish();
    EXPECT_GE(playback.sink->Count(), late + pieces.size() * 9 / 10);
}

// The renderer holds a picture, the queue fills, the source is blocked.
TEST(VideoDecoder, StopsWhileRendererAndQueueAreFull) {
    const std::vector<StreamPiece> pieces = ReadStream("mpeg2_576i.ts", true);
    Playback playback(kMpeg2);
    playback.sink->Block(true);
    std::atomic<std::size_t> sent = 0;
    std::thread stream([&] {
        while (sent < pieces.size() && playback.source->Send(pieces[sent].data, pieces[sent].time) == S_OK) {
            ++sent;
        }
    });
    EXPECT_TRUE(playback.sink->AwaitReceive());
    Sleep(2 * kBlocked);
    EXPECT_LT(sent, pieces.size());
    playback.graph.Stop();
    stream.join();
    EXPECT_LT(sent, pieces.size());
}

// The renderer waits for the damaged time; the pictures behind it need not.
TEST(VideoDecoder, APictureOfADamagedTimeDoesNotHoldUpTheOthers) {
    std::vector<StreamPiece> pieces = ReadStream("mpeg2_576i.ts", true);
    Playback playback(kMpeg2, {}, true);
    playback.Send({pieces.begin(), pieces.begin() + 12}, kHour);
    const std::size_t before = playback.sink->Count();
    pieces.erase(pieces.begin(), pieces.begin() + 12);
    ASSERT_TRUE(pieces[0].time);
    *pieces[0].time += 2000 * kMs;
    playback.sink->Block(true);
    std::thread stream([&] { playback.Send(pieces, kHour); });
    EXPECT_TRUE(WaitUntil([&] { return playback.sink->Seen().flushes == 1; }));
    playback.sink->Block(false);
    stream.join();
    playback.Finish();
    EXPECT_GE(playback.sink->Count(), before + 2 * pieces.size() - 8); // fields; those that waited are lost
}

TEST(VideoDecoder, AfterAFlushItBeginsAnew) {
    const std::vector<StreamPiece> pieces = ReadStream("mpeg2_576i.ts", true);
    Playback playback(kMpeg2);
    playback.Send({pieces.begin(), pieces.begin() + 20});
    EXPECT_EQ(playback.source->Output().DeliverBeginFlush(), S_OK);
    EXPECT_EQ(playback.source->Output().DeliverEndFlush(), S_OK);
    EXPECT_EQ(playback.sink->Seen().flushes, 1);
    const std::size_t before = playback.sink->Count();
    playback.Send({pieces.begin() + 20, pieces.end()}); // in the middle of a group
    const std::vector<SeenPicture> seen = playback.Finish();
    ASSERT_GT(seen.size(), before + 40);
    EXPECT_FALSE(seen[before].time.has_value()) << "again the first picture comes at once";
    EXPECT_TRUE(seen[before].discontinuity);
    EXPECT_TRUE(AllHaveColumns(seen)) << "nothing is shown that refers to what was flushed";
}

} // namespace vistrame::test
