#include "filters/overlay/overlay_mixer.h"

#include "filters/decoders/video_decoder_filter.h"
#include "tests/filters/decoders/picture_sink.h"
#include "tests/filters/decoders/stream_fixture.h"

namespace vistrame::test {

// The player renders the output while the input is still free; whichever comes first, the input's type is the
// renderer's. A change of size goes through to the renderer, or back to the decoder, which then scales.
TEST(OverlayMixer, ShowsTheDecodersPicturesWhateverTheOrderAndTheRenderer) {
    const std::vector<StreamPiece> pieces = ReadStream("mpeg2_288p.ts", true);
    for (const auto& [outputFirst, reconnects] :
         {std::pair(true, true), std::pair(true, false), std::pair(false, true)}) {
        SCOPED_TRACE(testing::Message() << outputFirst << reconnects);
        DecoderFixture<VideoDecoderFilter, PictureSinkFilter> fixture;
        auto& [graph, source, decoder, sink] = fixture;
        auto* mixer = graph.Add(MakeObject<OverlayMixer>(), L"mixer");
        sink->reconnects = reconnects;
        source->offered = {MediaType(MEDIATYPE_Video, MEDIASUBTYPE_MPEG2_VIDEO)};
        const ComPtr<IPin> input = PinOf(mixer, L"Input0"), output = PinOf(mixer, L"Output");
        EXPECT_NE(graph.Connect(output.Get(), input.Get()), S_OK) << "never to itself";
        EXPECT_NE(graph.Connect(&source->Output(), input.Get()), S_OK) << "no pictures";
        EXPECT_EQ(graph.Connect(&source->Output(), &decoder->Input()), S_OK);
        for (const bool connectOutput : {outputFirst, !outputFirst}) {
            EXPECT_EQ(connectOutput ? graph.Connect(output.Get(), &sink->Input())
                                    : graph.Connect(&decoder->Output(), input.Get()),
                      S_OK);
        }
        EXPECT_TRUE(sink->Input().Type() == decoder->Output().Type());
        graph.Run();
        sink->AwaitWarmUp();
        for (std::size_t i = 0; i < 10; ++i) {
            ASSERT_EQ(source->Send(pieces[i].data, pieces[i].time), S_OK);
        }
        EXPECT_EQ(source->Output().DeliverEndOfStream(), S_OK);
        EXPECT_TRUE(static_cast<OutputPin*>(output.Get())->Type() == sink->Input().Type());
        ASSERT_GT(sink->Count(), 10u);
        for (const SeenPicture& seen : sink->Pictures()) {
            EXPECT_EQ(seen.width, reconnects ? 352 : PictureOutput::kLargest.width);
            EXPECT_EQ(seen.aspect, (Aspect{4, 3}));
            EXPECT_TRUE(seen.columns);
        }
    }
}

namespace {

// The whole of it shows the three columns.
bool ShowsColumns(HWND window) {
    RECT area{};
    const HDC dc = GetDC(window);
    bool shown = GetClientRect(window, &area) != FALSE;
    for (int i = 0; i < 3; ++i) {
        const COLORREF seen = GetPixel(dc, (2 * i + 1) * area.right / 6, area.bottom / 2);
        shown = shown && IsNear({GetRValue(seen), GetGValue(seen), GetBValue(seen)},
                                kColumns[static_cast<std::size_t>(i)]);
    }
    (void)ReleaseDC(window, dc);
    return shown;
}

} // namespace

// As the player builds it: the graph finds a renderer with a window by itself, which gets the pictures at
// their own size from the decoder, whatever the window's size is and becomes, and keeps the last one while
// paused, whatever happens to the window.
TEST(OverlayMixer, PaintsTheWindowOfTheSystemsRenderer) {
    const std::vector<StreamPiece> pieces = ReadStream("mpeg2_288p.ts", true);
    TestGraph graph;
    auto* source = graph.Add(MakeObject<SourceFilter>(), L"source");
    auto* decoder = graph.Add(MakeObject<VideoDecoderFilter>(), L"decoder");
    auto* mixer = graph.Add(MakeObject<OverlayMixer>(), L"mixer");
    source->offered = {MediaType(MEDIATYPE_Video, MEDIASUBTYPE_MPEG2_VIDEO)};
    const ComPtr<IPin> input = PinOf(mixer, L"Input0"), output = PinOf(mixer, L"Output");
    ASSERT_HRESULT_SUCCEEDED(graph.graph->Render(output.Get()));
    ASSERT_EQ(graph.Connect(&source->Output(), &decoder->Input()), S_OK);
    ASSERT_EQ(graph.Connect(&decoder->Output(), input.Get()), S_OK);
    ComPtr<IOverlay> overlay;
    HWND window = nullptr;
    ASSERT_HRESULT_SUCCEEDED(
        static_cast<OutputPin*>(output.Get())->Peer()->QueryInterface(IID_PPV_ARGS(&overlay)));
    ASSERT_HRESULT_SUCCEEDED(overlay->GetWindowHandle(&window));
    ComPtr<IVideoWindow> placed;
    ASSERT_HRESULT_SUCCEEDED(graph.graph->QueryInterface(IID_IVideoWindow, &placed));
    EXPECT_HRESULT_SUCCEEDED(placed->SetWindowPosition(20, 20, 333, 251));
    EXPECT_HRESULT_SUCCEEDED(graph.control->Run());
    std::size_t next = 0;
    const auto playUntilShown = [&] {
        return WaitUntil([&] {
                   EXPECT_EQ(source->Send(pieces[next++].data, std::nullopt), S_OK);
                   return ShowsColumns(window) || next == pieces.size();
               }) &&
               next < pieces.size();
    };
    EXPECT_TRUE(playUntilShown());
    const auto taken = ReadPictureType(static_cast<InputPin*>(input.Get())->Type());
    ASSERT_TRUE(taken);
    EXPECT_EQ(std::pair(taken->width, taken->height), std::pair(352, 288)) << "at its own size";
    EXPECT_NE(taken->layout->compression, DWORD{BI_RGB});
    EXPECT_HRESULT_SUCCEEDED(placed->SetWindowPosition(20, 20, 640, 199));
    EXPECT_TRUE(playUntilShown());
    graph.Pause();
    EXPECT_TRUE(ShowsColumns(window));
    // Nothing new comes, and the window's own thread erases it.
    EXPECT_HRESULT_SUCCEEDED(placed->SetWindowPosition(20, 20, 400, 300));
    const HDC dc = GetDC(window);
    EXPECT_TRUE(PatBlt(dc, 0, 0, 400, 300, BLACKNESS));
    (void)ReleaseDC(window, dc);
    EXPECT_TRUE(WaitUntil([&] { return ShowsColumns(window); }));
    graph.Stop();
}

} // namespace vistrame::test
