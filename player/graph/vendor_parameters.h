#pragma once

#include <windows.h>
#include <oaidl.h>
#include <objidl.h>

// How one vendor's decoders are configured: numbered parameters that take effect together on commit.
// Implemented by the vendor; the order of the methods is the binary contract.
struct VendorParameters : public IPersistStream {
    virtual HRESULT STDMETHODCALLTYPE SetValue(const GUID* parameter, const VARIANT* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetValue() = 0; // never called, as the next four; they hold their slots
    virtual HRESULT STDMETHODCALLTYPE GetParameter() = 0;
    virtual HRESULT STDMETHODCALLTYPE IsSupported() = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDefaultState() = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumerateParameters() = 0;
    // `reason` may be null.
    virtual HRESULT STDMETHODCALLTYPE Commit(VARIANT* reason) = 0;
};

__CRT_UUID_DECL(VendorParameters, 0x486f726e, 0x4d43, 0x49b9, 0x8a, 0x0c, 0xc2, 0x2a, 0x2b, 0x05, 0x24, 0xe8)
