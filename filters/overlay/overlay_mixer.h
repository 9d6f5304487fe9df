#pragma once

#include "filters/base/base_filter.h"
#include "filters/base/input_pin.h"
#include "filters/base/output_pin.h"

namespace vistrame {

// Stand-in for the platform's Overlay Mixer where there is none: takes pictures at "Input0" and passes them
// on at "Output", the very samples, uncopied. It mixes nothing into them.
//
// The output may be connected first, when nothing is known of the pictures: it is then connected with the
// first type a decoder would offer. When the input's type turns out to be another, the output is reconnected
// with that one; what the renderer refuses, the input refuses. Changes while running are put to the renderer
// and answered as it answers. Upstream gets the renderer's own allocator, so that its buffers are the
// renderer's.
//
// Threads    as BaseFilter says; samples pass on the upstream's thread.
// Ownership  keeps no sample.
// Errors     without a renderer pictures are dropped, so that a decoder goes on.
class OverlayMixer final : public BaseFilter {
public:
    OverlayMixer();

private:
    class MixerInput;
    class MixerOutput;

    ~OverlayMixer() override = default;

    HRESULT AgreeDownstream(const MediaType& type);
    ComPtr<IMemInputPin> RendererInput() const;

    MixerInput* input_;
    MixerOutput* output_;
};

} // namespace vistrame
