#pragma once

#include <windows.h>
#include <unknwn.h>

namespace vistrame {

// Between our demultiplexers and our video decoder, on the decoder's filter: what the selected programme last
// looked like, while the graph is stopped. Other makers' filters neither offer nor miss it.
struct StillSink : public IUnknown {
    // One picture that can be decoded by itself: `first` bytes of `data` begin it, the rest may hold its
    // second field. It is decoded here and now, and shown when the graph runs. S_FALSE: no picture came of
    // it.
    virtual HRESULT STDMETHODCALLTYPE ShowStill(const BYTE* data, ULONG first, ULONG bytes) = 0;
};

} // namespace vistrame

__CRT_UUID_DECL(vistrame::StillSink, 0x6f0a1d0c, 0x53f2, 0x4c0e, 0x8b, 0x7d, 0x5e, 0x41, 0x9c, 0x27, 0xd3,
                0x18)
