#include "filters/base/transform_filter.h"

#include <memory>

#include "filters/base/place_reader.h"

namespace vistrame {

class TransformFilter::TransformInput final : public WithInterfaces<InputPin, PlaceReader> {
public:
    TransformInput(TransformFilter& owner, const wchar_t* name)
        : WithInterfaces(owner, name), owner_(owner) {}

    HRESULT CheckMediaType(const MediaType& type) override { return owner_.CheckInputType(type); }
    std::vector<MediaType> OfferedTypes() override { return owner_.InputTypes(); }

protected:
    HRESULT OnReceive(IMediaSample* sample) override { return owner_.Transform(sample); }
    HRESULT OnEndOfStream() override {
        owner_.Drain();
        return owner_.output_.DeliverEndOfStream();
    }
    HRESULT OnNewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override {
        return owner_.output_.DeliverNewSegment(start, stop, rate);
    }
    void SegmentPassed() override { owner_.SegmentPassed(); }
    HRESULT OnBeginFlush() override { return owner_.output_.DeliverBeginFlush(); }
    HRESULT OnEndFlush() override {
        owner_.FlushDone();
        return owner_.output_.DeliverEndFlush();
    }
    void TypeAgreed(const MediaType& type) override { owner_.InputTypeAgreed(type); }

private:
    TransformFilter& owner_;
};

class TransformFilter::TransformOutput final : public OutputPin {
public:
    TransformOutput(TransformFilter& owner, const wchar_t* name) : OutputPin(owner, name), owner_(owner) {}

    HRESULT CheckMediaType(const MediaType& type) override { return owner_.CheckOutputType(type); }
    std::vector<MediaType> OfferedTypes() override {
        return owner_.input_.IsConnected() ? owner_.OutputTypes() : std::vector<MediaType>{};
    }

protected:
    ALLOCATOR_PROPERTIES NeededBuffers() override { return owner_.NeededBuffers(Type()); }
    HRESULT CheckPeer(IPin* peer) override {
        if (!owner_.input_.IsConnected()) {
            return VFW_E_NO_ACCEPTABLE_TYPES;
        }
        owner_.OutputConnecting(*peer);
        return S_OK;
    }
    void TypeAgreed(const MediaType& type) override { owner_.OutputTypeAgreed(type); }

private:
    TransformFilter& owner_;
};

TransformFilter::TransformFilter(const CLSID& classId, const wchar_t* inputName, const wchar_t* outputName)
    : BaseFilter(classId),
      input_(AddPin(std::make_unique<TransformInput>(*this, inputName))),
      output_(AddPin(std::make_unique<TransformOutput>(*this, outputName))) {}

} // namespace vistrame
