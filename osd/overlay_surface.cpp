#include "osd/overlay_surface.h"

#include <cstring>

#include "app/error_report.h"
#include "graph/build_errors.h"
#include "osd/overlay_size.h"

namespace vistrame {

IDirect3DSurface9* OverlaySurface = nullptr;
VMR9AlphaBitmap OverlayAlphaBitmap{};

namespace {

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

// The whole surface over the whole video area. Transparency is the surface's own alpha: the colour key is filled
// in, but no flag enables it.
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
    IDirect3D9* direct3d = Direct3DCreate9(D3D_SDK_VERSION);
    IDirect3DDevice9* device = nullptr;
    if (FAILED(CreateOverlayDevice(direct3d, focusWindow, &device))) {
        (void)ReportError(kNoDirect3DDevice.code, kNoDirect3DDevice.text); // always 0
        if (direct3d != nullptr) {
            direct3d->Release();
        }
        return 0;
    }
    IDirect3DSurface9* surface = nullptr;
    if (FAILED(device->CreateOffscreenPlainSurface(kOverlayWidth, kOverlayHeight, D3DFMT_A8R8G8B8,
                                                   D3DPOOL_SYSTEMMEM, &surface, nullptr))) {
        (void)ReportError(kNoDirect3DSurface.code, kNoDirect3DSurface.text); // always 0
        device->Release();
        direct3d->Release();
        return 0;
    }
    // All three references are kept until the process ends.
    ClearToTransparent(surface);
    FillAlphaBitmap(surface);
    OverlaySurface = surface;
    return 1;
}

} // namespace vistrame
