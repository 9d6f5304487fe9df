// What a redraw of the overlay costs over a plain copy of as many bytes: the real surface, a mixer that does
// nothing.
#include <cstring>
#include <vector>

#include <windows.h>

#include "bench/osd/rounds.h"
#include "player/graph/player_graph.h"
#include "player/osd/overlay_drawing.h"
#include "player/graph/overlay_redraw.h"
#include "player/osd/overlay_size.h"
#include "player/graph/overlay_surface.h"

namespace vistrame {
namespace {

class IdleMixer final : public IVMRMixerBitmap9 {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE SetAlphaBitmap(const VMR9AlphaBitmap*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE UpdateAlphaBitmapParameters(const VMR9AlphaBitmap*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetAlphaBitmapParameters(VMR9AlphaBitmap*) override { return S_OK; }
};

int Run() {
    IdleMixer mixer;
    HWND window =
        CreateWindowA("STATIC", "", WS_OVERLAPPEDWINDOW, 0, 0, 300, 200, nullptr, nullptr, nullptr, nullptr);
    if (SetUpOverlaySurface(window) == 0) {
        return 1;
    }
    ThePlayerGraph().mixerBitmap = &mixer;
    RedrawOverlay();
    OverlayCanvas.fillRect(0, 0, kOverlayWidth, kOverlayHeight, 1, 2, 3,
                           4); // memory of its own in every page
    const std::size_t bytes = OverlayCanvas.bufferSize();
    std::vector<std::uint8_t> block(bytes, 1);
    const RoundTimes times =
        TakeTurns(201, RedrawOverlay, [&] { std::memcpy(block.data(), OverlayCanvas.pixelsPtr(), bytes); });
    std::printf("%-14s %12s %12s %s\n", "redraw", "usec", "memcpy usec", "redraw / memcpy");
    std::printf("%-14s %12.0f %12.0f %.2f\n", "1920 x 1080", times.ours * 1e6, times.peer * 1e6,
                times.ours / times.peer);
    ThePlayerGraph().mixerBitmap.Reset();
    return 0;
}

} // namespace
} // namespace vistrame

int main() {
    return vistrame::Run();
}
