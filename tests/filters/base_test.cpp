// The base library in the system's graph: negotiation, states, blocking, flushing, references.
#include <thread>

#include "filters/base/enumerators.h"
#include "filters/base/transform_filter.h"
#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

namespace {

constexpr GUID kMajor = {0x11111111, 1, 1, {1, 1, 1, 1, 1, 1, 1, 1}};
constexpr GUID kSubA = {0xaaaaaaaa, 1, 1, {1, 1, 1, 1, 1, 1, 1, 1}};
constexpr GUID kSubB = {0xbbbbbbbb, 1, 1, {1, 1, 1, 1, 1, 1, 1, 1}};
constexpr GUID kSubC = {0xcccccccc, 1, 1, {1, 1, 1, 1, 1, 1, 1, 1}};
constexpr GUID kFormat = {0xffffffff, 1, 1, {1, 1, 1, 1, 1, 1, 1, 1}};

MediaType TypeOf(const GUID& sub, const GUID& format = kFormat) {
    MediaType type(kMajor, sub);
    type.SetFormat(format, std::uint32_t{42});
    return type;
}

// Doubles every byte; the smallest transform there is.
class Doubler final : public TransformFilter {
public:
    Doubler() : TransformFilter(kMajor, L"In", L"Out") {}

protected:
    HRESULT CheckInputType(const MediaType& type) override { return type->subtype == kSubA ? S_OK : S_FALSE; }
    std::vector<MediaType> InputTypes() override { return {TypeOf(kSubA)}; }
    std::vector<MediaType> OutputTypes() override { return {TypeOf(kSubB), TypeOf(kSubC)}; }
    HRESULT CheckOutputType(const MediaType& type) override {
        return type->majortype == kMajor ? S_OK : S_FALSE;
    }
    ALLOCATOR_PROPERTIES NeededBuffers(const MediaType&) override { return {2, 1024, 1, 0}; }
    HRESULT Transform(IMediaSample* in) override {
        ComPtr<IMediaSample> out;
        BYTE* from = nullptr;
        BYTE* to = nullptr;
        if (const HRESULT result = Output().GetBuffer(&out); FAILED(result)) {
            return result;
        }
        (void)in->GetPointer(&from);
        (void)out->GetPointer(&to);
        for (long i = 0; i < in->GetActualDataLength(); ++i) {
            to[i] = static_cast<BYTE>(from[i] * 2);
        }
        (void)out->SetActualDataLength(in->GetActualDataLength());
        return Output().Deliver(out.Get());
    }

private:
    ~Doubler() override { (void)Stop(); }
};

struct Pair {
    TestGraph graph;
    SourceFilter* source = graph.Add(MakeObject<SourceFilter>(), L"source");
    SinkFilter* sink = graph.Add(MakeObject<SinkFilter>(), L"sink");

    HRESULT Connect(const AM_MEDIA_TYPE* type = nullptr) {
        return graph.Connect(&source->Output(), &sink->Input(), type);
    }
};

} // namespace

// given type      source offers  sink offers  sink takes   agreed
// none            A, B           -            B            B
// none            -              C            C            C
// major only      A, B           -            A, B         A
// sub B, no form. A, B           -            any          B, the source's with its format
// sub C, no form. A              -            any          C as given: nobody offers it
// complete C      A              -            any          C
// complete C      C              -            A            refused
// none            A              -            C            refused
TEST(Connecting, TriesTheGivenTypeThenTheSourcesThenTheSinks) {
    struct Row {
        const char* name;
        std::optional<MediaType> given;
        std::vector<MediaType> source, sink;
        std::vector<GUID> takes; // empty: any
        std::optional<MediaType> agreed;
    };
    MediaType bareB(kMajor, kSubB), bareC(kMajor, kSubC);
    const Row rows[] = {
        {"source's second", {}, {TypeOf(kSubA), TypeOf(kSubB)}, {}, {kSubB}, TypeOf(kSubB)},
        {"sink's", {}, {}, {TypeOf(kSubC)}, {kSubC}, TypeOf(kSubC)},
        {"major only", MediaType(kMajor, GUID_NULL), {TypeOf(kSubA), TypeOf(kSubB)}, {}, {}, TypeOf(kSubA)},
        {"partial, completed by the source", bareB, {TypeOf(kSubA), TypeOf(kSubB)}, {}, {}, TypeOf(kSubB)},
        {"partial, as given", bareC, {TypeOf(kSubA)}, {}, {}, bareC},
        {"complete", TypeOf(kSubC), {TypeOf(kSubA)}, {}, {}, TypeOf(kSubC)},
        {"complete, refused", TypeOf(kSubC), {TypeOf(kSubC)}, {}, {kSubA}, {}},
        {"nothing in common", {}, {TypeOf(kSubA)}, {}, {kSubC}, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Pair pair;
        pair.source->offered = row.source;
        pair.sink->offered = row.sink;
        pair.sink->check = [&](const MediaType& type) {
            const bool takes =
                row.takes.empty() || std::ranges::find(row.takes, type->subtype) != row.takes.end();
            return takes ? S_OK : S_FALSE;
        };
        const HRESULT result = pair.Connect(row.given ? &row.given->Get() : nullptr);
        EXPECT_EQ(SUCCEEDED(result), row.agreed.has_value());
        AM_MEDIA_TYPE agreed{};
        if (row.agreed) {
            ASSERT_EQ(pair.sink->Input().ConnectionMediaType(&agreed), S_OK);
            EXPECT_TRUE(MediaType(agreed) == *row.agreed);
            CoTaskMemFree(agreed.pbFormat);
        } else {
            EXPECT_EQ(pair.source->Output().ConnectionMediaType(&agreed), VFW_E_NOT_CONNECTED);
            EXPECT_FALSE(pair.sink->Input().IsConnected());
        }
    }
}

TEST(Connecting, MisuseIsRefusedByName) {
    Pair pair;
    pair.source->offered = {TypeOf(kSubA)};
    SourceFilter* second = pair.graph.Add(MakeObject<SourceFilter>(), L"second");
    second->offered = {TypeOf(kSubA)};
    EXPECT_EQ(pair.sink->Input().Connect(&pair.source->Output(), nullptr), E_UNEXPECTED);
    EXPECT_EQ(pair.source->Output().Connect(&second->Output(), nullptr), VFW_E_INVALID_DIRECTION);
    ASSERT_EQ(pair.Connect(), S_OK);
    EXPECT_EQ(second->Output().Connect(&pair.sink->Input(), nullptr), VFW_E_ALREADY_CONNECTED);
    pair.graph.Pause();
    EXPECT_EQ(pair.source->Output().Disconnect(), VFW_E_NOT_STOPPED);
    pair.graph.Stop();
    EXPECT_EQ(pair.source->Output().Disconnect(), S_OK);
    EXPECT_EQ(pair.source->Output().Disconnect(), S_FALSE);
}

TEST(Connecting, TakesTheSinksAllocatorWithTheBuffersItNeeds) {
    Pair pair;
    pair.source->offered = {TypeOf(kSubA)};
    pair.source->bufferBytes = 12345;
    pair.sink->ownAllocatorOnly = true;
    ASSERT_EQ(pair.Connect(), S_OK);
    EXPECT_GE(pair.source->Output().BufferBytes(), 12345);
}

TEST(Pins, AreFoundByNameAndEnumeratedInOrder) {
    const CoInitialized com;
    const auto filter = MakeObject<Doubler>();
    ComPtr<IEnumPins> pins;
    ASSERT_EQ(filter->EnumPins(&pins), S_OK);
    IPin* raw[10] = {};
    ULONG fetched = 0;
    EXPECT_EQ(pins->Next(10, raw, &fetched), S_FALSE); // fewer than asked for, all at once
    ASSERT_EQ(fetched, 2u);
    EXPECT_EQ(raw[0], PinOf(filter.Get(), L"In").Get());
    EXPECT_EQ(raw[1], PinOf(filter.Get(), L"Out").Get());
    LPWSTR id = nullptr;
    EXPECT_EQ(raw[1]->QueryId(&id), S_OK);
    EXPECT_STREQ(id, L"Out");
    CoTaskMemFree(id);
    raw[0]->Release();
    raw[1]->Release();
    ComPtr<IPin> none;
    EXPECT_EQ(filter->FindPin(L"No", &none), VFW_E_NOT_FOUND);
}

TEST(States, TheSinkIsAlwaysAheadOfTheSource) {
    Pair pair;
    pair.source->offered = {TypeOf(kSubA)};
    ASSERT_EQ(pair.Connect(), S_OK);
    pair.graph.Run();
    pair.graph.Stop();
    // Starting: the source is still stopped; running: paused; stopping (the graph pauses first): not stopped yet.
    const std::vector<FILTER_STATE> expected{State_Stopped, State_Paused, State_Paused};
    EXPECT_EQ(pair.sink->NeighbourStates(), expected);
}

TEST(Streaming, ASinkThatBlocksBlocksTheSourceUntilStopped) {
    Pair pair;
    pair.source->offered = {TypeOf(kSubA)};
    ASSERT_EQ(pair.Connect(), S_OK);
    EXPECT_EQ(pair.source->Send(Bytes{1}), VFW_E_NOT_COMMITTED) << "stopped";
    pair.graph.Run();
    pair.sink->Block(true);
    std::atomic<bool> done = false;
    std::thread sender([&] {
        (void)pair.source->Send(Bytes{1});
        done = true;
    });
    EXPECT_TRUE(WaitUntil([&] { return pair.sink->InReceive(); }));
    Sleep(kBlocked);
    EXPECT_FALSE(done);
    pair.graph.Stop();
    sender.join();
    EXPECT_TRUE(done);
}

TEST(Streaming, AFlushFreesTheSourceAndStreamingGoesOn) {
    Pair pair;
    pair.source->offered = {TypeOf(kSubA)};
    ASSERT_EQ(pair.Connect(), S_OK);
    pair.graph.Run();
    pair.sink->Block(true);
    std::atomic<HRESULT> result = E_PENDING;
    std::thread sender([&] { result = pair.source->Send(Bytes{1}); });
    EXPECT_TRUE(WaitUntil([&] { return pair.sink->InReceive(); }));
    EXPECT_EQ(pair.source->Output().DeliverBeginFlush(), S_OK);
    sender.join();
    EXPECT_EQ(pair.source->Send(Bytes{2}), S_FALSE) << "refused while flushing";
    pair.sink->Block(false);
    EXPECT_EQ(pair.source->Output().DeliverEndFlush(), S_OK);
    EXPECT_EQ(pair.source->Send(Bytes{3}), S_OK);
    EXPECT_EQ(pair.sink->Samples().back().data, Bytes{3});
}

TEST(Streaming, NothingFollowsTheEndOfStreamButAFlush) {
    Pair pair;
    pair.source->offered = {TypeOf(kSubA)};
    ASSERT_EQ(pair.Connect(), S_OK);
    pair.graph.Run();
    EXPECT_EQ(pair.source->Output().DeliverEndOfStream(), S_OK);
    EXPECT_EQ(pair.sink->EndsOfStream(), 1);
    EXPECT_EQ(pair.source->Send(Bytes{1}), VFW_E_SAMPLE_REJECTED_EOS);
    EXPECT_EQ(pair.source->Output().DeliverBeginFlush(), S_OK);
    EXPECT_EQ(pair.source->Output().DeliverEndFlush(), S_OK);
    EXPECT_EQ(pair.source->Send(Bytes{1}), S_OK);
}

TEST(Streaming, ATypeChangedInMidStreamTravelsWithTheNextSample) {
    Pair pair;
    pair.source->offered = {TypeOf(kSubA)};
    pair.source->bufferBytes = 100;
    ASSERT_EQ(pair.Connect(), S_OK);
    pair.graph.Run();
    EXPECT_EQ(pair.source->Send(Bytes{1}), S_OK);
    EXPECT_TRUE(pair.sink->Input().Type() == TypeOf(kSubA));
    EXPECT_EQ(pair.source->Output().ChangeType(TypeOf(kSubB), 5000), S_OK);
    EXPECT_EQ(pair.source->Send(Bytes(5000, 7)), S_OK);
    EXPECT_TRUE(pair.sink->Input().Type() == TypeOf(kSubB));
    EXPECT_EQ(pair.sink->Samples().back().data.size(), 5000u) << "the larger sample went in one";
}

TEST(Transforming, OutputFollowsInputAndPassesEverythingOn) {
    TestGraph graph;
    auto* source = graph.Add(MakeObject<SourceFilter>(), L"source");
    auto* doubler = graph.Add(MakeObject<Doubler>(), L"doubler");
    auto* sink = graph.Add(MakeObject<SinkFilter>(), L"sink");
    source->offered = {TypeOf(kSubB), TypeOf(kSubA)};
    sink->check = [](const MediaType& type) { return type->subtype == kSubC ? S_OK : S_FALSE; };

    EXPECT_TRUE(FAILED(graph.Connect(&doubler->Output(), &sink->Input())))
        << "nothing is known about the input yet";
    ASSERT_EQ(graph.Connect(&source->Output(), &doubler->Input()), S_OK);
    ASSERT_EQ(graph.Connect(&doubler->Output(), &sink->Input()), S_OK);
    graph.Run();
    EXPECT_EQ(source->Output().DeliverNewSegment(0, 1, 1.0), S_OK);
    EXPECT_EQ(source->Send(Bytes{1, 2, 3}), S_OK);
    EXPECT_EQ(sink->Samples().back().data, (Bytes{2, 4, 6}));
    sink->Answer(E_FAIL);
    EXPECT_EQ(source->Send(Bytes{1}), E_FAIL) << "what the sink answers reaches the source";
    EXPECT_EQ(source->Output().DeliverEndOfStream(), S_OK);
    EXPECT_EQ(source->Output().DeliverBeginFlush(), S_OK);
    EXPECT_EQ(source->Output().DeliverEndFlush(), S_OK);
    EXPECT_EQ(sink->Segments(), 1);
    EXPECT_EQ(sink->EndsOfStream(), 1);
    EXPECT_EQ(sink->Flushes(), 1);
}

TEST(MediaTypes, EnumeratorsHandOutCopiesOfTheirOwn) {
    const CoInitialized com;
    auto types = MakeObject<MediaTypeEnumerator>(std::vector{TypeOf(kSubA), TypeOf(kSubB), TypeOf(kSubC)});
    AM_MEDIA_TYPE* raw = nullptr;
    EXPECT_EQ(types->Skip(1), S_OK);
    ComPtr<IEnumMediaTypes> clone;
    EXPECT_EQ(types->Clone(&clone), S_OK);
    for (IEnumMediaTypes* each : {static_cast<IEnumMediaTypes*>(types.Get()), clone.Get()}) {
        ASSERT_EQ(each->Next(1, &raw, nullptr), S_OK);
        EXPECT_TRUE(MediaType(*raw) == TypeOf(kSubB));
        MediaType::FreeTaskCopy(raw);
    }
    EXPECT_EQ(types->Skip(2), S_FALSE);
    EXPECT_EQ(types->Next(1, &raw, nullptr), S_FALSE);
}

} // namespace vistrame::test
