// The video decoder between a source and a renderer that looks at the pictures.
#include <algorithm>

#include "filters/decoders/stream_types.h"
#include "filters/decoders/video_decoder_filter.h"
#include "tests/filters/decoders/picture_sink.h"
#include "tests/filters/decoders/stream_fixture.h"

namespace vistrame::test {

namespace {

constexpr REFERENCE_TIME kMs = 10'000;
constexpr REFERENCE_TIME kHour = 3'600'000 * kMs;
constexpr int kBarStep = 8; // pixels from source picture to source picture, see make_streams.sh

GUID FourCc(const char* name) {
    return {MAKEFOURCC(name[0], name[1], name[2], name[3]), 0, 0x10, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}};
}

MediaType Mpeg2() {
    return {MEDIATYPE_Video, MEDIASUBTYPE_MPEG2_VIDEO};
}
MediaType H264() {
    return {MEDIATYPE_Video, FourCc("H264")};
}

class Playback {
public:
    // Without a clock nothing is ever late, however busy the machine.
    explicit Playback(const MediaType& type, const std::function<void(PictureSinkFilter&)>& prepare = {},
                      bool clock = false) {
        source = graph.Add(MakeObject<SourceFilter>(), L"source");
        decoder = graph.Add(MakeObject<VideoDecoderFilter>(), L"decoder");
        sink = graph.Add(MakeObject<PictureSinkFilter>(), L"sink");
        source->offered = {type};
        source->bufferBytes = 4 << 20; // any picture of the streams in one piece
        if (prepare) {
            prepare(*sink);
        }
        EXPECT_EQ(graph.Connect(&source->Output(), &decoder->Input()), S_OK);
        EXPECT_EQ(graph.Connect(&decoder->Output(), &sink->Input()), S_OK);
        ComPtr<IMediaFilter> filter;
        EXPECT_EQ(graph.graph.As(&filter), S_OK);
        if (!clock) {
            EXPECT_EQ(filter->SetSyncSource(nullptr), S_OK);
        }
        graph.Run();
        sink->AwaitWarmUp();
    }
    void Send(const std::vector<StreamPiece>& pieces, REFERENCE_TIME offset = 0) {
        for (const StreamPiece& piece : pieces) {
            const auto time = piece.time ? std::optional(*piece.time + offset) : std::nullopt;
            ASSERT_EQ(source->Send(piece.data, time, piece.discontinuity), S_OK);
        }
    }
    std::vector<SeenPicture> Finish() {
        EXPECT_EQ(source->Output().DeliverEndOfStream(), S_OK); // waits for what is queued
        return sink->Seen();
    }

    TestGraph graph;
    SourceFilter* source;
    VideoDecoderFilter* decoder;
    PictureSinkFilter* sink;
};

REFERENCE_TIME LongestGap(const std::vector<SeenPicture>& seen) {
    REFERENCE_TIME longest = 0;
    std::optional<REFERENCE_TIME> last;
    for (const SeenPicture& picture : seen) {
        if (picture.start) {
            longest = std::max(longest, *picture.start - last.value_or(*picture.start));
            last = picture.start;
        }
    }
    return longest;
}

// Flips single bits, one in `bytesPerError` bytes.
void DamageBits(std::vector<StreamPiece>* pieces, std::size_t bytesPerError) {
    std::size_t at = bytesPerError;
    for (StreamPiece& piece : *pieces) {
        for (; at < piece.data.size(); at += bytesPerError) {
            piece.data[at] ^= static_cast<std::uint8_t>(1 << at % 8);
        }
        at -= piece.data.size();
    }
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
    };
    const Row rows[] = {
        {"mpeg2_576i.ts", Mpeg2(), 720, 576, 75, 40 * kMs, 2 * kBarStep},
        {"h264_1080i.ts", H264(), 1920, 1080, 50, 40 * kMs, 2 * kBarStep},
        {"h264_720p.ts", H264(), 1280, 720, 100, 20 * kMs, kBarStep},
        {"hevc_1080p.ts", {MEDIATYPE_Video, FourCc("HEVC")}, 1920, 1080, 50, 40 * kMs, kBarStep},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.file);
        Playback playback(row.type);
        playback.Send(ReadStream(row.file, true));
        const std::vector<SeenPicture> seen = playback.Finish();
        ASSERT_EQ(seen.size(), static_cast<std::size_t>(row.pictures) + 1)
            << "every picture, the first one twice";
        EXPECT_FALSE(seen[0].start.has_value()) << "the first picture is shown at once";
        EXPECT_EQ(seen[0].bar, seen[1].bar);
        EXPECT_TRUE(seen[0].discontinuity);
        for (int i = 0; i < row.pictures; ++i) {
            const SeenPicture& picture = seen[static_cast<std::size_t>(i) + 1];
            SCOPED_TRACE(i);
            ASSERT_TRUE(picture.start.has_value());
            EXPECT_NEAR(*picture.start - *seen[1].start, i * row.duration, 200);
            EXPECT_NEAR(picture.stop - *picture.start, row.duration, 200);
            ASSERT_TRUE(picture.columns);
            ASSERT_NEAR(picture.bar, (seen[1].bar + i * row.barStep) % (row.width - 32), 2)
                << "order of display";
            EXPECT_EQ(picture.combed, 0);
            EXPECT_EQ(picture.width, row.width);
            EXPECT_EQ(picture.height, row.height);
            EXPECT_EQ(picture.aspect, (Aspect{16, 9}));
        }
    }
}

TEST(VideoDecoder, TakesEveryTypeThePlayerOffersAndNoOther) {
    const auto withBlock = [](MediaType type, const GUID& format, std::size_t bytes) {
        std::vector<std::byte> block(bytes);
        type.SetFormat(format, block);
        return type;
    };
    struct Row {
        const char* what;
        MediaType type;
        HRESULT result;
    };
    const Row rows[] = {
        {"MPEG-2 from the platform's demultiplexer", withBlock(Mpeg2(), FORMAT_MPEG2Video, 1136), S_OK},
        {"MPEG-2 without a format", Mpeg2(), S_OK},
        {"H.264 with a null format type", withBlock(H264(), GUID_NULL, 1136), S_OK},
        {"H.264 with a MPEG2VIDEOINFO", withBlock(H264(), FORMAT_MPEG2Video, sizeof(MPEG2VIDEOINFO)), S_OK},
        {"x264", {MEDIATYPE_Video, FourCc("x264")}, S_OK},
        {"X264", {MEDIATYPE_Video, FourCc("X264")}, S_OK},
        {"AVC1", {MEDIATYPE_Video, FourCc("AVC1")}, S_OK},
        {"avc1", {MEDIATYPE_Video, FourCc("avc1")}, S_OK},
        {"DAVC", {MEDIATYPE_Video, FourCc("DAVC")}, S_OK},
        {"HEVC without a format", {MEDIATYPE_Video, FourCc("HEVC")}, S_OK},
        {"HEVC with a format", withBlock({MEDIATYPE_Video, FourCc("HEVC")}, GUID_NULL, 1136), S_OK},
        {"another FourCC", {MEDIATYPE_Video, FourCc("MJPG")}, S_FALSE},
        {"audio", {MEDIATYPE_Audio, MEDIASUBTYPE_MPEG2_VIDEO}, S_FALSE},
        {"nothing", {}, S_FALSE},
    };
    const CoInitialized com;
    const auto decoder = MakeObject<VideoDecoderFilter>();
    for (const Row& row : rows) {
        EXPECT_EQ(decoder->Input().QueryAccept(&row.type.Get()), row.result) << row.what;
    }
}

TEST(VideoDecoder, DamageNeitherStopsNorFreezesIt) {
    struct Row {
        const char* file;
        MediaType type;
        REFERENCE_TIME group; // length of a group of pictures
        int lossPerMille;
        std::size_t bytesPerError; // 0: none
    };
    const Row rows[] = {
        {"mpeg2_576i.ts", Mpeg2(), 480 * kMs, 5, 0},
        {"mpeg2_576i.ts", Mpeg2(), 480 * kMs, 50, 0},
        {"mpeg2_576i.ts", Mpeg2(), 480 * kMs, 0, 4000},
        {"h264_1080i.ts", H264(), 960 * kMs, 20, 0},
        {"h264_1080i.ts", H264(), 960 * kMs, 0, 4000},
        {"h264_720p.ts", H264(), 1000 * kMs, 20, 0},
        {"hevc_1080p.ts", {MEDIATYPE_Video, FourCc("HEVC")}, 1000 * kMs, 30, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message()
                     << row.file << " loss " << row.lossPerMille << " bits " << row.bytesPerError);
        std::vector<StreamPiece> damaged = ReadStream(row.file, true, row.lossPerMille);
        if (row.bytesPerError != 0) {
            DamageBits(&damaged, row.bytesPerError);
        }
        const std::vector<StreamPiece> whole = ReadStream(row.file, true);
        Playback playback(row.type);
        playback.Send(damaged);
        const std::size_t before = playback.sink->Count();
        const REFERENCE_TIME later = *damaged.back().time + 40 * kMs;
        playback.Send(whole, later);
        const std::vector<SeenPicture> seen = playback.Finish();
        EXPECT_GT(before, damaged.size() / 2) << "pictures are concealed rather than left out";
        EXPECT_LE(LongestGap(seen), row.group + 100 * kMs);
        const auto clean = std::ranges::find_if(seen, [&](const SeenPicture& picture) {
            return picture.start && *picture.start > later + row.group + 100 * kMs;
        });
        EXPECT_NE(clean, seen.end());
        EXPECT_TRUE(std::all_of(clean, seen.end(), [](const SeenPicture& picture) {
            return picture.columns;
        })) << "one group of pictures later nothing is left of the damage";
    }
}

// The stream changes from 720 x 576, 16:9, to 352 x 288, 4:3, and back.
TEST(VideoDecoder, SizeAndAspectMayChangeInMidStream) {
    struct Row {
        const char* what;
        bool reconnects, acceptsAspect;
        SIZE first, second;
        Aspect secondAspect;
        bool bars; // at the left and right of the second
    };
    const SIZE connected{PictureOutput::kConnectWidth, PictureOutput::kConnectHeight};
    const Row rows[] = {
        {"a renderer that reconnects", true, true, {720, 576}, {352, 288}, {4, 3}, false},
        {"one that takes another aspect", false, true, connected, connected, {4, 3}, false},
        {"one that takes nothing", false, false, connected, connected, {16, 9}, true},
    };
    const std::vector<StreamPiece> large = ReadStream("mpeg2_576i.ts", true);
    const std::vector<StreamPiece> small = ReadStream("mpeg2_288p.ts", true);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Playback playback(Mpeg2(), [&](PictureSinkFilter& sink) {
            sink.reconnects = row.reconnects;
            sink.acceptsAspect = row.acceptsAspect;
        });
        playback.Send(large);
        playback.Send(small, 3000 * kMs);
        playback.Send(large, 5000 * kMs);
        const std::vector<SeenPicture> seen = playback.Finish();
        ASSERT_GT(seen.size(), 196u);
        for (const SeenPicture& picture : seen) {
            const REFERENCE_TIME at = picture.start.value_or(0) - *seen[1].start;
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

// Before and after the renderer has reconnected with the picture's size.
TEST(VideoDecoder, ARendererMayAskForLongerLines) {
    const std::vector<StreamPiece> pieces = ReadStream("mpeg2_288p.ts", true);
    Playback playback(Mpeg2(), [](PictureSinkFilter& sink) { sink.padding = 128; });
    playback.Send({pieces.begin(), pieces.begin() + 10});
    const std::vector<SeenPicture> seen = playback.Finish();
    ASSERT_EQ(seen.size(), 11u);
    EXPECT_TRUE(
        std::all_of(seen.begin(), seen.end(), [](const SeenPicture& picture) { return picture.columns; }));
    EXPECT_EQ(seen.back().width, 352);
}

// Missing times are counted on; a time belongs to the picture that starts in its piece, not to the one decoded.
TEST(VideoDecoder, MissingTimesAreCountedOn) {
    std::vector<StreamPiece> pieces = ReadStream("mpeg2_576i.ts", true);
    for (std::size_t i = 5; i < pieces.size(); ++i) {
        pieces[i].time.reset();
    }
    Playback playback(Mpeg2());
    playback.Send(pieces);
    const std::vector<SeenPicture> seen = playback.Finish();
    ASSERT_EQ(seen.size(), 76u);
    for (std::size_t i = 1; i < seen.size(); ++i) {
        EXPECT_NEAR(*seen[i].start - *seen[1].start, static_cast<REFERENCE_TIME>(i - 1) * 40 * kMs, 200);
    }
}

// Far behind the clock only some pictures are shown; back in time, all of them are again.
TEST(VideoDecoder, LatePicturesAreLeftOutAndThenItCatchesUp) {
    const std::vector<StreamPiece> pieces = ReadStream("h264_720p.ts", true);
    Playback playback(H264(), {}, true);
    playback.Send(pieces, -kHour);
    const std::size_t late = playback.sink->Count();
    EXPECT_GE(late, 1u);
    EXPECT_LT(late, pieces.size() / 2);
    playback.Send(pieces, kHour);
    playback.Finish();
    EXPECT_GE(playback.sink->Count(), late + pieces.size() * 9 / 10);
}

TEST(VideoDecoder, AfterAFlushItBeginsAnew) {
    const std::vector<StreamPiece> pieces = ReadStream("mpeg2_576i.ts", true);
    Playback playback(Mpeg2());
    playback.Send({pieces.begin(), pieces.begin() + 20});
    EXPECT_EQ(playback.source->Output().DeliverBeginFlush(), S_OK);
    EXPECT_EQ(playback.source->Output().DeliverEndFlush(), S_OK);
    const std::size_t before = playback.sink->Count();
    playback.Send({pieces.begin() + 20, pieces.end()}); // in the middle of a group
    const std::vector<SeenPicture> seen = playback.Finish();
    ASSERT_GT(seen.size(), before + 40);
    EXPECT_FALSE(seen[before].start.has_value()) << "again the first picture comes at once";
    EXPECT_TRUE(seen[before].discontinuity);
    EXPECT_TRUE(std::all_of(seen.begin(), seen.end(), [](const SeenPicture& picture) {
        return picture.columns;
    })) << "nothing is shown that refers to what was flushed";
}

} // namespace vistrame::test
