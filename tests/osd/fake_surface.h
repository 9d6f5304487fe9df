// A surface of the overlay's size whose rows lie further apart than the canvas's, or that cannot be locked.
#pragma once

#include <vector>

#include <windows.h>
#include <d3d9.h>

#include "osd/overlay_size.h"

namespace vistrame::test {

class FakeSurface final : public IDirect3DSurface9 {
public:
    static constexpr INT kPitch = 8192;

    HRESULT STDMETHODCALLTYPE LockRect(D3DLOCKED_RECT* locked, const RECT* area, DWORD flags) override {
        ++locks;
        if (!lockable || area != nullptr || flags != 0) {
            return D3DERR_INVALIDCALL;
        }
        *locked = {kPitch, bytes.data()};
        return D3D_OK;
    }
    HRESULT STDMETHODCALLTYPE UnlockRect() override {
        ++unlocks;
        return D3D_OK;
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE GetDevice(IDirect3DDevice9**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID, const void*, DWORD, DWORD) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID, void*, DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE FreePrivateData(REFGUID) override { return E_NOTIMPL; }
    DWORD STDMETHODCALLTYPE SetPriority(DWORD) override { return 0; }
    DWORD STDMETHODCALLTYPE GetPriority() override { return 0; }
    void STDMETHODCALLTYPE PreLoad() override {}
    D3DRESOURCETYPE STDMETHODCALLTYPE GetType() override { return D3DRTYPE_SURFACE; }
    HRESULT STDMETHODCALLTYPE GetContainer(REFIID, void**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDesc(D3DSURFACE_DESC*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDC(HDC*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ReleaseDC(HDC) override { return E_NOTIMPL; }

    bool lockable = true;
    int locks = 0, unlocks = 0;
    std::vector<BYTE> bytes = std::vector<BYTE>(static_cast<std::size_t>(kPitch) * kOverlayHeight, 0xEE);
};

} // namespace vistrame::test
