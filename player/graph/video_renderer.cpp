#include "player/graph/video_renderer.h"

#include <d3d9.h>
#include <vmr9.h>

#include "contract/maker_interfaces.h"
#include "player/app/settings.h"
#include "player/graph/com.h"
#include "player/graph/overlay_surface.h"
#include "player/graph/pins.h"
#include "player/osd/overlay_size.h"

namespace vistrame {
namespace {

using Microsoft::WRL::ComPtr;

// Mixes the overlay's surface over the picture and, on request, the OSD source's pictures.
class Vmr9Renderer final : public VideoRenderer {
public:
    using VideoRenderer::VideoRenderer;

    bool Add() override { return AddFilter() && SetUpStreams() && SetUpOverlay(); }

    GraphWiring::Pin FindInput() override {
        GraphWiring::Pin input = FindPin(Wiring().Player().videoRenderer, L"VMR Input0");
        return input ? input : FirstPins(Wiring().Player().videoRenderer)[0];
    }

private:
    bool AddFilter() {
        PlayerGraph& player = Wiring().Player();
        player.videoRenderer = Create<IBaseFilter>(CLSID_VideoMixingRenderer9);
        if (!player.videoRenderer) {
            return GraphWiring::Report(kNoVmr9);
        }
        Wiring().Add(player.videoRenderer, L"VMR9");
        RendererQuality() = Query<IQualProp>(player.videoRenderer);
        config_ = Query<IVMRFilterConfig9>(player.videoRenderer);
        windowlessControl_ = Query<IVMRWindowlessControl>(player.videoRenderer);
        player.mixerBitmap = Query<IVMRMixerBitmap9>(player.videoRenderer);
        streamControl_ = Query<IVMRVideoStreamControl9>(player.videoRenderer);
        return config_ || GraphWiring::Report(kNoVmr9Interfaces);
    }

    bool SetUpStreams() {
        const bool osdSource = DebugOSD != 0;
        (void)config_->SetNumberOfStreams(osdSource ? 2 : 1);
        return !osdSource || AddOsdSource();
    }

    bool AddOsdSource() {
        const PlayerGraph& player = Wiring().Player();
        const auto source = Create<IBaseFilter>(CLSID_OsdSource);
        if (!source) {
            return GraphWiring::Report(kNoOsdSource);
        }
        const auto osd = Query<OsdSourceControl>(source);
        if (player.korvixDemux) {
            (void)player.korvixDemux->AttachOsd(osd.Get()); // the demultiplexer writes the text
        } else if (osd) {
            (void)osd->SetText("other Demux\r\n");
        }
        if (osd) {
            (void)osd->SetSize(kOverlayWidth, kOverlayHeight, 1);
        }
        Wiring().Add(source, L"OSD Generator");
        Wiring().Connect(FindPin(source, L"1"), FindPin(player.videoRenderer, L"VMR Input1"));
        return true;
    }

    bool SetUpOverlay() {
        return !Wiring().Player().mixerBitmap || SetUpOverlaySurface(Wiring().OwnerWindow()) != 0;
    }

    ComPtr<IVMRFilterConfig9> config_;
    // Asked for and held for the length of the build; nothing is called on them.
    ComPtr<IVMRWindowlessControl> windowlessControl_;
    ComPtr<IVMRVideoStreamControl9> streamControl_;
};

// Shows the picture through the platform's default renderer behind it; carries no overlay.
class OverlayMixerRenderer final : public VideoRenderer {
public:
    using VideoRenderer::VideoRenderer;

    // One that cannot be made leaves no pin to connect to, and that ends the build.
    bool Add() override {
        PlayerGraph& player = Wiring().Player();
        player.videoRenderer = Create<IBaseFilter>(CLSID_OverlayMixer);
        if (!player.videoRenderer) {
            return true;
        }
        Wiring().Add(player.videoRenderer, L"Overlay Mixer");
        input_ = FindPin(player.videoRenderer, L"Input0");
        if (const auto output = FindPin(player.videoRenderer, L"Output")) {
            (void)player.graph->Render(output.Get());
        }
        return true;
    }

    GraphWiring::Pin FindInput() override { return input_; }

private:
    GraphWiring::Pin input_;
};

} // namespace

std::unique_ptr<VideoRenderer> ChooseVideoRenderer(const GraphWiring& wiring) {
    if (UseVMR9 != 0) {
        return std::make_unique<Vmr9Renderer>(wiring);
    }
    return std::make_unique<OverlayMixerRenderer>(wiring);
}

} // namespace vistrame
