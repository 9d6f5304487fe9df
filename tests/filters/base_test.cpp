// The base library in the system's graph: negotiation, blocking, flushing, references. A type that changes in
// mid-stream and a sink's own allocator are seen in the tests of the decoders.
#include <atomic>
#include <thread>

#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

namespace {

constexpr GUID kMajor = NumberedSubtype(1), kSubA = NumberedSubtype(2), kSubB = NumberedSubtype(3),
               kSubC = NumberedSubtype(4);

MediaType TypeOf(const GUID& sub) {
    MediaType type(kMajor, sub);
    type.SetFormat(NumberedSubtype(5), std::uint32_t{42});
    return type;
}

struct Pair {
    TestGraph graph;
    SourceFilter* source = graph.Add(MakeObject<SourceFilter>(), L"source");
    SinkFilter* sink = graph.Add(MakeObject<SinkFilter>(), L"sink");

    HRESULT Connect(const AM_MEDIA_TYPE* type = nullptr) {
        return graph.Connect(&source->Output(), &sink->Input(), type);
    }
    void Run() {
        source->offered = {TypeOf(kSubA)};
        ASSERT_EQ(Connect(), S_OK);
        EXPECT_EQ(source->Send(Bytes{1}), VFW_E_NOT_COMMITTED) << "stopped";
        graph.Run();
    }
};

} // namespace

TEST(TraceLine, NamesWhatItIsGivenAndCutsWhatIsTooLong) {
    MediaType sound(MEDIATYPE_Audio, MEDIASUBTYPE_DOLBY_AC3);
    sound.SetFormat(FORMAT_WaveFormatEx, WAVEFORMATEX{WAVE_FORMAT_PCM, 2, 48'000, 192'000, 4, 16, 0});
    VIDEOINFOHEADER2 header{};
    header.bmiHeader.biWidth = 720;
    header.bmiHeader.biHeight = 576;
    MediaType picture(MEDIATYPE_Video, FourCcSubtype("H264"));
    picture.SetFormat(FORMAT_VideoInfo2, header);
    TraceLine line;
    line << picture << ", " << sound << ", " << L"\u00FC" << -5 << " " << HexOf(E_OUTOFMEMORY);
    EXPECT_EQ(line.Text(), "video H264 720x576, audio AC-3 48000 Hz x2, ?-5 8007000e");
    for (int i = 0; i < 10; ++i) {
        line << MediaType() << std::string(100, 'x');
    }
    EXPECT_EQ(line.Text().size(), TraceLine::kLength);
    line.Write(); // fits with its mark
}

TEST(Connecting, TriesTheGivenTypeThenTheSourcesThenTheSinks) {
    struct Row {
        const char* name;
        std::optional<MediaType> given;
        std::vector<MediaType> source, sink; // offered
        std::optional<GUID> takes;           // the sink; nothing: any
        std::optional<MediaType> agreed;
    };
    const MediaType a = TypeOf(kSubA), b = TypeOf(kSubB), c = TypeOf(kSubC);
    const MediaType anySub(kMajor, GUID_NULL), bareB(kMajor, kSubB), bareC(kMajor, kSubC);
    const Row rows[] = {
        {"source's second", {}, {a, b}, {}, kSubB, b},
        {"sink's", {}, {}, {c}, kSubC, c},
        {"major only", anySub, {a, b}, {}, {}, a},
        {"partial, completed by the source", bareB, {a, b}, {}, {}, b},
        {"partial, as given", bareC, {a}, {}, {}, bareC},
        {"complete", c, {a}, {}, {}, c},
        {"complete, refused", c, {c}, {}, kSubA, {}},
        {"nothing in common", {}, {a}, {}, kSubC, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Pair pair;
        pair.source->offered = row.source;
        pair.sink->offered = row.sink;
        pair.sink->check = [&](const MediaType& type) {
            return type->subtype == row.takes.value_or(type->subtype) ? S_OK : S_FALSE;
        };
        const HRESULT result = pair.Connect(row.given ? &row.given->Get() : nullptr);
        EXPECT_EQ(SUCCEEDED(result), row.agreed.has_value());
        EXPECT_EQ(pair.sink->Input().IsConnected(), row.agreed.has_value());
        EXPECT_EQ(pair.source->Output().IsConnected(), row.agreed.has_value());
        EXPECT_TRUE(!row.agreed || pair.sink->Input().Type() == *row.agreed);
    }
}

TEST(Streaming, NothingPassesWhileFlushingOrBehindTheEndOfStream) {
    Pair pair;
    pair.Run();
    OutputPin& output = pair.source->Output();
    EXPECT_EQ(output.DeliverEndOfStream(), S_OK);
    EXPECT_EQ(pair.sink->Seen().ends, 1);
    EXPECT_EQ(pair.source->Send(Bytes{1}), VFW_E_SAMPLE_REJECTED_EOS);
    EXPECT_EQ(output.DeliverBeginFlush(), S_OK);
    EXPECT_EQ(pair.source->Send(Bytes{2}), S_FALSE);
    EXPECT_EQ(output.DeliverEndFlush(), S_OK);
    EXPECT_EQ(pair.source->Send(Bytes{3}), S_OK);
    EXPECT_EQ(pair.sink->Count(), 1u);
}

// Who keeps a lent sample keeps its memory.
TEST(Streaming, APeerThatReadsInPlaceIsLentTheBytes) {
    const auto bytes = std::make_shared<const Bytes>(SourceFilter::kBufferBytes + 1, std::uint8_t{7});
    for (const bool lent : {false, true}) {
        SCOPED_TRACE(lent ? "lent" : "copied, in two");
        Pair pair;
        pair.sink->readsInPlace = lent;
        pair.sink->holds = true;
        pair.source->offered = {TypeOf(kSubA)};
        ASSERT_EQ(pair.Connect(), S_OK);
        pair.graph.Run();
        OutputPin& output = pair.source->Output();
        EXPECT_EQ(
            output.SendWhole(bytes, *bytes, {.start = 5 * kMs, .syncPoint = true, .discontinuity = true}),
            S_OK);
        const auto samples = pair.sink->Samples();
        ASSERT_EQ(samples.size(), lent ? 1u : 2u);
        EXPECT_EQ(samples[0].at == bytes->data(), lent);
        EXPECT_EQ(samples[0].data.size() + (lent ? 0 : 1), bytes->size());
        EXPECT_EQ(samples[0].time, 5 * kMs);
        EXPECT_TRUE(samples[0].syncPoint && samples[0].discontinuity);
        EXPECT_EQ(bytes.use_count(), lent ? 2 : 1);
        EXPECT_EQ(output.DeliverBeginFlush(), S_OK);
        EXPECT_EQ(bytes.use_count(), 1);
        EXPECT_EQ(output.DeliverEndFlush(), S_OK);
        EXPECT_EQ(pair.source->Send(Bytes{1, 2}), S_OK);
        EXPECT_EQ(pair.sink->Samples().back().data, (Bytes{1, 2}));
    }
}

// Wine's memory allocator, decommitted with all buffers at home, leaves a thread that is just taking one
// waiting for ever.
TEST(Streaming, NoFilterStopsInTheMiddleOfTakingABufferThatIsThere) {
    Pair pair;
    pair.sink->layOut = [](VIDEOINFOHEADER2&) { return false; };
    pair.Run();
    std::atomic<bool> over = false;
    std::atomic<int> sent = 0;
    const std::jthread sender([&] {
        while (!over) {
            sent += pair.source->Send(Bytes{1}) == S_OK ? 1 : 0;
        }
    });
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(pair.source->Stop(), S_OK);
        EXPECT_EQ(pair.source->Pause(), S_OK);
        pair.sink->Forget();
    }
    EXPECT_TRUE(WaitUntil([&] { return sent > 0; }));
    over = true;
    EXPECT_EQ(pair.sink->decommittedMeanwhile, 0);
}

} // namespace vistrame::test
