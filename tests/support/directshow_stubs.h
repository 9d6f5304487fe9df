// The platform's wide interfaces with every method failing the test by name. A fake derives from one and
// overrides what it expects.
#pragma once

#include <windows.h>
#include <dshow.h>
#include <d3d9.h>
#include <vmr9.h>

#include "tests/support/com_fake.h"

namespace vistrame::test {

#define UNEXPECTED(method, ...)                              \
    HRESULT STDMETHODCALLTYPE method(__VA_ARGS__) override { \
        return this->Unexpected(#method);                    \
    }

template <typename I>
class StubDispatch : public FakePart<I> {
public:
    using FakePart<I>::FakePart;
    UNEXPECTED(GetTypeInfoCount, UINT*)
    UNEXPECTED(GetTypeInfo, UINT, LCID, ITypeInfo**)
    UNEXPECTED(GetIDsOfNames, REFIID, LPOLESTR*, UINT, LCID, DISPID*)
    UNEXPECTED(Invoke, DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*)
};

class StubMediaControl : public StubDispatch<IMediaControl> {
public:
    using StubDispatch::StubDispatch;
    UNEXPECTED(Run)
    UNEXPECTED(Pause)
    UNEXPECTED(Stop)
    UNEXPECTED(GetState, LONG, OAFilterState*)
    UNEXPECTED(RenderFile, BSTR)
    UNEXPECTED(AddSourceFilter, BSTR, IDispatch**)
    UNEXPECTED(get_FilterCollection, IDispatch**)
    UNEXPECTED(get_RegFilterCollection, IDispatch**)
    UNEXPECTED(StopWhenReady)
};

class StubBasicAudio : public StubDispatch<IBasicAudio> {
public:
    using StubDispatch::StubDispatch;
    UNEXPECTED(put_Volume, long)
    UNEXPECTED(get_Volume, long*)
    UNEXPECTED(put_Balance, long)
    UNEXPECTED(get_Balance, long*)
};

class StubVideoWindow : public StubDispatch<IVideoWindow> {
public:
    using StubDispatch::StubDispatch;
    UNEXPECTED(put_Caption, BSTR)
    UNEXPECTED(get_Caption, BSTR*)
    UNEXPECTED(put_WindowStyle, long)
    UNEXPECTED(get_WindowStyle, long*)
    UNEXPECTED(put_WindowStyleEx, long)
    UNEXPECTED(get_WindowStyleEx, long*)
    UNEXPECTED(put_AutoShow, long)
    UNEXPECTED(get_AutoShow, long*)
    UNEXPECTED(put_WindowState, long)
    UNEXPECTED(get_WindowState, long*)
    UNEXPECTED(put_BackgroundPalette, long)
    UNEXPECTED(get_BackgroundPalette, long*)
    UNEXPECTED(put_Visible, long)
    UNEXPECTED(get_Visible, long*)
    UNEXPECTED(put_Left, long)
    UNEXPECTED(get_Left, long*)
    UNEXPECTED(put_Width, long)
    UNEXPECTED(get_Width, long*)
    UNEXPECTED(put_Top, long)
    UNEXPECTED(get_Top, long*)
    UNEXPECTED(put_Height, long)
    UNEXPECTED(get_Height, long*)
    UNEXPECTED(put_Owner, OAHWND)
    UNEXPECTED(get_Owner, OAHWND*)
    UNEXPECTED(put_MessageDrain, OAHWND)
    UNEXPECTED(get_MessageDrain, OAHWND*)
    UNEXPECTED(get_BorderColor, long*)
    UNEXPECTED(put_BorderColor, long)
    UNEXPECTED(get_FullScreenMode, long*)
    UNEXPECTED(put_FullScreenMode, long)
    UNEXPECTED(SetWindowForeground, long)
    UNEXPECTED(NotifyOwnerMessage, OAHWND, long, LONG_PTR, LONG_PTR)
    UNEXPECTED(SetWindowPosition, long, long, long, long)
    UNEXPECTED(GetWindowPosition, long*, long*, long*, long*)
    UNEXPECTED(GetMinIdealImageSize, long*, long*)
    UNEXPECTED(GetMaxIdealImageSize, long*, long*)
    UNEXPECTED(GetRestorePosition, long*, long*, long*, long*)
    UNEXPECTED(HideCursor, long)
    UNEXPECTED(IsCursorHidden, long*)
};

class StubGraphBuilder : public FakePart<IGraphBuilder> {
public:
    using FakePart::FakePart;
    UNEXPECTED(AddFilter, IBaseFilter*, LPCWSTR)
    UNEXPECTED(RemoveFilter, IBaseFilter*)
    UNEXPECTED(EnumFilters, IEnumFilters**)
    UNEXPECTED(FindFilterByName, LPCWSTR, IBaseFilter**)
    UNEXPECTED(ConnectDirect, IPin*, IPin*, const AM_MEDIA_TYPE*)
    UNEXPECTED(Reconnect, IPin*)
    UNEXPECTED(Disconnect, IPin*)
    UNEXPECTED(SetDefaultSyncSource)
    UNEXPECTED(Connect, IPin*, IPin*)
    UNEXPECTED(Render, IPin*)
    UNEXPECTED(RenderFile, LPCWSTR, LPCWSTR)
    UNEXPECTED(AddSourceFilter, LPCWSTR, LPCWSTR, IBaseFilter**)
    UNEXPECTED(SetLogFile, DWORD_PTR)
    UNEXPECTED(Abort)
    UNEXPECTED(ShouldOperationContinue)
};

template <typename I>
class StubMediaFilter : public FakePart<I> { // IMediaFilter and what extends it
public:
    using FakePart<I>::FakePart;
    UNEXPECTED(GetClassID, CLSID*)
    UNEXPECTED(Stop)
    UNEXPECTED(Pause)
    UNEXPECTED(Run, REFERENCE_TIME)
    UNEXPECTED(GetState, DWORD, FILTER_STATE*)
    UNEXPECTED(SetSyncSource, IReferenceClock*)
    UNEXPECTED(GetSyncSource, IReferenceClock**)
};

class StubBaseFilter : public StubMediaFilter<IBaseFilter> {
public:
    using StubMediaFilter::StubMediaFilter;
    UNEXPECTED(EnumPins, IEnumPins**)
    UNEXPECTED(FindPin, LPCWSTR, IPin**)
    UNEXPECTED(QueryFilterInfo, FILTER_INFO*)
    UNEXPECTED(JoinFilterGraph, IFilterGraph*, LPCWSTR)
    UNEXPECTED(QueryVendorInfo, LPWSTR*)
};

class StubPin : public FakePart<IPin> {
public:
    using FakePart::FakePart;
    UNEXPECTED(Connect, IPin*, const AM_MEDIA_TYPE*)
    UNEXPECTED(ReceiveConnection, IPin*, const AM_MEDIA_TYPE*)
    UNEXPECTED(Disconnect)
    UNEXPECTED(ConnectedTo, IPin**)
    UNEXPECTED(ConnectionMediaType, AM_MEDIA_TYPE*)
    UNEXPECTED(QueryPinInfo, PIN_INFO*)
    UNEXPECTED(QueryDirection, PIN_DIRECTION*)
    UNEXPECTED(QueryId, LPWSTR*)
    UNEXPECTED(QueryAccept, const AM_MEDIA_TYPE*)
    UNEXPECTED(EnumMediaTypes, IEnumMediaTypes**)
    UNEXPECTED(QueryInternalConnections, IPin**, ULONG*)
    UNEXPECTED(EndOfStream)
    UNEXPECTED(BeginFlush)
    UNEXPECTED(EndFlush)
    UNEXPECTED(NewSegment, REFERENCE_TIME, REFERENCE_TIME, double)
};

template <typename I, typename Item>
class StubEnum : public FakePart<I> { // IEnumPins, IEnumFilters, IEnumMoniker
public:
    using FakePart<I>::FakePart;
    UNEXPECTED(Next, ULONG, Item**, ULONG*)
    UNEXPECTED(Skip, ULONG)
    UNEXPECTED(Reset)
    UNEXPECTED(Clone, I**)
};

class StubFilterMapper2 : public FakePart<IFilterMapper2> {
public:
    using FakePart::FakePart;
    UNEXPECTED(CreateCategory, REFCLSID, DWORD, LPCWSTR)
    UNEXPECTED(UnregisterFilter, const CLSID*, LPCOLESTR, REFCLSID)
    UNEXPECTED(RegisterFilter, REFCLSID, LPCWSTR, IMoniker**, const CLSID*, LPCOLESTR, const REGFILTER2*)
    UNEXPECTED(EnumMatchingFilters, IEnumMoniker**, DWORD, BOOL, DWORD, BOOL, DWORD, const GUID*,
               const REGPINMEDIUM*, const CLSID*, BOOL, BOOL, DWORD, const GUID*, const REGPINMEDIUM*,
               const CLSID*)
};

class StubMoniker : public FakePart<IMoniker> {
public:
    using FakePart::FakePart;
    UNEXPECTED(GetClassID, CLSID*)
    UNEXPECTED(IsDirty)
    UNEXPECTED(Load, IStream*)
    UNEXPECTED(Save, IStream*, BOOL)
    UNEXPECTED(GetSizeMax, ULARGE_INTEGER*)
    UNEXPECTED(BindToObject, IBindCtx*, IMoniker*, REFIID, void**)
    UNEXPECTED(BindToStorage, IBindCtx*, IMoniker*, REFIID, void**)
    UNEXPECTED(Reduce, IBindCtx*, DWORD, IMoniker**, IMoniker**)
    UNEXPECTED(ComposeWith, IMoniker*, BOOL, IMoniker**)
    UNEXPECTED(Enum, BOOL, IEnumMoniker**)
    UNEXPECTED(IsEqual, IMoniker*)
    UNEXPECTED(Hash, DWORD*)
    UNEXPECTED(IsRunning, IBindCtx*, IMoniker*, IMoniker*)
    UNEXPECTED(GetTimeOfLastChange, IBindCtx*, IMoniker*, FILETIME*)
    UNEXPECTED(Inverse, IMoniker**)
    UNEXPECTED(CommonPrefixWith, IMoniker*, IMoniker**)
    UNEXPECTED(RelativePathTo, IMoniker*, IMoniker**)
    UNEXPECTED(GetDisplayName, IBindCtx*, IMoniker*, LPOLESTR*)
    UNEXPECTED(ParseDisplayName, IBindCtx*, IMoniker*, LPOLESTR, ULONG*, IMoniker**)
    UNEXPECTED(IsSystemMoniker, DWORD*)
};

class StubVmrFilterConfig9 : public FakePart<IVMRFilterConfig9> {
public:
    using FakePart::FakePart;
    UNEXPECTED(SetImageCompositor, IVMRImageCompositor9*)
    UNEXPECTED(SetNumberOfStreams, DWORD)
    UNEXPECTED(GetNumberOfStreams, DWORD*)
    UNEXPECTED(SetRenderingPrefs, DWORD)
    UNEXPECTED(GetRenderingPrefs, DWORD*)
    UNEXPECTED(SetRenderingMode, DWORD)
    UNEXPECTED(GetRenderingMode, DWORD*)
};

class StubVmrMixerBitmap9 : public FakePart<IVMRMixerBitmap9> {
public:
    using FakePart::FakePart;
    UNEXPECTED(SetAlphaBitmap, const VMR9AlphaBitmap*)
    UNEXPECTED(UpdateAlphaBitmapParameters, const VMR9AlphaBitmap*)
    UNEXPECTED(GetAlphaBitmapParameters, VMR9AlphaBitmap*)
};

#undef UNEXPECTED

} // namespace vistrame::test
