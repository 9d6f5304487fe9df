// The platform's wide interfaces with every method failing the test by name. A fake derives from one and
// overrides what it expects.
#pragma once

#include <windows.h>
#include <dshow.h>
#include <d3d9.h>
#include <vmr9.h>

#include "tests/support/com_fake.h"

namespace vistrame::test {

// Several methods to a line.
// clang-format off
#define STUB(method, ...) \
    STDMETHODIMP method(__VA_ARGS__) override { return this->Unexpected(#method); }

template <typename I>
class StubDispatch : public FakePart<I> {
public:
    using FakePart<I>::FakePart;
    STUB(GetTypeInfoCount, UINT*) STUB(GetTypeInfo, UINT, LCID, ITypeInfo**)
    STUB(GetIDsOfNames, REFIID, LPOLESTR*, UINT, LCID, DISPID*)
        STUB(Invoke, DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*)
};

class StubMediaControl : public StubDispatch<IMediaControl> {
public:
    using StubDispatch::StubDispatch;
    STUB(Run) STUB(Pause) STUB(Stop) STUB(GetState, LONG, OAFilterState*) STUB(RenderFile, BSTR)
        STUB(AddSourceFilter, BSTR, IDispatch**) STUB(get_FilterCollection, IDispatch**)
            STUB(get_RegFilterCollection, IDispatch**) STUB(StopWhenReady)
};

class StubBasicAudio : public StubDispatch<IBasicAudio> {
public:
    using StubDispatch::StubDispatch;
    STUB(put_Volume, long) STUB(get_Volume, long*) STUB(put_Balance, long) STUB(get_Balance, long*)
};

class StubVideoWindow : public StubDispatch<IVideoWindow> {
public:
    using StubDispatch::StubDispatch;
    STUB(put_Caption, BSTR) STUB(get_Caption, BSTR*) STUB(put_WindowStyle, long) STUB(get_WindowStyle, long*)
        STUB(put_WindowStyleEx, long) STUB(get_WindowStyleEx, long*) STUB(put_AutoShow, long)
            STUB(get_AutoShow, long*) STUB(put_WindowState, long) STUB(get_WindowState, long*)
                STUB(put_BackgroundPalette, long) STUB(get_BackgroundPalette, long*) STUB(put_Visible, long)
                    STUB(get_Visible, long*) STUB(put_Left, long) STUB(get_Left, long*) STUB(put_Width, long)
                        STUB(get_Width, long*) STUB(put_Top, long) STUB(get_Top, long*) STUB(put_Height, long)
                            STUB(get_Height, long*) STUB(put_Owner, OAHWND) STUB(get_Owner, OAHWND*)
                                STUB(put_MessageDrain, OAHWND) STUB(get_MessageDrain, OAHWND*)
                                    STUB(get_BorderColor, long*) STUB(put_BorderColor, long)
                                        STUB(get_FullScreenMode, long*) STUB(put_FullScreenMode, long)
                                            STUB(SetWindowForeground, long)
                                                STUB(NotifyOwnerMessage, OAHWND, long, LONG_PTR, LONG_PTR)
                                                    STUB(SetWindowPosition, long, long, long, long)
                                                        STUB(GetWindowPosition, long*, long*, long*, long*)
                                                            STUB(GetMinIdealImageSize, long*, long*)
                                                                STUB(GetMaxIdealImageSize, long*, long*)
                                                                    STUB(GetRestorePosition, long*, long*,
                                                                         long*, long*) STUB(HideCursor, long)
                                                                        STUB(IsCursorHidden, long*)
};

class StubGraphBuilder : public FakePart<IGraphBuilder> {
public:
    using FakePart::FakePart;
    STUB(AddFilter, IBaseFilter*, LPCWSTR) STUB(RemoveFilter, IBaseFilter*) STUB(EnumFilters, IEnumFilters**)
        STUB(FindFilterByName, LPCWSTR, IBaseFilter**) STUB(ConnectDirect, IPin*, IPin*, const AM_MEDIA_TYPE*)
            STUB(Reconnect, IPin*) STUB(Disconnect, IPin*) STUB(SetDefaultSyncSource)
                STUB(Connect, IPin*, IPin*) STUB(Render, IPin*) STUB(RenderFile, LPCWSTR, LPCWSTR)
                    STUB(AddSourceFilter, LPCWSTR, LPCWSTR, IBaseFilter**) STUB(SetLogFile, DWORD_PTR)
                        STUB(Abort) STUB(ShouldOperationContinue)
};

template <typename I>
class StubMediaFilter : public FakePart<I> { // IMediaFilter and what extends it
public:
    using FakePart<I>::FakePart;
    STUB(GetClassID, CLSID*) STUB(Stop) STUB(Pause) STUB(Run, REFERENCE_TIME)
    STUB(GetState, DWORD, FILTER_STATE*)
        STUB(SetSyncSource, IReferenceClock*) STUB(GetSyncSource, IReferenceClock**)
};

class StubBaseFilter : public StubMediaFilter<IBaseFilter> {
public:
    using StubMediaFilter::StubMediaFilter;
    STUB(EnumPins, IEnumPins**) STUB(FindPin, LPCWSTR, IPin**) STUB(QueryFilterInfo, FILTER_INFO*)
        STUB(JoinFilterGraph, IFilterGraph*, LPCWSTR) STUB(QueryVendorInfo, LPWSTR*)
};

class StubPin : public FakePart<IPin> {
public:
    using FakePart::FakePart;
    STUB(Connect, IPin*, const AM_MEDIA_TYPE*) STUB(ReceiveConnection, IPin*, const AM_MEDIA_TYPE*)
    STUB(Disconnect) STUB(ConnectedTo, IPin**)
        STUB(ConnectionMediaType, AM_MEDIA_TYPE*) STUB(QueryPinInfo, PIN_INFO*)
            STUB(QueryDirection, PIN_DIRECTION*) STUB(QueryId, LPWSTR*)
                STUB(QueryAccept, const AM_MEDIA_TYPE*) STUB(EnumMediaTypes, IEnumMediaTypes**)
                    STUB(QueryInternalConnections, IPin**, ULONG*) STUB(EndOfStream) STUB(BeginFlush)
                        STUB(EndFlush) STUB(NewSegment, REFERENCE_TIME, REFERENCE_TIME, double)
};

template <typename I, typename Item>
class StubEnum : public FakePart<I> { // IEnumPins, IEnumFilters, IEnumMoniker
public:
    using FakePart<I>::FakePart;
    STUB(Next, ULONG, Item**, ULONG*) STUB(Skip, ULONG) STUB(Reset) STUB(Clone, I**)
};

class StubFilterMapper2 : public FakePart<IFilterMapper2> {
public:
    using FakePart::FakePart;
    STUB(CreateCategory, REFCLSID, DWORD, LPCWSTR) STUB(UnregisterFilter, const CLSID*, LPCOLESTR, REFCLSID)
        STUB(RegisterFilter, REFCLSID, LPCWSTR, IMoniker**, const CLSID*, LPCOLESTR, const REGFILTER2*)
            STUB(EnumMatchingFilters, IEnumMoniker**, DWORD, BOOL, DWORD, BOOL, DWORD, const GUID*,
                 const REGPINMEDIUM*, const CLSID*, BOOL, BOOL, DWORD, const GUID*, const REGPINMEDIUM*,
                 const CLSID*)
};

class StubMoniker : public FakePart<IMoniker> {
public:
    using FakePart::FakePart;
    STUB(GetClassID, CLSID*) STUB(IsDirty) STUB(Load, IStream*) STUB(Save, IStream*, BOOL)
    STUB(GetSizeMax, ULARGE_INTEGER*)
        STUB(BindToObject, IBindCtx*, IMoniker*, REFIID, void**)
            STUB(BindToStorage, IBindCtx*, IMoniker*, REFIID, void**)
                STUB(Reduce, IBindCtx*, DWORD, IMoniker**, IMoniker**)
                    STUB(ComposeWith, IMoniker*, BOOL, IMoniker**) STUB(Enum, BOOL, IEnumMoniker**)
                        STUB(IsEqual, IMoniker*) STUB(Hash, DWORD*)
                            STUB(IsRunning, IBindCtx*, IMoniker*, IMoniker*)
                                STUB(GetTimeOfLastChange, IBindCtx*, IMoniker*, FILETIME*)
                                    STUB(Inverse, IMoniker**) STUB(CommonPrefixWith, IMoniker*, IMoniker**)
                                        STUB(RelativePathTo, IMoniker*, IMoniker**)
                                            STUB(GetDisplayName, IBindCtx*, IMoniker*, LPOLESTR*)
                                                STUB(ParseDisplayName, IBindCtx*, IMoniker*, LPOLESTR, ULONG*,
                                                     IMoniker**) STUB(IsSystemMoniker, DWORD*)
};

class StubVmrFilterConfig9 : public FakePart<IVMRFilterConfig9> {
public:
    using FakePart::FakePart;
    STUB(SetImageCompositor, IVMRImageCompositor9*) STUB(SetNumberOfStreams, DWORD)
    STUB(GetNumberOfStreams, DWORD*) STUB(SetRenderingPrefs, DWORD)
        STUB(GetRenderingPrefs, DWORD*) STUB(SetRenderingMode, DWORD) STUB(GetRenderingMode, DWORD*)
};

class StubVmrMixerBitmap9 : public FakePart<IVMRMixerBitmap9> {
public:
    using FakePart::FakePart;
    STUB(SetAlphaBitmap, const VMR9AlphaBitmap*) STUB(UpdateAlphaBitmapParameters, const VMR9AlphaBitmap*)
    STUB(GetAlphaBitmapParameters, VMR9AlphaBitmap*)
};

#undef STUB
// clang-format on

} // namespace vistrame::test
