#include "player/graph/overlay_redraw.h"

#include <cstring>

#include "player/graph/player_graph.h"
#include "player/osd/overlay_drawing.h"
#include "player/osd/overlay_size.h"
#include "player/graph/overlay_surface.h"

namespace vistrame {

namespace {

// One block where the surface's rows follow each other like the canvas's, otherwise row by row.
void CopyCanvas(const D3DLOCKED_RECT& to) {
    const std::uint8_t* pixels = OverlayCanvas.pixelsPtr();
    if (to.Pitch == static_cast<INT>(kOverlayStride)) {
        std::memcpy(to.pBits, pixels, OverlayCanvas.bufferSize());
        return;
    }
    auto* row = static_cast<std::uint8_t*>(to.pBits);
    for (int y = 0; y < kOverlayHeight; ++y) {
        std::memcpy(row, pixels, kOverlayStride);
        row += to.Pitch;
        pixels += kOverlayStride;
    }
}

} // namespace

void RedrawOverlay() {
    IVMRMixerBitmap9* mixer = ThePlayerGraph().mixerBitmap.Get();
    // The surface outlives the graph; without a mixer there is no one to show it.
    if (OverlaySurface == nullptr || mixer == nullptr || !StartOverlayDrawing()) {
        return;
    }
    D3DLOCKED_RECT locked{};
    if (FAILED(OverlaySurface->LockRect(&locked, nullptr, 0))) {
        return;
    }
    CopyCanvas(locked);
    (void)OverlaySurface->UnlockRect();               // nothing to undo
    (void)mixer->SetAlphaBitmap(&OverlayAlphaBitmap); // a renderer that refuses shows no overlay
}

} // namespace vistrame
