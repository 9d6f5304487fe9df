#pragma once

#include "filters/base/input_pin.h"
#include "filters/base/output_pin.h"

namespace vistrame {

// A filter with one input and one output that turns samples of one kind into samples of another (a decoder).
//
// A derived class says which input types it takes, which output types it offers for the agreed input, how
// large its output buffers are, and does the work in Transform, where it delivers any number of samples
// through Output().
//
// Threads    Transform, NewSegment and Drain run under the stream lock on the upstream's thread. FlushDone
//            has both locks. CheckInputType and CheckOutputType: any thread (see BasePin).
// States     the output cannot be connected before the input is; disconnecting the input leaves the output's
//            connection as it is.
// Errors     what Transform returns goes upstream; a decoder that only skips damaged data returns S_OK.
class TransformFilter : public BaseFilter {
public:
    TransformFilter(const CLSID& classId, const wchar_t* inputName, const wchar_t* outputName);

    InputPin& Input() const { return input_; }
    OutputPin& Output() const { return output_; }

protected:
    ~TransformFilter() override = default;

    virtual HRESULT CheckInputType(const MediaType& type) = 0;
    // Types the input enumerates, for graph builders; identifiers suffice.
    virtual std::vector<MediaType> InputTypes() = 0;
    // Called only while the input is connected: types are about to be tried with this pin, and then what to
    // offer it.
    virtual void OutputConnecting(IPin& /*peer*/) {}
    // For the input's agreed type.
    virtual std::vector<MediaType> OutputTypes() = 0;
    virtual HRESULT CheckOutputType(const MediaType& type) = 0;
    virtual ALLOCATOR_PROPERTIES NeededBuffers(const MediaType& outputType) = 0;

    // A type is in force from now on: at connecting, and at a change in mid-stream.
    virtual void InputTypeAgreed(const MediaType& /*type*/) {}
    virtual void OutputTypeAgreed(const MediaType& /*type*/) {}

    virtual HRESULT Transform(IMediaSample* sample) = 0;
    // Deliver what is still held back; the end of stream follows.
    virtual void Drain() {}
    // Forget everything held back.
    virtual void FlushDone() {}
    // A new segment has been passed on. No lock held.
    virtual void SegmentPassed() {}

private:
    class TransformInput;
    class TransformOutput;

    InputPin& input_;
    OutputPin& output_;
};

} // namespace vistrame
