// The maker's own filters as the player sees them: class identifiers and COM interfaces. The player reaches
// these filters through this header only; whoever implements them includes it too.
//
// The order of the methods is binary contract, so an operation that is never called still holds its slot.
//
// Threads    every method may be called while the graph is stopped, paused or running; DeliverData comes from
//            the pipe reader's thread, everything else from the thread that owns the graph.
// Ownership  the usual COM rules; buffers and texts are borrowed for the duration of the call.
// Errors     HRESULT; values come back by pointer. Texts are narrow characters.
#pragma once

#include <windows.h>
#include <unknwn.h>

// The stream's feed filter: one output pin "TS Out"; offers FeedData, FeedControl and IReferenceClock.
inline constexpr CLSID CLSID_KorvixFeedFilter = {
    0xf3c95789, 0xace1, 0x4954, {0xac, 0x5d, 0x6b, 0xae, 0xd2, 0xea, 0xc9, 0x02}};

// The maker's demultiplexer: input pin "TS In", output pins "Video Out" and "Audio Out"; offers KorvixDemux.
inline constexpr CLSID CLSID_KorvixDemux = {
    0xcbf27734, 0xac10, 0x4525, {0x8b, 0x66, 0x40, 0x28, 0x00, 0xe0, 0x3d, 0x2c}};

// The on-screen-display source: one output pin "1" of ARGB pictures; offers OsdSourceControl.
inline constexpr CLSID CLSID_OsdSource = {
    0xe0a3a91f, 0x2346, 0x4c13, {0xbc, 0x27, 0xed, 0x12, 0xb1, 0x08, 0x77, 0xa9}};

// Data side of the feed filter.
struct FeedData : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Reserved() = 0; // never called; holds its slot
    // Takes `length` bytes of transport stream, cut anywhere; 0 is allowed. Must have taken the bytes on
    // return and must accept them from the moment the interface exists, whatever the state of the graph.
    virtual HRESULT STDMETHODCALLTYPE DeliverData(const BYTE* data, ULONG length) = 0;
    // The stream before and after this call do not belong together.
    virtual HRESULT STDMETHODCALLTYPE SendDiscontinuity() = 0;
    // A further PID in the low 16 bits; 0x1FFF means none.
    virtual HRESULT STDMETHODCALLTYPE SetPids2(ULONG value) = 0;
};

// Control side of the feed filter.
struct FeedControl : public IUnknown {
    // Called once with (3, 0): live data pushed by the caller, no pacing of the filter's own.
    virtual HRESULT STDMETHODCALLTYPE SetMode(ULONG mode, ULONG option) = 0;
};

// Control of the on-screen-display source.
struct OsdSourceControl : public IUnknown {
    // Picture size in pixels; `visible` non-zero shows the picture.
    virtual HRESULT STDMETHODCALLTYPE SetSize(ULONG width, ULONG height, ULONG visible) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reserved1() = 0; // never called; holds its slot
    virtual HRESULT STDMETHODCALLTYPE Reserved2() = 0; // never called; holds its slot
    // Lines end in "\r\n"; replaces the text shown before.
    virtual HRESULT STDMETHODCALLTYPE SetText(const char* text) = 0;
};

// Control of the maker's demultiplexer.
struct KorvixDemux : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetAudioType(ULONG audioType) = 0; // AudioType of the launch fields
    virtual HRESULT STDMETHODCALLTYPE SetVideoType(ULONG videoType) = 0; // VideoType of the launch fields
    // PIDs in the low 13 bits, 0x1FFF: none. `clockPid` carries the PCR.
    virtual HRESULT STDMETHODCALLTYPE SetPids(ULONG videoPid, ULONG audioPid, ULONG clockPid) = 0;
    // Keeps a reference; null detaches. The demultiplexer then shows its own state as text.
    virtual HRESULT STDMETHODCALLTYPE AttachOsd(OsdSourceControl* osd) = 0;
    // 0 video, 1 audio. 100 ms ticks since the stream last delivered an access unit while the graph runs;
    // 0xFFFFFFFF when no count is available.
    virtual HRESULT STDMETHODCALLTYPE GetStallCount(ULONG stream, ULONG* count) = 0;
};

// GCC ignores the uuid attribute; at global scope this is what __uuidof reads.
__CRT_UUID_DECL(FeedData, 0xf1260ebc, 0x7d56, 0x4b56, 0xb7, 0x14, 0xdc, 0x91, 0x9b, 0x27, 0xdb, 0xdf)
__CRT_UUID_DECL(FeedControl, 0x6caf76a5, 0x7035, 0x48ae, 0x82, 0x80, 0xad, 0x37, 0x29, 0xa6, 0xf2, 0xe7)
__CRT_UUID_DECL(KorvixDemux, 0x3f0c9931, 0x918c, 0x40bf, 0x96, 0x70, 0xc3, 0x42, 0xc6, 0xcc, 0xe9, 0x96)
__CRT_UUID_DECL(OsdSourceControl, 0x004498f4, 0xb987, 0x47c1, 0x8c, 0x9c, 0x26, 0xa8, 0x13, 0x67, 0x8d, 0x7a)
