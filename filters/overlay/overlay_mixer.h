#pragma once

#include <atomic>

#include "filters/base/base_filter.h"
#include "filters/base/input_pin.h"
#include "filters/base/lock.h"
#include "filters/base/output_pin.h"
#include "filters/base/worker_thread.h"
#include "filters/overlay/window_painter.h"

namespace vistrame {

// Stand-in for the platform's Overlay Mixer where there is none: takes pictures at "Input0" and brings them
// to the window of the renderer at "Output". It mixes nothing into them.
//
// As the platform's does, it paints the window itself where the renderer says which one it is (IOverlay,
// asked for while connecting): pictures come in YUV at their own size, whatever that is and becomes, and are
// scaled and converted once, to the window's size. The renderer keeps the time: for each picture it gets a
// small black one of the same times, whose place in its window is outside of it, and when it has taken that,
// the picture is due. So pausing, flushing and stopping are the renderer's too. The renderer's thread erases
// its window when that is shown or uncovered; a worker here paints the last picture again while no new one
// comes.
//
// The graph's default renderer is one that mixes itself, so this filter refuses that and brings the one with
// a window along into the graph it joins; whoever renders the output finds it there, without the 0.1 s that a
// search among all the system's filters takes.
//
// Another renderer gets the very samples, uncopied. The output may be connected first, when nothing is known
// of the pictures: it is then connected with the first type a decoder would offer. When the input's type
// turns out to be another, the output is reconnected with that one; what the renderer refuses, the input
// refuses. Changes while running are put to the renderer and answered as it answers. Upstream gets the
// renderer's own allocator, so that its buffers are the renderer's.
//
// Threads    as BaseFilter says; samples pass on the upstream's thread.
// Ownership  keeps no sample; borrows the renderer's window while active.
// Errors     without a renderer pictures are dropped, so that a decoder goes on.
class OverlayMixer final : public BaseFilter {
public:
    OverlayMixer();

    HRESULT STDMETHODCALLTYPE JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) override;

private:
    class MixerInput;
    class MixerOutput;

    ~OverlayMixer() override { (void)Stop(); }

    HRESULT Starting() override;
    void Stopped() override;
    void KeepPainted();
    HRESULT AgreeDownstream(const MediaType& type);
    HRESULT Paint(IMediaSample* sample);
    ComPtr<IMemInputPin> RendererInput() const;

    MixerInput* input_;
    MixerOutput* output_;
    std::atomic<bool> paints_ = false; // set by connecting; a neighbour may ask for types meanwhile
    WindowPainter painter_;            // its window is the renderer's, while active and paints_
    Lock endLock_;                     // guards what follows
    Condition ended_;
    bool painting_ = false;
    WorkerThread painterThread_;
};

} // namespace vistrame
