// The decoders at the system's own renderers, and found by its filter mapper.
#include <thread>

#include <windows.h>
#include <dshow.h>
#include <d3d9.h>
#include <vmr9.h>

#include <bdaiface.h>
#include <mmreg.h>

#include "filters/decoders/audio_decoder_filter.h"
#include "filters/decoders/stream_types.h"
#include "filters/decoders/video_decoder_filter.h"
#include "filters/demux/mpeg2_demultiplexer.h"
#include "filters/server/registration.h"
#include "tests/filters/decoders/screen.h"
#include "tests/filters/decoders/stream_fixture.h"
#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

namespace {

constexpr REFERENCE_TIME kHour = 36'000'000'000;

} // namespace

TEST(VideoDecoderAtVmr9, ShowsThePictureAndStopsWhileRendererAndQueueAreFull) {
    TestGraph graph;
    const CoInitialized com;
    SourceFilter* source = graph.Add(MakeObject<SourceFilter>(), L"source");
    auto* decoder = graph.Add(MakeObject<VideoDecoderFilter>(), L"decoder");
    source->offered = {MediaType(MEDIATYPE_Video, MEDIASUBTYPE_MPEG2_VIDEO)};
    source->bufferBytes = 1 << 20;
    ComPtr<IBaseFilter> renderer;
    ASSERT_EQ(
        CoCreateInstance(CLSID_VideoMixingRenderer9, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&renderer)),
        S_OK);
    ASSERT_EQ(graph.graph->AddFilter(renderer.Get(), L"renderer"), S_OK);
    ASSERT_EQ(graph.Connect(&source->Output(), &decoder->Input()), S_OK);
    ASSERT_EQ(graph.Connect(&decoder->Output(), PinOf(renderer.Get(), L"VMR Input0").Get()), S_OK);

    const std::vector<StreamPiece> pieces = ReadStream("mpeg2_576i.ts", true);
    ComPtr<IVideoWindow> window;
    ASSERT_EQ(renderer->QueryInterface(IID_IVideoWindow, reinterpret_cast<void**>(window.GetAddressOf())),
              S_OK);
    EXPECT_HRESULT_SUCCEEDED(window->put_WindowStyle(WS_POPUP));
    EXPECT_HRESULT_SUCCEEDED(window->SetWindowPosition(40, 40, 640, 480));
    ASSERT_HRESULT_SUCCEEDED(graph.control->Run());
    for (std::size_t i = 0; i < 10; ++i) {
        ASSERT_EQ(source->Send(pieces[i].data, pieces[i].time), S_OK);
    }
    Sleep(500); // until they have been shown
    ExpectPictureOnScreen(window.Get());

    // The renderer waits for an hour that never comes, the queue fills, the source is blocked.
    std::thread stream([&] {
        for (std::size_t i = 10;
             i < pieces.size() && source->Send(pieces[i].data, *pieces[i].time + kHour) == S_OK;) {
            ++i;
        }
    });
    Sleep(500);
    const DWORD start = GetTickCount();
    EXPECT_HRESULT_SUCCEEDED(graph.control->Stop());
    stream.join();
    EXPECT_LT(GetTickCount() - start, 2000u);
    EXPECT_HRESULT_SUCCEEDED(window->put_Visible(OAFALSE));
    window.Reset();
    EXPECT_EQ(graph.graph->RemoveFilter(renderer.Get()), S_OK);
}

// AC-3 and E-AC-3 come with a format block that looks like PCM, and the sound renderer is in the graph first.
TEST(AudioDecoderAtDirectSound, AutomaticRenderingPutsItBehindTheDemultiplexer) {
    const CoInitialized com;
    ASSERT_EQ(RegisterClasses(Classes(), L"vistrame.ax"), S_OK); // for the mapper; the classes come from here
    DWORD cookie = 0;
    const auto factory = MakeObject<ClassFactory>(CreateFilter<AudioDecoderFilter>);
    ASSERT_EQ(CoRegisterClassObject(CLSID_VistrameAudioDecoder, static_cast<IClassFactory*>(factory.Get()),
                                    CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie),
              S_OK);
    {
        TestGraph graph;
        auto* demux = graph.Add(MakeObject<Mpeg2Demultiplexer>(), L"demux");
        ComPtr<IBaseFilter> renderer;
        ASSERT_EQ(
            CoCreateInstance(CLSID_DSoundRender, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&renderer)),
            S_OK);
        ASSERT_EQ(graph.graph->AddFilter(renderer.Get(), L"Audio Out"), S_OK);
        WAVEFORMATEX format{WAVE_FORMAT_PCM, 2, 48'000, 192'000, 4, 16, 0};
        MediaType type(MEDIATYPE_Audio, MEDIASUBTYPE_DOLBY_AC3);
        type.SetFormat(FORMAT_WaveFormatEx, format);
        ComPtr<IPin> pin;
        std::wstring name = L"Audio Out";
        ASSERT_EQ(demux->CreateOutputPin(&type.Fields(), name.data(), &pin), S_OK);
        EXPECT_HRESULT_SUCCEEDED(graph.graph->Render(pin.Get()));

        ComPtr<IPin> peer;
        PIN_INFO info{};
        CLSID behind{};
        ASSERT_EQ(pin->ConnectedTo(&peer), S_OK);
        ASSERT_EQ(peer->QueryPinInfo(&info), S_OK);
        EXPECT_EQ(info.pFilter->GetClassID(&behind), S_OK);
        info.pFilter->Release();
        EXPECT_EQ(behind, CLSID_VistrameAudioDecoder);
        peer.Reset();
        pin.Reset();
        EXPECT_EQ(graph.graph->RemoveFilter(renderer.Get()), S_OK);
    }
    EXPECT_EQ(CoRevokeClassObject(cookie), S_OK);
    EXPECT_EQ(UnregisterClasses(Classes()), S_OK);
}

} // namespace vistrame::test
