#pragma once

#include <bdaiface.h>

#include "filters/demux/demux_filter.h"

namespace vistrame {

// The platform's MPEG-2 demultiplexer class for systems that have none: input pin "MPEG-2 Stream", output
// pins made by IMpeg2Demultiplexer, PIDs routed to them by each pin's IMPEG2PIDMap.
//
// Threads    any; pins may be made and PIDs mapped in every state. A pin made while the filter is not stopped
//            takes part from the next start on.
// Errors     VFW_E_DUPLICATE_NAME and VFW_E_NOT_FOUND for names; VFW_E_NOT_STOPPED when a pin is to be
//            deleted in use; E_INVALIDARG for no PID and for content other than elementary streams and PES
//            packets.
class Mpeg2Demultiplexer final : public WithInterfaces<DemuxFilter, IMpeg2Demultiplexer> {
public:
    Mpeg2Demultiplexer();

    // IMpeg2Demultiplexer
    HRESULT STDMETHODCALLTYPE CreateOutputPin(AM_MEDIA_TYPE* type, LPWSTR name, IPin** pin) override;
    // For the next connection; a connected pin keeps its type and answers VFW_E_ALREADY_CONNECTED.
    HRESULT STDMETHODCALLTYPE SetOutputPinMediaType(LPWSTR name, AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE DeleteOutputPin(LPWSTR name) override;

private:
    class MappedPin;

    ~Mpeg2Demultiplexer() override = default;
    MappedPin* FindOutput(LPCWSTR name) const;
};

} // namespace vistrame
