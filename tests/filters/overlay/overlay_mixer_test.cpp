#include "filters/overlay/overlay_mixer.h"

#include "filters/decoders/video_decoder_filter.h"
#include "tests/filters/decoders/picture_sink.h"
#include "tests/filters/decoders/screen.h"
#include "tests/filters/decoders/stream_fixture.h"

namespace vistrame::test {

namespace {

constexpr REFERENCE_TIME kMs = 10'000;

MediaType Pictures(int width, int height) {
    return MakePictureType(*FindPixelLayout(MEDIASUBTYPE_RGB32), width, height, {4, 3}, 40 * kMs,
                           FORMAT_VideoInfo2);
}

// The renderer that a graph builder has put behind the pin.
ComPtr<IBaseFilter> FilterBehind(IPin* pin) {
    ComPtr<IPin> peer;
    PIN_INFO info{};
    ComPtr<IBaseFilter> filter;
    if (SUCCEEDED(pin->ConnectedTo(&peer)) && SUCCEEDED(peer->QueryPinInfo(&info))) {
        *filter.ReleaseAndGetAddressOf() = info.pFilter;
    }
    return filter;
}

} // namespace

// The order of the player: the output is rendered while the input is still free.
TEST(OverlayMixer, RenderedFirstItShowsTheDecodersPictures) {
    TestGraph graph;
    SourceFilter* source = graph.Add(MakeObject<SourceFilter>(), L"source");
    auto* decoder = graph.Add(MakeObject<VideoDecoderFilter>(), L"decoder");
    auto* mixer = graph.Add(MakeObject<OverlayMixer>(), L"Overlay Mixer");
    source->offered = {MediaType(MEDIATYPE_Video, MEDIASUBTYPE_MPEG2_VIDEO)};
    source->bufferBytes = 1 << 20;
    ASSERT_EQ(graph.Connect(&source->Output(), &decoder->Input()), S_OK);

    ASSERT_HRESULT_SUCCEEDED(graph.graph->Render(PinOf(mixer, L"Output").Get()));
    ASSERT_EQ(graph.Connect(&decoder->Output(), PinOf(mixer, L"Input0").Get()), S_OK);

    const ComPtr<IBaseFilter> renderer = FilterBehind(PinOf(mixer, L"Output").Get());
    ASSERT_NE(renderer, nullptr);
    ComPtr<IVideoWindow> window;
    ASSERT_EQ(renderer->QueryInterface(IID_IVideoWindow, reinterpret_cast<void**>(window.GetAddressOf())),
              S_OK);
    EXPECT_HRESULT_SUCCEEDED(window->put_WindowStyle(WS_POPUP));
    EXPECT_HRESULT_SUCCEEDED(window->SetWindowPosition(40, 40, 640, 480));
    ASSERT_HRESULT_SUCCEEDED(graph.control->Run());
    const std::vector<StreamPiece> pieces = ReadStream("mpeg2_576i.ts", true);
    for (std::size_t i = 0; i < 10; ++i) {
        ASSERT_EQ(source->Send(pieces[i].data, pieces[i].time), S_OK);
    }
    Sleep(500); // until they have been shown
    ExpectPictureOnScreen(window.Get());
    graph.Stop();
    EXPECT_HRESULT_SUCCEEDED(window->put_Visible(OAFALSE));
}

TEST(OverlayMixer, TheInputsTypeIsTheRenderersWhateverTheOrder) {
    for (const bool outputFirst : {true, false}) {
        SCOPED_TRACE(outputFirst);
        TestGraph graph;
        SourceFilter* source = graph.Add(MakeObject<SourceFilter>(), L"source");
        auto* mixer = graph.Add(MakeObject<OverlayMixer>(), L"mixer");
        auto* sink = graph.Add(MakeObject<PictureSinkFilter>(), L"sink");
        const std::vector<std::uint8_t> picture(352 * 288 * 4, 0x55);
        source->bufferBytes = static_cast<long>(picture.size());
        source->offered = {
            MediaType(MEDIATYPE_Video, MEDIASUBTYPE_MPEG2_VIDEO),
            MakePictureType(*FindPixelLayout(MEDIASUBTYPE_NV12), 352, 288, {4, 3}, 1, FORMAT_VideoInfo2),
            Pictures(352, 288)};
        if (!outputFirst) { // nobody has refused the second type yet
            source->offered.erase(source->offered.begin() + 1);
        }
        const ComPtr<IPin> input = PinOf(mixer, L"Input0");
        const ComPtr<IPin> output = PinOf(mixer, L"Output");
        EXPECT_NE(graph.Connect(output.Get(), input.Get()), S_OK) << "never to itself";
        for (const bool connectOutput : {outputFirst, !outputFirst}) {
            EXPECT_EQ(connectOutput ? graph.Connect(output.Get(), &sink->Input())
                                    : graph.Connect(&source->Output(), input.Get()),
                      S_OK);
        }
        EXPECT_TRUE(sink->Input().Type() == Pictures(352, 288));
        graph.Run();
        EXPECT_EQ(source->Send(picture, 70 * kMs), S_OK);
        ASSERT_EQ(sink->Count(), 1u);
        EXPECT_EQ(sink->Seen()[0].start, 70 * kMs);
        EXPECT_EQ(sink->Seen()[0].width, 352);
        EXPECT_EQ(sink->Seen()[0].top.r, 0x55);
    }
}

// A change of size goes through to the renderer, or back to the decoder, which then scales.
TEST(OverlayMixer, ChangesInMidStreamAreAnsweredByTheRenderer) {
    const std::vector<StreamPiece> pieces = ReadStream("mpeg2_288p.ts", true);
    for (const bool reconnects : {true, false}) {
        SCOPED_TRACE(reconnects);
        TestGraph graph;
        SourceFilter* source = graph.Add(MakeObject<SourceFilter>(), L"source");
        auto* decoder = graph.Add(MakeObject<VideoDecoderFilter>(), L"decoder");
        auto* mixer = graph.Add(MakeObject<OverlayMixer>(), L"mixer");
        auto* sink = graph.Add(MakeObject<PictureSinkFilter>(), L"sink");
        sink->reconnects = reconnects;
        source->offered = {MediaType(MEDIATYPE_Video, MEDIASUBTYPE_MPEG2_VIDEO)};
        source->bufferBytes = 1 << 20;
        EXPECT_EQ(graph.Connect(PinOf(mixer, L"Output").Get(), &sink->Input()), S_OK);
        EXPECT_EQ(graph.Connect(&source->Output(), &decoder->Input()), S_OK);
        EXPECT_EQ(graph.Connect(&decoder->Output(), PinOf(mixer, L"Input0").Get()), S_OK);
        graph.Run();
        sink->AwaitWarmUp();
        for (std::size_t i = 0; i < 10; ++i) {
            ASSERT_EQ(source->Send(pieces[i].data, pieces[i].time), S_OK);
        }
        EXPECT_EQ(source->Output().DeliverEndOfStream(), S_OK);
        ASSERT_EQ(sink->Count(), 11u);
        for (const SeenPicture& seen : sink->Seen()) {
            EXPECT_EQ(seen.width, reconnects ? 352 : PictureOutput::kConnectWidth);
            EXPECT_EQ(seen.aspect, (Aspect{4, 3}));
            EXPECT_TRUE(seen.columns);
        }
    }
}

} // namespace vistrame::test
