#include "player/graph/overlay_surface.h"

#include <cstring>
#include <deque>
#include <utility>

#include <wrl/client.h>

#include "player/app/error_report.h"
#include "player/app/never_destroyed.h"
#include "player/graph/build_errors.h"
#include "player/osd/overlay_size.h"

namespace vistrame {

IDirect3DSurface9* OverlaySurface = nullptr;
VMR9AlphaBitmap OverlayAlphaBitmap{};

namespace {

using Microsoft::WRL::ComPtr;

// In order of creation; let go of from the bottom up.
struct OverlaySet {
    ComPtr<IDirect3D9> direct3d;
    ComPtr<IDirect3DDevice9> device;
    ComPtr<IDirect3DSurface9> surface;
};
constexpr std::size_t kSetsKept = 3; // each takes 20 to 80 MB of a 32-bit process's addresses

NeverDestroyed<std::deque<OverlaySet>> Sets; // newest last

// The window's size and the display's format: the device is only there to own the surface and never presents.
HRESULT CreateOverlayDevice(IDirect3D9* direct3d, HWND focusWindow, IDirect3DDevice9** device) {
    if (direct3d == nullptr) {
        return E_FAIL;
    }
    D3DPRESENT_PARAMETERS parameters{};
    parameters.Windowed = TRUE;
    parameters.SwapEffect = D3DSWAPEFFECT_DISCARD;
    return direct3d->CreateDevice(D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, focusWindow,
                                  D3DCREATE_SOFTWARE_VERTEXPROCESSING, &parameters, device);
}

// From the first row to the end of the last one, padding between rows included.
void ClearToTransparent(IDirect3DSurface9* surface) {
    D3DLOCKED_RECT locked{};
    (void)surface->LockRect(&locked, nullptr, 0); // a surface that cannot be locked is skipped by the redraw
    if (locked.pBits == nullptr) {
        return;
    }
    std::memset(locked.pBits, 0, static_cast<size_t>(locked.Pitch) * (kOverlayHeight - 1) + kOverlayStride);
    (void)surface->UnlockRect(); // nothing to undo
}

// The whole surface over the whole video area. Transparency is the surface's own alpha: the colour key is
// filled in, but no flag enables it.
void FillAlphaBitmap(IDirect3DSurface9* surface) {
    OverlayAlphaBitmap = {};
    OverlayAlphaBitmap.dwFlags = VMR9AlphaBitmap_EntireDDS;
    OverlayAlphaBitmap.pDDS = surface;
    OverlayAlphaBitmap.rSrc = {0, 0, kOverlayWidth, kOverlayHeight};
    OverlayAlphaBitmap.rDest = {0.0F, 0.0F, 1.0F, 1.0F};
    OverlayAlphaBitmap.fAlpha = 1.0F;
    OverlayAlphaBitmap.clrSrcKey = 0x00FF0000;
    OverlayAlphaBitmap.dwFilterMode = MixerPref9_GaussianQuadFiltering;
}

} // namespace

int SetUpOverlaySurface(HWND focusWindow) {
    OverlaySet set;
    *set.direct3d.ReleaseAndGetAddressOf() = Direct3DCreate9(D3D_SDK_VERSION);
    if (FAILED(CreateOverlayDevice(set.direct3d.Get(), focusWindow, set.device.GetAddressOf()))) {
        return ReportError(kNoDirect3DDevice.code, kNoDirect3DDevice.text);
    }
    if (FAILED(set.device->CreateOffscreenPlainSurface(kOverlayWidth, kOverlayHeight, D3DFMT_A8R8G8B8,
                                                       D3DPOOL_SYSTEMMEM, set.surface.GetAddressOf(),
                                                       nullptr))) {
        return ReportError(kNoDirect3DSurface.code, kNoDirect3DSurface.text);
    }
    ClearToTransparent(set.surface.Get());
    FillAlphaBitmap(set.surface.Get());
    OverlaySurface = set.surface.Get();
    Sets->push_back(std::move(set));
    return 1;
}

void LetGoOfOldOverlays() {
    while (Sets->size() > kSetsKept) {
        Sets->pop_front();
    }
}

} // namespace vistrame
