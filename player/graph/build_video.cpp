// The picture: VMR9 with the overlay, or the Overlay Mixer, and the video decoder's connection to it.

#include "player/graph/graph_build.h"

#include "player/app/settings.h"
#include "player/graph/pins.h"
#include "player/osd/overlay_size.h"
#include "player/graph/overlay_surface.h"

namespace vistrame {

using Microsoft::WRL::ComPtr;

bool GraphBuild::AddVideoRenderer() {
    if (UseVMR9 == 0) {
        AddOverlayMixer();
        return true;
    }
    if (!AddVmr9() || !SetUpStreams() || !SetUpOverlay()) {
        return false;
    }
    rendererInput_ = FindPin(player_.videoRenderer, L"VMR Input0");
    if (!rendererInput_) {
        rendererInput_ = FirstPins(player_.videoRenderer)[0];
    }
    return true;
}

bool GraphBuild::AddVmr9() {
    player_.videoRenderer = Create<IBaseFilter>(CLSID_VideoMixingRenderer9);
    if (!player_.videoRenderer) {
        return Report(kNoVmr9);
    }
    Add(player_.videoRenderer, L"VMR9");
    RendererQuality() = Query<IQualProp>(player_.videoRenderer);
    rendererConfig_ = Query<IVMRFilterConfig9>(player_.videoRenderer);
    windowlessControl_ = Query<IVMRWindowlessControl>(player_.videoRenderer);
    player_.mixerBitmap = Query<IVMRMixerBitmap9>(player_.videoRenderer);
    streamControl_ = Query<IVMRVideoStreamControl9>(player_.videoRenderer);
    return rendererConfig_ || Report(kNoVmr9Interfaces);
}

bool GraphBuild::SetUpStreams() {
    const bool osdSource = DebugOSD != 0;
    (void)rendererConfig_->SetNumberOfStreams(osdSource ? 2 : 1);
    return !osdSource || AddOsdSource();
}

bool GraphBuild::AddOsdSource() {
    const ComPtr<IBaseFilter> source = Create<IBaseFilter>(CLSID_OsdSource);
    if (!source) {
        return Report(kNoOsdSource);
    }
    const ComPtr<OsdSourceControl> osd = Query<OsdSourceControl>(source);
    if (player_.korvixDemux) {
        (void)player_.korvixDemux->AttachOsd(osd.Get()); // the demultiplexer writes the text
    } else if (osd) {
        (void)osd->SetText("other Demux\r\n");
    }
    if (osd) {
        (void)osd->SetSize(kOverlayWidth, kOverlayHeight, 1);
    }
    Add(source, L"OSD Generator");
    Connect(FindPin(source, L"1"), FindPin(player_.videoRenderer, L"VMR Input1"));
    return true;
}

bool GraphBuild::SetUpOverlay() {
    return !player_.mixerBitmap || SetUpOverlaySurface(ownerWindow_) != 0;
}

// One that cannot be made leaves no pin to connect to, and that ends the build.
void GraphBuild::AddOverlayMixer() {
    player_.videoRenderer = Create<IBaseFilter>(CLSID_OverlayMixer);
    if (!player_.videoRenderer) {
        return;
    }
    Add(player_.videoRenderer, L"Overlay Mixer");
    rendererInput_ = FindPin(player_.videoRenderer, L"Input0");
    const ComPtr<IPin> output = FindPin(player_.videoRenderer, L"Output");
    if (output) {
        (void)player_.graph->Render(output.Get()); // brings in the platform's default renderer
    }
}

bool GraphBuild::ConnectVideoRenderer() {
    if (!decoderOutput_) {
        decoderOutput_ = GetPinByDirection(player_.videoDecoder, PINDIR_OUTPUT, 0);
    }
    Connect(decoderOutput_, rendererInput_);
    return (decoderOutput_ && rendererInput_) || Report(kNoDecoderPins);
}

} // namespace vistrame
